#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

// The ini texts of SSSD and Samba as sections of keys: names lower case, as
// both services read them; comments and lines without "=" pass unseen.
namespace ConfigSections {

using Sections = QHash<QString, QHash<QString, QString>>;

// The section names, as written and in their order, go to order when given.
Sections Parse(const QString &text, QStringList *order = nullptr);
// A file's text; empty when it cannot be read.
QString ReadFile(const QString &path);

} // namespace ConfigSections
