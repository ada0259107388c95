#include "netsvc/SambaShares.h"

#include "netsvc/ConfigSections.h"

#include <QDir>
#include <QFileInfo>
#include <QSysInfo>

namespace {

QString gConfig;

QString configText()
{
    if (!gConfig.isEmpty())
        return ConfigSections::ReadFile(gConfig);
    // The client files of Samba come without its server: then nothing is shared.
    if (!QFileInfo::exists(QStringLiteral("/usr/sbin/smbd")))
        return {};
    return ConfigSections::ReadFile(QStringLiteral("/etc/samba/smb.conf"));
}

bool isNo(const QString &value)
{
    return value.compare(QLatin1String("no"), Qt::CaseInsensitive) == 0 ||
           value.compare(QLatin1String("false"), Qt::CaseInsensitive) == 0 || value == QLatin1String("0");
}

bool isYes(const QString &value)
{
    return value.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0 ||
           value.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || value == QLatin1String("1");
}

} // namespace

QList<SambaShares::Share> SambaShares::FromConfig(const QString &text)
{
    QStringList order;
    const ConfigSections::Sections sections = ConfigSections::Parse(text, &order);
    QList<Share> shares;
    for (const QString &name : order) {
        const QString key = name.toLower();
        if (key == QLatin1String("global") || key == QLatin1String("homes") ||
            key == QLatin1String("printers"))
            continue;
        const QHash<QString, QString> &share = sections[key];
        const QString path = share.value(QStringLiteral("path"));
        if (!QDir::isAbsolutePath(path) || isYes(share.value(QStringLiteral("printable"))) ||
            isYes(share.value(QStringLiteral("print ok"))) || isNo(share.value(QStringLiteral("available"))))
            continue;
        // A section named twice counts once.
        if (std::none_of(shares.cbegin(), shares.cend(), [&](const Share &known) {
                return known.name.compare(name, Qt::CaseInsensitive) == 0;
            }))
            shares.append({name, QDir::cleanPath(path)});
    }
    return shares;
}

QString SambaShares::HostName(const QString &text)
{
    const QString netbios =
        ConfigSections::Parse(text).value(QStringLiteral("global")).value(QStringLiteral("netbios name"));
    return netbios.isEmpty() ? QSysInfo::machineHostName() : netbios;
}

SambaShares::Config SambaShares::Read()
{
    const QString text = configText();
    return {FromConfig(text), HostName(text)};
}

void SambaShares::UseConfig(const QString &file)
{
    gConfig = file;
}

bool SambaShares::ToNetworkPath(QString &path, const QList<Share> &shares, const QString &host)
{
    if (!QDir::isAbsolutePath(path) || host.isEmpty())
        return false;
    const QString clean = QDir::cleanPath(path);
    // The deepest share that holds the path names it.
    const Share *best = nullptr;
    for (const Share &share : shares) {
        const bool inside = clean == share.path || share.path == QLatin1String("/") ||
                            clean.startsWith(share.path + QLatin1Char('/'));
        if (inside && (!best || share.path.size() > best->path.size()))
            best = &share;
    }
    if (!best)
        return false;
    const QString below = best->path == QLatin1String("/") ? clean.mid(1) : clean.mid(best->path.size() + 1);
    path = QStringLiteral("//") + host + QLatin1Char('/') + best->name +
           (below.isEmpty() ? QString() : QLatin1Char('/') + below);
    return true;
}
