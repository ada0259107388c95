#include "support/ClientProcess.h"

#include "support/TempProfile.h"

#include <QFile>

#include <csignal>

ClientProcess::~ClientProcess()
{
    if (process.state() == QProcess::Running)
        signal(SIGKILL);
}

void ClientProcess::start(const TempProfile &profile, const QString &binary, const QString &platform)
{
    m_logFile = profile.dataHome() + QStringLiteral("/Korvane/client.log");
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), profile.configHome());
    env.insert(QStringLiteral("XDG_DATA_HOME"), profile.dataHome());
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), profile.runtimeDir());
    env.insert(QStringLiteral("XDG_CONFIG_DIRS"), profile.systemConfigDir());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(binary, {});
    process.waitForStarted(10000);
}

void ClientProcess::signal(int number)
{
    // A client that already ended has pid 0, and kill(0) would signal this whole process group.
    if (const qint64 pid = process.processId(); pid > 0)
        ::kill(static_cast<pid_t>(pid), number);
    process.waitForFinished(10000);
}

qint64 ClientProcess::rss() const
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process.processId()));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    return -1;
}

QString ClientProcess::log() const
{
    QFile file(m_logFile);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void ClientProcess::prepare(const TempProfile &profile, quint16 port, const QByteArray &userName,
                            const QByteArray &options)
{
    profile.writeFile(QStringLiteral("config/Korvane/Client.conf"), "[Options]\nUserName=" + userName + "\n");
    profile.writeFile(QStringLiteral("config/Korvane/KorvaneClient.ini"),
                      "[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) + "\n" + options);
}
