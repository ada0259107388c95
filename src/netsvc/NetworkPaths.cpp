#include "netsvc/NetworkPaths.h"

#include "netsvc/SambaShares.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <QUrl>

namespace {

const QString GvfsType = QStringLiteral("fuse.gvfsd-fuse");

bool isNetworkFileSystem(const QString &type)
{
    static const QStringList types = {QStringLiteral("cifs"),      QStringLiteral("smb3"),
                                      QStringLiteral("smbfs"),     QStringLiteral("nfs"),
                                      QStringLiteral("nfs4"),      QStringLiteral("fuse.sshfs"),
                                      QStringLiteral("9p"),        QStringLiteral("ceph"),
                                      QStringLiteral("glusterfs"), QStringLiteral("fuse.glusterfs")};
    return types.contains(type);
}

// mountinfo writes blanks, tabs, line ends and backslashes as three octal digits.
QString unescape(const QString &field)
{
    static const QRegularExpression octal(QStringLiteral("^[0-7]{3}$"));
    QString out;
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == QLatin1Char('\\') && i + 3 < field.size() &&
            octal.match(field.mid(i + 1, 3)).hasMatch()) {
            out.append(QChar(field.mid(i + 1, 3).toInt(nullptr, 8)));
            i += 3;
            continue;
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

// "host" and the absolute "/export/rest" of "[user@]host:/export/rest", as nfs and sshfs name them.
bool splitExport(const QString &path, QString &host, QString &exportPath)
{
    static const QRegularExpression form(
        QStringLiteral("^(?:[^@/:\\s]+@)?(\\[[0-9A-Fa-f:.]+\\]|[A-Za-z0-9][A-Za-z0-9._-]*):(/.*)$"));
    const QRegularExpressionMatch match = form.match(path);
    if (!match.hasMatch())
        return false;
    const QString name = match.captured(1);
    const QString rest = match.captured(2);
    // "C:/..." is a drive, "file:/..." and "http://..." are addresses: none names a server's export.
    if (name.size() == 1 || name.compare(QLatin1String("file"), Qt::CaseInsensitive) == 0 ||
        rest.startsWith(QStringLiteral("//")))
        return false;
    host = name;
    exportPath = QDir::cleanPath(rest);
    return true;
}

// "server" and "share" of a gvfs folder name such as "smb-share:server=srv,share=docs,user=ann",
// into empty strings.
bool splitGvfsShare(const QString &name, QString &server, QString &share)
{
    const QString prefix = QStringLiteral("smb-share:");
    if (!name.startsWith(prefix))
        return false;
    for (const QString &pair : name.mid(prefix.size()).split(QLatin1Char(','))) {
        const qsizetype equals = pair.indexOf(QLatin1Char('='));
        const QString key = pair.left(equals);
        const QString value = QUrl::fromPercentEncoding(pair.mid(equals + 1).toUtf8());
        if (equals > 0 && key == QLatin1String("server"))
            server = value;
        else if (equals > 0 && key == QLatin1String("share"))
            share = value;
    }
    // Either slash would split the name in the path other machines open.
    static const QRegularExpression separator(QStringLiteral("[/\\\\]"));
    return !server.isEmpty() && !share.isEmpty() && !server.contains(separator) && !share.contains(separator);
}

bool sameHost(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// The folder below a mount point that a clean absolute path lies in, "" for the mount point itself.
QString below(const QString &clean, const QString &point)
{
    const QString root = QDir::cleanPath(point);
    return clean == root ? QString() : clean.mid(root == QStringLiteral("/") ? 1 : root.size() + 1);
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

bool isNetworkForm(const QString &path)
{
    QString a, b, c;
    return splitShare(path, a, b, c) || splitExport(path, a, b);
}

// What other machines open for a path: the path itself when it is a network
// form, the source and the rest for a path on a network mount; empty otherwise.
QString networkForm(const QString &path, const QList<NetworkPaths::Mount> &mounts)
{
    if (isNetworkForm(path))
        return path;
    if (!QDir::isAbsolutePath(path))
        return {};
    const QString clean = QDir::cleanPath(path);
    const NetworkPaths::Mount *mount = mountOf(clean, mounts);
    if (!mount)
        return {};
    const QString rest = below(clean, mount->mountPoint);
    if (mount->fsType == GvfsType) {
        // The desktop's mounts of shares are folders named after them.
        const qsizetype slash = rest.indexOf(QLatin1Char('/'));
        QString server, share;
        if (!splitGvfsShare(rest.left(slash), server, share))
            return {};
        return QStringLiteral("//") + server + QLatin1Char('/') + share +
               (slash < 0 ? QString() : rest.mid(slash));
    }
    if (!isNetworkFileSystem(mount->fsType) || mount->source.isEmpty())
        return {};
    QString source = mount->source;
    if (!rest.isEmpty())
        source += (source.endsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) + rest;
    // A source other machines cannot name ("host:" of a home folder, a device) gives nothing.
    return isNetworkForm(source) ? source : QString();
}

// The local path of "rest" below a folder, unless ".." climbs out of it.
QString inside(const QString &folder, const QString &rest)
{
    const QString root = QDir::cleanPath(folder);
    const QString local = QDir::cleanPath(root + QLatin1Char('/') + rest);
    return local == root || local.startsWith(root == QStringLiteral("/") ? root : root + QLatin1Char('/'))
               ? local
               : QString();
}

QString localOfShare(const QString &server, const QString &share, const QString &rest,
                     const QList<NetworkPaths::Mount> &mounts)
{
    for (const NetworkPaths::Mount &mount : mounts) {
        QString mServer, mShare, mRest;
        if (!isNetworkFileSystem(mount.fsType) || !splitShare(mount.source, mServer, mShare, mRest))
            continue;
        if (!sameHost(mServer, server) || mShare.compare(share, Qt::CaseInsensitive) != 0)
            continue;
        // A mount of //server/share/sub holds only what lies below "sub".
        if (!mRest.isEmpty() && rest != mRest && !rest.startsWith(mRest + QLatin1Char('/')))
            continue;
        const QString local = inside(mount.mountPoint, rest.mid(mRest.size()));
        if (!local.isEmpty())
            return local;
    }
    for (const NetworkPaths::Mount &mount : mounts) {
        if (mount.fsType != GvfsType)
            continue;
        const QStringList folders = QDir(mount.mountPoint).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString &folder : folders) {
            QString gServer, gShare;
            if (splitGvfsShare(folder, gServer, gShare) && sameHost(gServer, server) &&
                gShare.compare(share, Qt::CaseInsensitive) == 0) {
                const QString local = inside(mount.mountPoint + QLatin1Char('/') + folder, rest);
                if (!local.isEmpty())
                    return local;
            }
        }
    }
    return {};
}

QString localOfExport(const QString &host, const QString &exportPath,
                      const QList<NetworkPaths::Mount> &mounts)
{
    for (const NetworkPaths::Mount &mount : mounts) {
        QString mHost, mPath;
        if (!isNetworkFileSystem(mount.fsType) || !splitExport(mount.source, mHost, mPath) ||
            !sameHost(mHost, host))
            continue;
        const bool holds = mPath == QStringLiteral("/") || exportPath == mPath ||
                           exportPath.startsWith(mPath + QLatin1Char('/'));
        if (!holds)
            continue;
        const QString local =
            inside(mount.mountPoint, exportPath.mid(mPath == QStringLiteral("/") ? 0 : mPath.size()));
        if (!local.isEmpty())
            return local;
    }
    return {};
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

QList<NetworkPaths::Mount> NetworkPaths::ParseMounts(const QByteArray &table)
{
    QList<Mount> mounts;
    for (const QByteArray &bytes : table.split('\n')) {
        // id parent major:minor root mountpoint options [optional...] - fstype source superoptions
        const QStringList fields = QString::fromUtf8(bytes).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const qsizetype dash = fields.indexOf(QStringLiteral("-"), 6);
        if (dash < 0 || dash + 2 >= fields.size())
            continue;
        const QString point = unescape(fields[4]);
        if (!QDir::isAbsolutePath(point))
            continue;
        mounts.append({point, fields[dash + 1], unescape(fields[dash + 2])});
    }
    return mounts;
}

QList<NetworkPaths::Mount> NetworkPaths::ReadMounts(const QString &mountInfo)
{
    QFile file(!mountInfo.isEmpty()      ? mountInfo
               : !mountTable().isEmpty() ? mountTable()
                                         : QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    // The kernel's tables say they are empty: only the end of the reads tells how long they are.
    constexpr qsizetype Limit = 64 * 1024 * 1024;
    QByteArray table;
    char chunk[65536];
    for (qint64 got = 0; (got = file.read(chunk, sizeof chunk)) > 0 && table.size() < Limit;)
        table.append(chunk, got);
    return ParseMounts(table);
}

bool NetworkPaths::IsUNCPath(const QString &path)
{
    return !path.startsWith(QStringLiteral("smb://"), Qt::CaseInsensitive) && isNetworkForm(path);
}

bool NetworkPaths::IsNetworkPath(const QString &path, const QList<Mount> &mounts)
{
    return !networkForm(path, mounts).isEmpty();
}

bool NetworkPaths::IsNetworkPath(const QString &path)
{
    return IsNetworkPath(path, ReadMounts());
}

QString NetworkPaths::LocalPathOf(const QString &path, const QList<Mount> &mounts)
{
    QString server, share, rest;
    if (splitShare(path, server, share, rest))
        return localOfShare(server, share, rest, mounts);
    QString host, exportPath;
    if (splitExport(path, host, exportPath))
        return localOfExport(host, exportPath, mounts);
    return IsNetworkPath(path, mounts) ? QDir::cleanPath(path) : QString();
}

bool NetworkPaths::PathToUNC(QString &path, const QList<Mount> &mounts)
{
    const QString form = networkForm(path, mounts);
    if (form.isEmpty())
        return false;
    path = form;
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
