#pragma once

#include <QString>

// The words a list shows for a status or delivery code, in the language in force; the number
// itself for a code without a name.
namespace CodeNames {
QString Status(int code);
QString Delivery(int code);
} // namespace CodeNames
