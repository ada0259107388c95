#pragma once

#include <QString>

// The numbered texts of the interface. English stands at the id, French at
// id + 10000; the language is read from the settings at every call.
QString ResString(int id);

namespace StringTable {
// Loads the table from a file instead of the built-in one (tests, translators).
bool load(const QString &fileName);
// The text stored at exactly this id, or an empty string.
QString raw(int id);
} // namespace StringTable
