#include "support/TempProfile.h"

#include "core/Globals.h"
#include "engine/ProcessGlobals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {
const char *const Variables[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_DIRS"};
}

TempProfile::TempProfile()
{
    for (int i = 0; i < 4; ++i)
        m_saved[i] = qgetenv(Variables[i]);
    for (const QString &sub : {QStringLiteral("config"), QStringLiteral("data"), QStringLiteral("runtime"),
                               QStringLiteral("etc-xdg")})
        QDir(m_dir.path()).mkpath(sub);
    QFile::setPermissions(runtimeDir(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("XDG_CONFIG_HOME", configHome().toLocal8Bit());
    qputenv("XDG_DATA_HOME", dataHome().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", runtimeDir().toLocal8Bit());
    qputenv("XDG_CONFIG_DIRS", systemConfigDir().toLocal8Bit());
    ResetProcessGlobals();
}

TempProfile::~TempProfile()
{
    for (int i = 0; i < 4; ++i) {
        if (m_saved[i].isNull())
            qunsetenv(Variables[i]);
        else
            qputenv(Variables[i], m_saved[i]);
    }
    ResetProcessGlobals();
}

void TempProfile::writeFile(const QString &relativePath, const QByteArray &content) const
{
    const QString file = m_dir.filePath(relativePath);
    QDir().mkpath(QFileInfo(file).absolutePath());
    QFile out(file);
    if (out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        out.write(content);
}

QByteArray TempProfile::readFile(const QString &relativePath) const
{
    QFile in(m_dir.filePath(relativePath));
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}
