#pragma once

#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <cstdio>

// A file server of the tests' own on a free loopback port, and the commands
// that mount its folders. Only what the test wrote itself is trusted: a port
// someone else holds first makes the mount fail, never pass.
class LoopbackDaemon
{
public:
    QString error; // what the last command printed

    ~LoopbackDaemon() { stop(); }

    static QString find(const QString &program)
    {
        return QStandardPaths::findExecutable(program,
                                              {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin"),
                                               QStringLiteral("/sbin"), QStringLiteral("/bin")});
    }

    // Runs a command to its end; true when it exited with 0. Its output is kept in error.
    bool run(const QString &program, const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        if (!input.isEmpty()) {
            process.write(input);
            process.closeWriteChannel();
        }
        const bool done = process.waitForFinished(30000);
        error = QString::fromLocal8Bit(process.readAll()).trimmed();
        if (!done)
            process.kill();
        return done && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    static quint16 freePort()
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
    }

    // Starts the server and waits until it answers on port; else error holds what it said.
    bool start(const QString &program, const QStringList &arguments, quint16 port)
    {
        m_server.setProcessChannelMode(QProcess::MergedChannels);
        m_server.start(program, arguments);
        if (m_server.waitForStarted(10000))
            for (int attempt = 0; attempt < 100 && m_server.state() == QProcess::Running; ++attempt) {
                QTcpSocket socket;
                socket.connectToHost(QHostAddress::LocalHost, port);
                if (socket.waitForConnected(200))
                    return true;
                QTest::qWait(100);
            }
        error = QString::fromLocal8Bit(m_server.readAll()).trimmed();
        return false;
    }

    void stop()
    {
        if (m_server.state() == QProcess::NotRunning)
            return;
        m_server.terminate();
        if (!m_server.waitForFinished(5000))
            m_server.kill();
        m_server.waitForFinished(5000);
    }

    static void write(const QString &file, const QByteArray &bytes)
    {
        QFile out(file);
        if (out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            out.write(bytes);
    }

    static QByteArray read(const QString &file)
    {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

private:
    QProcess m_server;
};

// Runs the tests over a mount that Mount::start() sets up, or exits 77 (CTest: skipped) with the reason
// start() gives for not mounting here.
template <typename Mount, typename Test>
int runOverMount(int argc, char *argv[])
{
    Mount mount;
    if (const QString why = mount.start(); !why.isEmpty()) {
        std::fprintf(stderr, "SKIP: %s\n", qPrintable(why));
        return 77;
    }
    Test test(mount);
    return QTest::qExec(&test, argc, argv);
}
