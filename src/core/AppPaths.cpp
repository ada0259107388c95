#include "core/AppPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <unistd.h>

namespace {
const QString Korvane = QStringLiteral("Korvane");
}

QString AppPaths::configFolder()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)).filePath(Korvane);
}

QString AppPaths::iniFile()
{
    return QDir(configFolder()).filePath(QStringLiteral("KorvaneClient.ini"));
}

QString AppPaths::deployedIniFile()
{
    const QString relative = Korvane + QStringLiteral("/KorvaneClient.ini");
    QString dirs = qEnvironmentVariable("XDG_CONFIG_DIRS");
    if (dirs.isEmpty())
        dirs = QStringLiteral("/etc/xdg");
    const QStringList folders = dirs.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString &folder : folders) {
        const QString candidate = QDir(folder).filePath(relative);
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return QDir(folders.value(0, QStringLiteral("/etc/xdg"))).filePath(relative);
}

QString AppPaths::userStoreFile()
{
    return QDir(configFolder()).filePath(QStringLiteral("Client.conf"));
}

QString AppPaths::dataFolder()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)).filePath(Korvane);
}

QString AppPaths::fallbackDataFolder()
{
    return QDir(runtimeFolder()).filePath(Korvane);
}

QString AppPaths::runtimeFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::temp().filePath(QStringLiteral("korvane-%1").arg(getuid()));
    return folder;
}

QString AppPaths::resourceFolder()
{
    // A build tree copies the layouts beside the program; an installed program has none there.
    const QDir program(QCoreApplication::applicationDirPath());
    if (program.exists(QStringLiteral("Layouts")))
        return program.path();
    return QDir::cleanPath(program.absoluteFilePath(QStringLiteral("../share/korvane")));
}
