#include "netsvc/ConfigSections.h"

#include <QFile>

ConfigSections::Sections ConfigSections::Parse(const QString &text, QStringList *order)
{
    Sections sections;
    QString section;
    for (const QString &raw : text.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            const QString name = line.mid(1, line.size() - 2).trimmed();
            section = name.toLower();
            // The order keeps the names as written: a domain's case is its own.
            if (order)
                order->append(name);
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0)
            sections[section][line.left(equals).trimmed().toLower()] = line.mid(equals + 1).trimmed();
    }
    return sections;
}

QString ConfigSections::ReadFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
