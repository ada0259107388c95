#include "ui/GridState.h"

namespace {

const QByteArray Magic = QByteArrayLiteral("korvane-grid");
constexpr int Version = 1;

bool fail(QString *error, const QString &reason, int line)
{
    if (error)
        *error = reason + QStringLiteral(" at line ") + QString::number(line);
    return false;
}

// Column names are the grid's control names: letters, digits and underscores.
bool isName(const QByteArray &word)
{
    if (word.isEmpty() || word.size() > 64)
        return false;
    for (char c : word)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'))
            return false;
    return true;
}

} // namespace

bool GridState::Read(const QByteArray &file, GridState &state, QString *error)
{
    if (file.size() > MaxFileSize)
        return fail(error, QStringLiteral("file too large"), 0);
    const QList<QByteArray> lines = file.split('\n');
    const QList<QByteArray> head = lines.value(0).simplified().split(' ');
    bool ok = false;
    if (head.size() != 2 || head[0] != Magic || head[1].toInt(&ok) < 1 || !ok)
        return fail(error, QStringLiteral("not a grid layout"), 1);
    GridState read;
    for (int n = 1; n < lines.size(); ++n) {
        const QList<QByteArray> words = lines[n].simplified().split(' ');
        const QByteArray &kind = words[0];
        if (kind.isEmpty() || kind.startsWith('#'))
            continue;
        if (kind == "column") {
            if (words.size() != 4 || !isName(words[1]))
                return fail(error, QStringLiteral("bad column"), n + 1);
            const int width = words[2].toInt(&ok);
            if (!ok || width < 0 || width > MaxWidth || (words[3] != "0" && words[3] != "1"))
                return fail(error, QStringLiteral("bad column"), n + 1);
            const QString name = QString::fromLatin1(words[1]);
            bool known = false;
            for (const Column &column : read.columns)
                known = known || column.name == name;
            if (known)
                return fail(error, QStringLiteral("column twice"), n + 1);
            read.columns.append({name, width, words[3] == "1"});
        } else if (kind == "group") {
            if (words.size() != 2 || !isName(words[1]))
                return fail(error, QStringLiteral("bad group"), n + 1);
            read.groupBy.append(QString::fromLatin1(words[1]));
        } else if (kind == "sort") {
            if (words.size() != 3 || !isName(words[1]) || (words[2] != "asc" && words[2] != "desc"))
                return fail(error, QStringLiteral("bad sort"), n + 1);
            read.sortColumn = QString::fromLatin1(words[1]);
            read.descending = words[2] == "desc";
        }
        // Lines of a later version are passed over.
    }
    state = read;
    return true;
}

QByteArray GridState::Write() const
{
    QByteArray file = Magic + ' ' + QByteArray::number(Version) + '\n';
    for (const Column &column : columns)
        file += "column " + column.name.toLatin1() + ' ' + QByteArray::number(column.width) + ' ' +
                (column.visible ? '1' : '0') + '\n';
    for (const QString &group : groupBy)
        file += "group " + group.toLatin1() + '\n';
    if (!sortColumn.isEmpty())
        file += "sort " + sortColumn.toLatin1() + (descending ? " desc\n" : " asc\n");
    return file;
}
