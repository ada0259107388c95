#pragma once

#include <QList>
#include <QString>

// Whether a path can be opened from other machines, and where a network path
// can be read on this one. Network paths are the UNC forms "\\server\share\..."
// and "//server/share/...", smb:// addresses, and any path on a mounted network
// file system.
namespace NetworkPaths {

struct Mount
{
    QString mountPoint;
    QString fsType;
    QString source;
};

// The mounts of this process, from /proc/self/mountinfo (or the given file).
QList<Mount> ReadMounts(const QString &mountInfo = QStringLiteral("/proc/self/mountinfo"));

bool IsUNCPath(const QString &path);
bool IsNetworkPath(const QString &path, const QList<Mount> &mounts);
bool IsNetworkPath(const QString &path);
// A local path from which a network path can be read here: the path itself on
// a network mount, or a UNC or smb:// path translated through the mount of its
// share. Empty when the share is not mounted on this machine.
QString LocalPathOf(const QString &path, const QList<Mount> &mounts);

} // namespace NetworkPaths
