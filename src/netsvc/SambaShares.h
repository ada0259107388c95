#pragma once

#include <QList>
#include <QString>

// The folders this machine shares through Samba, so that a document under one
// of them counts as on the network: other machines open it as
// "//host/share/rest".
namespace SambaShares {

struct Share
{
    QString name;
    QString path;
};

// The disk shares of an smb.conf text: every section but [global], [homes]
// and [printers] that has a path and is not a printer or switched off.
QList<Share> FromConfig(const QString &text);
// The name other machines reach this one by: "netbios name", else the host's name.
QString HostName(const QString &text);

struct Config
{
    QList<Share> shares;
    QString host;
};
// The shares of this machine and its name, from one read of the configuration:
// no share unless Samba's server is installed.
Config Read();
// A configuration file of a test's own, taken as if Samba were installed; empty restores the system's.
void UseConfig(const QString &file);

// A local path under a share in its network form; false, the path untouched, when under none.
bool ToNetworkPath(QString &path, const QList<Share> &shares, const QString &host);

} // namespace SambaShares
