#include "support/ClientProcess.h"

#include "support/TempProfile.h"

#include <QFile>

#include <csignal>

ClientProcess::~ClientProcess()
{
    if (process.state() == QProcess::Running)
        signal(SIGKILL);
}

void ClientProcess::start(const TempProfile &profile, const QString &binary)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), profile.configHome());
    env.insert(QStringLiteral("XDG_DATA_HOME"), profile.dataHome());
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), profile.runtimeDir());
    env.insert(QStringLiteral("XDG_CONFIG_DIRS"), profile.systemConfigDir());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(binary, {});
    process.waitForStarted(10000);
}

void ClientProcess::signal(int number)
{
    ::kill(static_cast<pid_t>(process.processId()), number);
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

void ClientProcess::prepare(const TempProfile &profile, quint16 port)
{
    profile.writeFile(QStringLiteral("config/Korvane/Client.conf"), "[Options]\nUserName=Jane Doe\n");
    profile.writeFile(QStringLiteral("config/Korvane/KorvaneClient.ini"),
                      "[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) + "\n");
}
