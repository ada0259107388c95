#include "core/StringTable.h"

#include "core/Globals.h"
#include "core/Options.h"

#include <QFile>
#include <QHash>

namespace {

constexpr int FrenchOffset = 10000;

QString unescape(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('\\') || i + 1 == text.size()) {
            out.append(text[i]);
            continue;
        }
        const QChar next = text[++i];
        if (next == QLatin1Char('n'))
            out.append(QLatin1Char('\n'));
        else if (next == QLatin1Char('t'))
            out.append(QLatin1Char('\t'));
        else
            out.append(next);
    }
    return out;
}

QHash<int, QString> parse(const QByteArray &data)
{
    QHash<int, QString> table;
    const QString text = QString::fromUtf8(data);
    for (QStringView line : QStringView(text).split(QLatin1Char('\n'))) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const qsizetype tab = line.indexOf(QLatin1Char('\t'));
        bool ok = false;
        const int id = tab > 0 ? line.left(tab).toInt(&ok) : 0;
        if (ok)
            table.insert(id, unescape(line.mid(tab + 1)));
    }
    return table;
}

QHash<int, QString> &table()
{
    static QHash<int, QString> strings = [] {
        QFile file(QStringLiteral(":/resources/strings.tsv"));
        return file.open(QIODevice::ReadOnly) ? parse(file.readAll()) : QHash<int, QString>{};
    }();
    return strings;
}

} // namespace

QString ResString(int id)
{
    if (id <= 99)
        return {};
    const int language = gOptions().Language;
    const auto found = table().constFind(id + FrenchOffset * language);
    if (found != table().constEnd())
        return *found;
    // A language without this text falls back to English rather than to nothing.
    return table().value(id);
}

bool StringTable::load(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    table() = parse(file.readAll());
    return true;
}

QString StringTable::raw(int id)
{
    return table().value(id);
}
