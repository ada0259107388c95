#include "netsvc/NetworkPaths.h"

#include "netsvc/SambaShares.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QUrl>

namespace {

bool isNetworkFileSystem(const QString &type)
{
    static const QStringList types = {QStringLiteral("cifs"),      QStringLiteral("smb3"),
                                      QStringLiteral("smbfs"),     QStringLiteral("nfs"),
                                      QStringLiteral("nfs4"),      QStringLiteral("fuse.sshfs"),
                                      QStringLiteral("9p"),        QStringLiteral("ceph"),
                                      QStringLiteral("glusterfs"), QStringLiteral("fuse.glusterfs")};
    return types.contains(type);
}

// mountinfo escapes blanks and a few others as octal.
QString unescape(const QString &field)
{
    QString out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == QLatin1Char('\\') && i + 3 < field.size()) {
            bool ok = false;
            const int code = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out.append(QChar(code));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return out;
}

// "server", "share" and the rest of a UNC or smb:// path, with forward slashes.
bool splitShare(const QString &path, QString &server, QString &share, QString &rest)
{
    QString p = path;
    if (p.startsWith(QStringLiteral("smb://"), Qt::CaseInsensitive))
        p = QUrl::fromPercentEncoding(p.mid(4).toUtf8());
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!p.startsWith(QStringLiteral("//")))
        return false;
    const QStringList parts = p.mid(2).split(QLatin1Char('/'));
    if (parts.size() < 2 || parts[0].isEmpty() || parts[1].isEmpty())
        return false;
    server = parts[0];
    share = parts[1];
    rest = parts.mid(2).join(QLatin1Char('/'));
    return true;
}

const NetworkPaths::Mount *mountOf(const QString &absolutePath, const QList<NetworkPaths::Mount> &mounts)
{
    const NetworkPaths::Mount *best = nullptr;
    for (const NetworkPaths::Mount &mount : mounts) {
        const QString point = mount.mountPoint.endsWith(QLatin1Char('/'))
                                  ? mount.mountPoint
                                  : mount.mountPoint + QLatin1Char('/');
        if ((absolutePath == mount.mountPoint || absolutePath.startsWith(point)) &&
            (!best || mount.mountPoint.size() > best->mountPoint.size()))
            best = &mount;
    }
    return best;
}

QString &mountTable()
{
    static QString file;
    return file;
}

} // namespace

void NetworkPaths::UseMountTable(const QString &mountInfo)
{
    mountTable() = mountInfo;
}

QList<NetworkPaths::Mount> NetworkPaths::ReadMounts(const QString &mountInfo)
{
    QList<Mount> mounts;
    QFile file(!mountInfo.isEmpty()      ? mountInfo
               : !mountTable().isEmpty() ? mountTable()
                                         : QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return mounts;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine(8192)).trimmed();
        // id parent major:minor root mountpoint options ... - fstype source superoptions
        const QStringList fields = line.split(QLatin1Char(' '));
        const qsizetype dash = fields.indexOf(QStringLiteral("-"));
        if (fields.size() < 5 || dash < 0 || dash + 2 >= fields.size())
            continue;
        mounts.append({unescape(fields[4]), fields[dash + 1], unescape(fields[dash + 2])});
    }
    return mounts;
}

bool NetworkPaths::IsUNCPath(const QString &path)
{
    QString server, share, rest;
    return !path.startsWith(QStringLiteral("smb://"), Qt::CaseInsensitive) &&
           splitShare(path, server, share, rest);
}

bool NetworkPaths::IsNetworkPath(const QString &path, const QList<Mount> &mounts)
{
    QString server, share, rest;
    if (splitShare(path, server, share, rest))
        return true;
    if (!QDir::isAbsolutePath(path))
        return false;
    const Mount *mount = mountOf(QDir::cleanPath(path), mounts);
    return mount && isNetworkFileSystem(mount->fsType);
}

bool NetworkPaths::IsNetworkPath(const QString &path)
{
    return IsNetworkPath(path, ReadMounts());
}

QString NetworkPaths::LocalPathOf(const QString &path, const QList<Mount> &mounts)
{
    QString server, share, rest;
    if (!splitShare(path, server, share, rest))
        return IsNetworkPath(path, mounts) ? QDir::cleanPath(path) : QString();
    for (const Mount &mount : mounts) {
        QString mServer, mShare, mRest;
        if (!isNetworkFileSystem(mount.fsType) || !splitShare(mount.source, mServer, mShare, mRest))
            continue;
        if (mServer.compare(server, Qt::CaseInsensitive) != 0 ||
            mShare.compare(share, Qt::CaseInsensitive) != 0)
            continue;
        // A mount of //server/share/sub holds only what lies below "sub".
        if (!mRest.isEmpty() && rest != mRest && !rest.startsWith(mRest + QLatin1Char('/')))
            continue;
        const QString local = QDir::cleanPath(mount.mountPoint + QLatin1Char('/') + rest.mid(mRest.size()));
        // ".." in the rest must not climb out of the share.
        if (local == QDir::cleanPath(mount.mountPoint) ||
            local.startsWith(QDir::cleanPath(mount.mountPoint) + QLatin1Char('/')))
            return local;
    }
    return {};
}

bool NetworkPaths::PathToUNC(QString &path, const QList<Mount> &mounts)
{
    QString server, share, rest;
    if (splitShare(path, server, share, rest))
        return true;
    if (!QDir::isAbsolutePath(path))
        return false;
    const QString clean = QDir::cleanPath(path);
    const Mount *mount = mountOf(clean, mounts);
    // A mount without a source gives nothing other machines could open.
    if (!mount || !isNetworkFileSystem(mount->fsType) || mount->source.isEmpty())
        return false;
    const QString point = QDir::cleanPath(mount->mountPoint);
    const QString below = clean.mid(point == QStringLiteral("/") ? 1 : point.size() + 1);
    QString source = mount->source;
    // "//server/share" and "server:/export" both take the rest behind a slash.
    if (!below.isEmpty())
        source += (source.endsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) + below;
    path = source;
    return true;
}

bool NetworkPaths::PathToUNC(QString &path)
{
    if (PathToUNC(path, ReadMounts()))
        return true;
    // A folder this machine shares is on the network too.
    const SambaShares::Config samba = SambaShares::Read();
    return SambaShares::ToNetworkPath(path, samba.shares, samba.host);
}
