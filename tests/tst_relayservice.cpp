// The relay service as deployed, run as another account on sockets root hands it; an ordinary user who
// takes the port and every name the clients might follow gives no order. Needs root (77 if not).
#include "core/Globals.h"
#include "core/Options.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "link/UdpOrderRelay.h"
#include "support/LogText.h"
#include "support/LoopbackDaemon.h"
#include "support/UdpOrderMachine.h"

#include <QLocalSocket>
#include <QProcess>
#include <QTest>
#include <QUdpSocket>

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <grp.h>
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

int listening(const QByteArray &path)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un name{AF_UNIX, {}};
    std::snprintf(name.sun_path, sizeof name.sun_path, "%s", path.constData());
    return bind(fd, reinterpret_cast<sockaddr *>(&name), sizeof name) == 0 && listen(fd, 16) == 0 ? fd : -1;
}

// What the service manager does, in the child: the local socket as 3 and the port as 4, for this
// process or another one. Copied above both places first, so that neither overwrites the other.
void handOver(int local, int port, bool ours)
{
    const int localCopy = fcntl(local, F_DUPFD, 10), portCopy = fcntl(port, F_DUPFD, 10);
    dup2(localCopy, 3);
    dup2(portCopy, 4);
    setenv("LISTEN_FDS", "2", 1);
    setenv("LISTEN_PID", ours ? QByteArray::number(getpid()).constData() : "1", 1);
}

// A program next to the tests (the relay unless named), ended with the test that started it.
struct Child : QProcess
{
    explicit Child(
        const std::function<void()> &setUp = [] {}, const char *name = "../src/korvane-relayd",
        const QStringList &arguments = {})
    {
        setChildProcessModifier(setUp);
        start(QCoreApplication::applicationDirPath() + u'/' + QString::fromLatin1(name), arguments);
    }
    ~Child() override
    {
        kill();
        waitForFinished();
    }
};

// A machine whose relay's folder is as /run/korvane-relay would be but one that everybody may write in,
// so that the peer's credentials are all that stands between a user and the clients.
struct RelayFolder : UdpOrderMachine
{
    QString path = at(u"run"_s);
    RelayFolder()
    {
        QDir().mkpath(path);
        chmod(qPrintable(profile.path()), 0755);
        chmod(qPrintable(path), 01777);
        qputenv("KORVANE_RELAY_DIR", path.toUtf8());
    }
    QString at(const QString &name) const { return profile.path() + u'/' + name; }
    void writeMachineFile(const QByteArray &options) const
    {
        profile.writeFile(u"etc/Korvane/KorvaneClient.ini"_s, "[Options]\n" + options);
        qputenv("XDG_CONFIG_DIRS", at(u"etc"_s).toUtf8());
    }
};

} // namespace

class TestRelayService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anotherUsersHolderIsNeverFollowed()
    {
        RelayFolder relay;
        Child intruder(becomeNobody, "relay_intruder",
                       {QString::number(relay.port), UdpOrderRelay::serviceSocket(relay.port)});
        QVERIFY(intruder.waitForReadyRead(10000) && intruder.readAll() == "ready\n");

        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter_Timer();
        client.tmrUdpStarter_Timer();
        QVERIFY(!client.udpRelay().isFollowing() && client.tmrUdpStarter.isEnabled());
        QCOMPARE(logText().count(u" is held by user 65534, neither root nor this user"_s), 1);
        QCoreApplication::processEvents();
        QCOMPARE(relay.obeyed(), 0);
    }

    void theServiceRelaysTheOrdersTheAdministratorAllows()
    {
        RelayFolder relay;
        // The machine's settings, and a log folder the service's account may write.
        relay.writeMachineFile("Host=localhost\nUdpOrdersFrom=server\n");
        const QString logs = relay.at(u"logs"_s);
        QDir().mkpath(logs);
        chmod(qPrintable(logs), 0777);
        qputenv("LOGS_DIRECTORY", logs.toUtf8());

        QUdpSocket datagram;
        QVERIFY(datagram.bind(QHostAddress::Any, relay.port, QAbstractSocket::DontShareAddress));
        const QByteArray path = UdpOrderRelay::serviceSocket(relay.port).toLocal8Bit();
        const int stream = listening(path);
        QVERIFY(stream >= 0);
        chmod(path.constData(), 0666);
        Child service([port = int(datagram.socketDescriptor()), stream] {
            handOver(stream, port, true);
            becomeNobody();
        });
        QVERIFY(service.waitForStarted(10000));
        datagram.close();
        ::close(stream);

        Encryption codec;
        ConnectionManager client(codec);
        gOptions().Server = u"localhost"_s;
        client.tmrUdpStarter_Timer();
        relay.send();
        QTRY_COMPARE(relay.obeyed(), 1);
        // A sender the administrator does not allow is told of in the service's log only.
        relay.send({"127.0.0.2"});
        relay.send();
        QTRY_COMPARE(relay.obeyed(), 2);
        QVERIFY(LoopbackDaemon::read(logs + u"/client.log"_s)
                    .contains("UDP order from 127.0.0.2 ignored: only the server localhost"));
        QVERIFY(!logText().contains(u"127.0.0.2"_s));

        // One user cannot fill the service: his third connection is closed, the first kept.
        QLocalSocket second, third;
        for (QLocalSocket *more : {&second, &third})
            more->connectToServer(QString::fromLocal8Bit(path));
        QTRY_COMPARE(third.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(second.state(), QLocalSocket::ConnectedState);
        relay.send();
        QTRY_COMPARE(relay.obeyed(), 3);
        // A place given up is free again for the same user.
        second.disconnectFromServer();
        QTest::qWait(300); // for the relay to see it go
        QLocalSocket again;
        again.connectToServer(QString::fromLocal8Bit(path));
        QVERIFY(again.waitForConnected(5000));
        relay.send();
        QTRY_COMPARE(relay.obeyed(), 4);
        QTRY_VERIFY(again.bytesAvailable() > 0);
        // That one place only: the user's count went down by one, not back to none.
        QLocalSocket fourth;
        fourth.connectToServer(QString::fromLocal8Bit(path));
        QTRY_COMPARE(fourth.state(), QLocalSocket::UnconnectedState);
        qunsetenv("LOGS_DIRECTORY");
    }

    // Run by hand, the relay takes its port from the machine's file (the usual one when that gives none),
    // no socket meant for another process, and a port a client holds once it gives it up.
    void aRelayRunByHandTakesThePortOfTheMachinesFile()
    {
        RelayFolder relay;
        relay.writeMachineFile("ClientPort=" + QByteArray::number(relay.port) + '\n');
        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter_Timer();
        QCOMPARE(client.wsUDP.state(), QAbstractSocket::BoundState);
        Child service;
        QVERIFY(service.waitForStarted(10000));
        const QString log = relay.path + u"/client.log"_s;
        QTRY_VERIFY(LoopbackDaemon::read(log).contains("tried again every second"));
        // While the port stays taken the relay neither spins nor fills its log.
        QTest::qWait(2500);
        const QList<QByteArray> fields =
            LoopbackDaemon::read(u"/proc/%1/stat"_s.arg(service.processId())).split(' ');
        QVERIFY2(fields.value(13).toLong() + fields.value(14).toLong() < sysconf(_SC_CLK_TCK) / 2,
                 "the relay spent more than half a second of processor retrying the port");
        QCOMPARE(LoopbackDaemon::read(log).count("tried again every second"), 1);
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing());
        QTRY_VERIFY_WITH_TIMEOUT(LoopbackDaemon::read(log).contains(" relayed\n"), 10000);
        relay.send();
        QTRY_COMPARE(relay.obeyed(), 1);

        const int decoy = listening(relay.at(u"decoy"_s).toLocal8Bit());
        QVERIFY(decoy >= 0);
        // In a folder not made yet, which takes the log of the machine's file's faults too.
        qputenv("KORVANE_RELAY_DIR", relay.at(u"fresh"_s).toUtf8());
        for (const auto &[setting, port] : {std::pair("0x", 58502), std::pair("65535", 65535)}) {
            relay.writeMachineFile(QByteArray("ClientPort=") + setting + '\n');
            Child byHand([decoy] { handOver(decoy, decoy, false); });
            QVERIFY(byHand.waitForStarted(10000));
            QTRY_VERIFY(QFile::exists(UdpOrderRelay::serviceSocket(quint16(port))));
        }
        ::close(decoy);
        QVERIFY(LoopbackDaemon::read(relay.at(u"fresh/client.log"_s))
                    .contains("\"ClientPort\" is not a number; 0 is used"));

        // A socket that cannot be made ends the relay at once, for the service manager to see.
        relay.profile.writeFile(u"file"_s, {});
        qputenv("KORVANE_RELAY_DIR", relay.at(u"file/run"_s).toUtf8());
        Child broken;
        QVERIFY(broken.waitForFinished(10000));
        QCOMPARE(broken.exitCode(), 1);
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
