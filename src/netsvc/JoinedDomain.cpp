#include "netsvc/JoinedDomain.h"

#include "netsvc/ConfigSections.h"

#include <QDir>

using ConfigSections::Parse;
using ConfigSections::ReadFile;
using ConfigSections::Sections;

QString JoinedDomain::FromSssd(const QString &text)
{
    QStringList order;
    const Sections sections = Parse(text, &order);
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
    const QHash<QString, QString> global = Parse(text).value(QStringLiteral("global"));
    if (global.value(QStringLiteral("security")).compare(QLatin1String("ads"), Qt::CaseInsensitive) != 0)
        return {};
    const QString realm = global.value(QStringLiteral("realm"));
    return realm.isEmpty() ? global.value(QStringLiteral("workgroup")) : realm;
}

QString JoinedDomain::Read()
{
    // SSSD's snippets add to its main file; the main file is readable by root only.
    QString sssd = ReadFile(QStringLiteral("/etc/sssd/sssd.conf"));
    const QDir snippets(QStringLiteral("/etc/sssd/conf.d"));
    for (const QString &name : snippets.entryList({QStringLiteral("*.conf")}, QDir::Files, QDir::Name))
        sssd += QLatin1Char('\n') + ReadFile(snippets.filePath(name));
    const QString domain = FromSssd(sssd);
    return domain.isEmpty() ? FromSamba(ReadFile(QStringLiteral("/etc/samba/smb.conf"))) : domain;
}
