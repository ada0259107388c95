#pragma once

#include <QList>
#include <QString>

// The languages the client speaks: the code stored in the settings and the
// resource of the language's own name.
struct LanguageEntry
{
    qint16 code = 0;
    int nameId = 0;
};

namespace Languages {

const QList<LanguageEntry> &all();
// The place of a code in the table, or -1.
int indexOf(qint16 code);
// The names as a list shows them, in the order of the table.
QStringList names();

} // namespace Languages
