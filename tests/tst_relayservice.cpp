// The machine's relay service as an administrator deploys it, with real Unix
// users: the service manager (here the test, as root) opens the sockets and
// hands them to the service running as another account; an ordinary user who
// takes the port and every name the clients might follow gives no order.
// Needs root to run processes as another user (exit 77, skipped, otherwise).
#include "core/Globals.h"
#include "core/Options.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "link/UdpOrderRelay.h"
#include "support/LogText.h"
#include "support/TempProfile.h"

#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

#include <cstdio>
#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The account nobody, as an ordinary user (or a service's own account) would be.
constexpr uid_t Nobody = 65534;

void becomeNobody()
{
    if (setgroups(0, nullptr) != 0 || setresgid(Nobody, Nobody, Nobody) != 0 ||
        setresuid(Nobody, Nobody, Nobody) != 0)
        _exit(126);
}

QString program(const char *name)
{
    return QCoreApplication::applicationDirPath() + u'/' + QString::fromLatin1(name);
}

qsizetype obeyed()
{
    return logText().count(u"Server sent a DECONNECT command\t"_s);
}

// The relay's folder as /run/korvane-relay would be, but one that everybody may write in, so
// that the peer's credentials are all that stands between a user and the clients.
struct RelayFolder
{
    QTemporaryDir dir;
    QString path = dir.filePath(u"run"_s);
    quint16 port = 0;
    RelayFolder()
    {
        QDir().mkpath(path);
        chmod(dir.path().toLocal8Bit().constData(), 0755);
        chmod(path.toLocal8Bit().constData(), 01777);
        qputenv("KORVANE_RELAY_DIR", path.toUtf8());
        QUdpSocket probe;
        probe.bind(QHostAddress::LocalHost, 0);
        port = probe.localPort();
        gOptions().ClientPort = port;
    }
    ~RelayFolder() { qunsetenv("KORVANE_RELAY_DIR"); }
    // The machine's settings, in a folder the relay's account may read.
    bool writeMachineFile(const QByteArray &options) const
    {
        QDir().mkpath(dir.filePath(u"etc/Korvane"_s));
        qputenv("XDG_CONFIG_DIRS", dir.filePath(u"etc"_s).toUtf8());
        QFile machine(dir.filePath(u"etc/Korvane/KorvaneClient.ini"_s));
        return machine.open(QIODevice::WriteOnly) && machine.write("[Options]\n" + options) > 0;
    }
    void send(const char *from) const
    {
        QUdpSocket sender;
        sender.bind(QHostAddress(QString::fromLatin1(from)), 0);
        sender.writeDatagram("DEC", QHostAddress::LocalHost, port);
    }
};

} // namespace

class TestRelayService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anotherUsersHolderIsNeverFollowed()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        RelayFolder relay;
        QProcess intruder;
        intruder.setChildProcessModifier(becomeNobody);
        intruder.start(program("relay_intruder"),
                       {QString::number(relay.port), UdpOrderRelay::serviceSocket(relay.port)});
        QVERIFY(intruder.waitForReadyRead(10000));
        QCOMPARE(intruder.readAll(), "ready\n");

        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter_Timer();
        client.tmrUdpStarter_Timer();
        QVERIFY(!client.udpRelay().isFollowing());
        QVERIFY(client.tmrUdpStarter.isEnabled());
        QCOMPARE(logText().count(u" is held by user 65534, neither root nor this user"_s), 1);
        QCoreApplication::processEvents();
        QCOMPARE(obeyed(), 0);
        intruder.kill();
        intruder.waitForFinished();
    }

    void theServiceRelaysTheOrdersTheAdministratorAllows()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        RelayFolder relay;
        // The machine's settings, and a log folder the service's account may write.
        QVERIFY(relay.writeMachineFile("Host=localhost\nUdpOrdersFrom=server\n"));
        const QString logs = relay.dir.filePath(u"logs"_s);
        QDir().mkpath(logs);
        chmod(logs.toLocal8Bit().constData(), 0777);
        qputenv("LOGS_DIRECTORY", logs.toUtf8());

        // What the service manager does: the sockets are opened by root, then handed over.
        const int datagram = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in6 any{};
        any.sin6_family = AF_INET6;
        any.sin6_port = htons(relay.port);
        QVERIFY(bind(datagram, reinterpret_cast<sockaddr *>(&any), sizeof any) == 0);
        const int stream = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        const QByteArray path = UdpOrderRelay::serviceSocket(relay.port).toLocal8Bit();
        std::snprintf(name.sun_path, sizeof name.sun_path, "%s", path.constData());
        QVERIFY(bind(stream, reinterpret_cast<sockaddr *>(&name), sizeof name) == 0 &&
                listen(stream, 16) == 0);
        chmod(path.constData(), 0666);

        QProcess service;
        service.setChildProcessModifier([datagram, stream] {
            // The local socket first: the relay tells them apart by what they are. Copies above
            // the two places first, so that neither overwrites the other.
            const int local = fcntl(stream, F_DUPFD, 10), port = fcntl(datagram, F_DUPFD, 10);
            dup2(local, 3);
            dup2(port, 4);
            setenv("LISTEN_FDS", "2", 1);
            setenv("LISTEN_PID", QByteArray::number(getpid()).constData(), 1);
            becomeNobody();
        });
        service.start(program("../src/korvane-relayd"), {});
        QVERIFY(service.waitForStarted(10000));
        ::close(datagram);
        ::close(stream);

        Encryption codec;
        ConnectionManager client(codec);
        gOptions().Server = u"localhost"_s;
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing());
        QTRY_VERIFY(QFile::exists(logs + u"/client.log"_s));
        relay.send("127.0.0.1");
        QTRY_COMPARE(obeyed(), 1);
        // A sender the administrator does not allow is stopped by the service: the client
        // hears of it only in the service's log.
        relay.send("127.0.0.2");
        relay.send("127.0.0.1");
        QTRY_COMPARE(obeyed(), 2);
        QFile serviceLog(logs + u"/client.log"_s);
        QVERIFY(serviceLog.open(QIODevice::ReadOnly));
        QVERIFY(serviceLog.readAll().contains("UDP order from 127.0.0.2 ignored: only the server localhost"));
        QVERIFY(!logText().contains(u"127.0.0.2"_s));

        // One user cannot fill the service: his third connection is closed, the first kept.
        QLocalSocket second, third;
        for (QLocalSocket *more : {&second, &third})
            more->connectToServer(QString::fromLocal8Bit(path));
        QTRY_COMPARE(third.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(second.state(), QLocalSocket::ConnectedState);
        relay.send("127.0.0.1");
        QTRY_COMPARE(obeyed(), 3);
        QVERIFY(client.udpRelay().isFollowing());
        // A place given up is free again for the same user.
        second.disconnectFromServer();
        QTest::qWait(300); // for the relay to see it go
        QLocalSocket again;
        again.connectToServer(QString::fromLocal8Bit(path));
        QVERIFY(again.waitForConnected(5000));
        relay.send("127.0.0.1");
        QTRY_COMPARE(obeyed(), 4);
        QTRY_VERIFY(again.bytesAvailable() > 0);

        service.kill();
        service.waitForFinished();
        qunsetenv("LOGS_DIRECTORY");
    }

    // Run by hand, the relay takes its port from the machine's file (the usual one when that
    // gives none), and no socket meant for another process.
    void aRelayRunByHandTakesThePortOfTheMachinesFile()
    {
        RelayFolder relay;
        const int decoy = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::snprintf(name.sun_path, sizeof name.sun_path, "%s", qPrintable(relay.dir.filePath(u"decoy"_s)));
        QVERIFY(bind(decoy, reinterpret_cast<sockaddr *>(&name), sizeof name) == 0 && listen(decoy, 1) == 0);
        for (const auto &[setting, port] : {std::pair("65535", 65535), std::pair("0", 58502)}) {
            QVERIFY(relay.writeMachineFile(QByteArray("ClientPort=") + setting + '\n'));
            QProcess service;
            service.setChildProcessModifier([decoy] {
                dup2(decoy, 3);
                dup2(decoy, 4);
                setenv("LISTEN_FDS", "2", 1);
                setenv("LISTEN_PID", "1", 1);
            });
            service.start(program("../src/korvane-relayd"), {});
            QVERIFY(service.waitForStarted(10000));
            QTRY_VERIFY(QFile::exists(UdpOrderRelay::serviceSocket(quint16(port))));
            service.kill();
            service.waitForFinished();
        }
        ::close(decoy);

        // A socket that cannot be made ends the relay at once, for the service manager to see.
        QFile blocker(relay.dir.filePath(u"file"_s));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        qputenv("KORVANE_RELAY_DIR", blocker.fileName().toUtf8() + "/run");
        QProcess broken;
        broken.start(program("../src/korvane-relayd"), {});
        QVERIFY(broken.waitForFinished(10000));
        QCOMPARE(broken.exitCode(), 1);
    }

    // A relay run by hand after a client took the port: the client gives it up at its next tick,
    // and the relay, trying every second, takes it and relays.
    void aRelayThatComesLaterGetsThePortFromTheClient()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        RelayFolder relay;
        QVERIFY(relay.writeMachineFile("ClientPort=" + QByteArray::number(relay.port) + '\n'));
        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter_Timer();
        QCOMPARE(client.wsUDP.state(), QAbstractSocket::BoundState);

        QProcess service;
        service.start(program("../src/korvane-relayd"), {});
        QVERIFY(service.waitForStarted(10000));
        const QString log = relay.path + u"/client.log"_s;
        const auto logged = [&](const char *text) {
            QFile file(log);
            return file.open(QIODevice::ReadOnly) && file.readAll().contains(text);
        };
        QTRY_VERIFY(logged("tried again every second"));
        // While the port stays taken the relay neither spins nor fills its log.
        QTest::qWait(2500);
        QFile stat(u"/proc/%1/stat"_s.arg(service.processId()));
        QVERIFY(stat.open(QIODevice::ReadOnly));
        const QList<QByteArray> fields = stat.readAll().split(' ');
        QVERIFY2(fields.value(13).toLong() + fields.value(14).toLong() < sysconf(_SC_CLK_TCK) / 2,
                 "the relay spent more than half a second of processor retrying the port");
        QFile logFile(log);
        QVERIFY(logFile.open(QIODevice::ReadOnly));
        QCOMPARE(logFile.readAll().count("tried again every second"), 1);
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing());
        QTRY_VERIFY_WITH_TIMEOUT(logged(" relayed\n"), 10000);
        relay.send("127.0.0.1");
        QTRY_COMPARE(obeyed(), 1);
        service.kill();
        service.waitForFinished();
    }
};

int main(int argc, char *argv[])
{
    if (geteuid() != 0) {
        std::fprintf(stderr, "SKIP: running the relay as other users needs root\n");
        return 77;
    }
    QCoreApplication app(argc, argv);
    TestRelayService test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_relayservice.moc"
