#include "netsvc/JoinedDomain.h"

#include <QDir>
#include <QFile>
#include <QHash>

namespace {

// An ini text as sections of keys; keys lower case, as both services read them.
using Sections = QHash<QString, QHash<QString, QString>>;

Sections parse(const QString &text, QStringList *order)
{
    Sections sections;
    QString section;
    for (const QString &raw : text.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';')))
            continue;
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            section = line.mid(1, line.size() - 2).trimmed();
            if (order)
                order->append(section);
            continue;
        }
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0)
            sections[section.toLower()][line.left(equals).trimmed().toLower()] =
                line.mid(equals + 1).trimmed();
    }
    return sections;
}

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

QString JoinedDomain::FromSssd(const QString &text)
{
    QStringList order;
    const Sections sections = parse(text, &order);
    const QString domains = sections.value(QStringLiteral("sssd")).value(QStringLiteral("domains"));
    const QString first = domains.section(QLatin1Char(','), 0, 0).trimmed();
    if (!first.isEmpty())
        return first;
    for (const QString &section : order)
        if (section.startsWith(QLatin1String("domain/")))
            return section.mid(7).trimmed();
    return {};
}

QString JoinedDomain::FromSamba(const QString &text)
{
    const QHash<QString, QString> global = parse(text, nullptr).value(QStringLiteral("global"));
    if (global.value(QStringLiteral("security")).compare(QLatin1String("ads"), Qt::CaseInsensitive) != 0)
        return {};
    const QString realm = global.value(QStringLiteral("realm"));
    return realm.isEmpty() ? global.value(QStringLiteral("workgroup")) : realm;
}

QString JoinedDomain::Read()
{
    // SSSD's snippets add to its main file; the main file is readable by root only.
    QString sssd = readFile(QStringLiteral("/etc/sssd/sssd.conf"));
    const QDir snippets(QStringLiteral("/etc/sssd/conf.d"));
    for (const QString &name : snippets.entryList({QStringLiteral("*.conf")}, QDir::Files, QDir::Name))
        sssd += QLatin1Char('\n') + readFile(snippets.filePath(name));
    const QString domain = FromSssd(sssd);
    return domain.isEmpty() ? FromSamba(readFile(QStringLiteral("/etc/samba/smb.conf"))) : domain;
}
