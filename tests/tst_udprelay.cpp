// The clients of several users on one machine share the UDP order port, and an
// administrator may let only the server give orders.
#include "core/Globals.h"
#include "core/Options.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "link/UdpOrderRelay.h"
#include "support/FakeClock.h"
#include "support/LogText.h"
#include "support/TempProfile.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::StringLiterals;

namespace {

// A fresh profile whose clients take orders on a free port.
struct Machine
{
    TempProfile profile;
    quint16 port = 0;
    Machine()
    {
        gProcess().AppDataPath = profile.dataHome();
        QUdpSocket probe;
        probe.bind(QHostAddress::LocalHost, 0);
        port = probe.localPort();
        gOptions().ClientPort = port;
    }
    void send(const char *from = "127.0.0.1") const
    {
        QUdpSocket sender;
        sender.bind(QHostAddress(QString::fromLatin1(from)), 0);
        sender.writeDatagram("DEC", QHostAddress::LocalHost, port);
    }
};

qsizetype obeyed()
{
    return logText().count(u"Server sent a DECONNECT command\t"_s);
}

} // namespace

class TestUdpRelay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoClientsObeyOneDatagramAndTheFollowerTakesOver()
    {
        Machine machine;
        FakeClock clock{FakeClock::at(2026, 11, 26, 9)};
        gOptions().Server = u"localhost"_s;
        Encryption codecA, codecB;
        auto holder = std::make_unique<ConnectionManager>(codecA);
        ConnectionManager follower(codecB);
        holder->tmrUdpStarter_Timer();
        follower.tmrUdpStarter_Timer();
        QCOMPARE(holder->wsUDP.state(), QAbstractSocket::BoundState);
        QVERIFY(follower.udpRelay().isFollowing());
        QTRY_COMPARE(holder->udpRelay().followers(), 1);
        machine.send();
        QTRY_COMPARE(obeyed(), 2);

        // Each client judges the relayed sender against what the server's name resolves to, and
        // logs a stranger once.
        gOptions().UdpOrdersFrom = u"Server"_s;
        machine.send("127.0.0.2");
        machine.send("127.0.0.2");
        machine.send();
        QTRY_COMPARE(obeyed(), 4);
        QCOMPARE(logText().count(u"UDP order from 127.0.0.2 ignored: only the server localhost"_s), 2);

        // A local socket that speaks to the holder is dropped unheard.
        QLocalSocket intruder;
        intruder.setSocketOptions(QLocalSocket::AbstractNamespaceOption);
        intruder.connectToServer(UdpOrderRelay::relayName(machine.port));
        QVERIFY(intruder.waitForConnected(1000));
        intruder.write(QByteArray("\x00\x0d", 2) + "127.0.0.1\nDEC");
        QTRY_COMPARE(intruder.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(obeyed(), 4);

        // The holder goes after a while: the follower binds the port at once and obeys alone.
        clock.advanceSeconds(6);
        holder.reset();
        QTRY_COMPARE(follower.wsUDP.state(), QAbstractSocket::BoundState);
        QVERIFY(follower.udpRelay().isRelaying());
        machine.send();
        QTRY_COMPARE(obeyed(), 5);
    }

    // A holder that drops its follower as soon as it is joined (full, or sending a frame too long)
    // is joined again at the starter's pace, not at once.
    void aRelayThatClosesAtOnceIsNotRejoinedAtOnce()
    {
        Machine machine;
        FakeClock clock{FakeClock::at(2026, 11, 26, 9)};
        QUdpSocket port;
        QVERIFY(port.bind(QHostAddress::Any, machine.port, QAbstractSocket::DontShareAddress));
        QLocalServer relay;
        relay.setSocketOptions(QLocalServer::AbstractNamespaceOption);
        QVERIFY(relay.listen(UdpOrderRelay::relayName(machine.port)));
        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter.setEnabled(false);
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing() && relay.waitForNewConnection(1000));
        relay.nextPendingConnection()->write(QByteArray("\xff\xff", 2));
        QTRY_VERIFY(client.tmrUdpStarter.isEnabled());
        QVERIFY(!client.udpRelay().isFollowing() && !relay.waitForNewConnection(100));
        QCOMPARE(logText().count(u"a relayed order of 65535 bytes; the relay is left"_s), 1);
        // Joined after a while, the next such drop is followed by another try at once.
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing() && relay.waitForNewConnection(1000));
        clock.advanceSeconds(6);
        client.tmrUdpStarter.setEnabled(false);
        relay.nextPendingConnection()->abort();
        QTRY_VERIFY(relay.hasPendingConnections());
    }

    void aNameTakenByOneWithoutThePortIsNotFollowed()
    {
        Machine machine;
        QLocalServer squatter;
        squatter.setSocketOptions(QLocalServer::AbstractNamespaceOption);
        QVERIFY(squatter.listen(UdpOrderRelay::relayName(machine.port)));
        Encryption codec;
        ConnectionManager client(codec);
        client.tmrUdpStarter_Timer();
        QVERIFY(!client.udpRelay().isFollowing());
        QCOMPARE(client.wsUDP.state(), QAbstractSocket::BoundState);
        // The relay opens at the first tick after the name is free.
        QVERIFY(!client.udpRelay().isRelaying());
        squatter.close();
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isRelaying());
        QVERIFY(!client.tmrUdpStarter.isEnabled());
    }
};

QTEST_GUILESS_MAIN(TestUdpRelay)
#include "tst_udprelay.moc"
