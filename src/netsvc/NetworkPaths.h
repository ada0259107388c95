#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// Whether a path can be opened from other machines, and where a network path
// can be read on this one. Network paths are the UNC forms "\\server\share\..."
// and "//server/share/...", the export form "server:/export/...", smb://
// addresses, and any path on a mounted network file system.
namespace NetworkPaths {

struct Mount
{
    QString mountPoint;
    QString fsType;
    QString source;
};

// The mounts a mount table (the mountinfo layout) lists; a line that makes no
// sense is passed over and the rest still count.
QList<Mount> ParseMounts(const QByteArray &table);
// The mounts of this process, from the mount table in use (or the given file).
QList<Mount> ReadMounts(const QString &mountInfo = QString());
// The mount table that ReadMounts reads: /proc/self/mountinfo unless a test
// points it at a file of its own; an empty name restores the system's.
void UseMountTable(const QString &mountInfo);

// The path names a network location by itself: "//server/share/...",
// "\\server\share\..." or "server:/export/...".
bool IsUNCPath(const QString &path);
// The one answer to "is this a network path?": a network form, or a path on a
// network mount that other machines can reach by its source.
bool IsNetworkPath(const QString &path, const QList<Mount> &mounts);
bool IsNetworkPath(const QString &path);
// A local path from which a network path can be read here: the path itself on
// a network mount, or a network form translated through the mount of its
// share or export. Empty when it is not mounted on this machine.
QString LocalPathOf(const QString &path, const QList<Mount> &mounts);

// Turns a path into the form other machines open: a network form stays as it
// is, a path on a network mount becomes its source and the rest
// ("//server/share/rest", "server:/export/rest"). False, and the path
// untouched, when it is local.
bool PathToUNC(QString &path, const QList<Mount> &mounts);
// The same over this machine's mounts, then its Samba shares ("//host/share/rest").
bool PathToUNC(QString &path);

} // namespace NetworkPaths
