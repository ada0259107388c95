#pragma once

#include <QString>

// Where the client's files live on this desktop.
namespace AppPaths {
// $XDG_CONFIG_HOME/Korvane
QString configFolder();
// The user's settings file, KorvaneClient.ini.
QString iniFile();
// The settings an administrator deploys, /etc/xdg/Korvane/KorvaneClient.ini
// (or the first such file along $XDG_CONFIG_DIRS).
QString deployedIniFile();
// The per-user store, Client.conf.
QString userStoreFile();
// $XDG_DATA_HOME/Korvane: databases, client.log, layouts, fetched sounds.
QString dataFolder();
// A folder for this run when the data folder cannot be used.
QString fallbackDataFolder();
// The per-user runtime folder, for the single-instance lock and socket.
QString runtimeFolder();
// The program's own read-only files (Media, help, Layouts): beside the
// executable in a build tree, <exe>/../share/korvane once installed.
QString resourceFolder();
} // namespace AppPaths
