// The UDP order port of a machine: held by the relay service where one runs, else by one client;
// orders cross the relay's stream whole or not at all.
#include "core/Globals.h"
#include "core/Options.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "link/RelayFrames.h"
#include "link/UdpOrderFilter.h"
#include "link/UdpOrderRelay.h"
#include "support/FakeClock.h"
#include "support/LogText.h"
#include "support/UdpOrderMachine.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::StringLiterals;

class TestUdpRelay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutTheServiceOneClientHoldsThePortAndNobodyFollows()
    {
        UdpOrderMachine machine;
        gOptions().Server = u"localhost"_s;
        Encryption codecA, codecB;
        auto holder = std::make_unique<ConnectionManager>(codecA);
        ConnectionManager other(codecB);
        holder->tmrUdpStarter_Timer();
        other.tmrUdpStarter_Timer();
        other.tmrUdpStarter_Timer();
        QCOMPARE(std::pair(holder->wsUDP.state(), other.wsUDP.state()),
                 std::pair(QAbstractSocket::BoundState, QAbstractSocket::UnconnectedState));
        QVERIFY(!other.udpRelay().isFollowing() && other.tmrUdpStarter.isEnabled());
        QCOMPARE(logText().count(u"UDP winsock error #"_s), 1);
        machine.send();
        QTRY_COMPARE(machine.obeyed(), 1);

        // The sender is judged against what the server's name resolves to; a stranger is logged once per
        // server.
        gOptions().UdpOrdersFrom = u"Server"_s;
        machine.send({"127.0.0.2", "127.0.0.2", "127.0.0.1"});
        QTRY_COMPARE(machine.obeyed(), 2);
        QCOMPARE(logText().count(u"UDP order from 127.0.0.2 ignored: only the server localhost"_s), 1);
        gOptions().Server = u"127.0.0.1"_s;
        machine.send({"127.0.0.2", "127.0.0.1"});
        QTRY_COMPARE(machine.obeyed(), 3);
        QCOMPARE(logText().count(u"UDP order from 127.0.0.2 ignored"_s), 2);
        gOptions().Server = u"localhost"_s;
        // The server's name is looked up once: later orders are judged at once.
        UdpOrderFilter filter;
        QSignalSpy accepted(&filter, &UdpOrderFilter::accepted);
        filter.check("REC", QHostAddress::LocalHost);
        QTRY_COMPARE(accepted.count(), 1);
        filter.check("REC", QHostAddress::LocalHost);
        QCOMPARE(accepted.count(), 2);
        // Orders that came while no server was named are dropped then, not obeyed once one is.
        accepted.clear();
        for (const char *server : {"nowhere.invalid", "", "", "127.0.0.1"}) {
            gOptions().Server = QString::fromLatin1(server);
            filter.check(server, QHostAddress::LocalHost);
        }
        QCOMPARE(accepted.count() == 1 ? accepted.first().first().toByteArray() : QByteArray(), "127.0.0.1");
        gOptions().Server = u"localhost"_s;

        // The holder gone, the other client binds the port at its next tick, unless it is given none.
        holder.reset();
        gOptions().ClientPort = 0;
        other.tmrUdpStarter_Timer();
        QCOMPARE(other.wsUDP.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(other.tmrUdpStarter.isEnabled());
        gOptions().ClientPort = machine.port;
        other.tmrUdpStarter_Timer();
        QCOMPARE(other.wsUDP.state(), QAbstractSocket::BoundState);
    }

    // A socket left behind by a dead relay is answered by nobody: the client holds the port itself and
    // says why once each time. A service that answers is followed; one that closes as soon as joined
    // (full, or a frame too long) is joined again at the starter's pace, not at once.
    void aSocketLeftBehindIsPassedOverAndALiveServiceFollowed()
    {
        UdpOrderMachine machine;
        FakeClock clock{FakeClock::at(2026, 11, 26, 9)};
        Encryption codec;
        ConnectionManager client(codec);
        const QString path = UdpOrderRelay::serviceSocket(machine.port);
        const auto leftBehind = [&] {
            QFile(path).open(QIODevice::WriteOnly);
            client.tmrUdpStarter_Timer();
            client.tmrUdpStarter_Timer();
            QVERIFY(!client.udpRelay().isFollowing() && client.tmrUdpStarter.isEnabled());
            QCOMPARE(client.wsUDP.state(), QAbstractSocket::BoundState);
        };
        leftBehind();
        QCOMPARE(logText().count(path + u": "_s), 1);
        QFile::remove(path);

        auto service = std::make_unique<QLocalServer>();
        QVERIFY(service->listen(path));
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing() && service->waitForNewConnection(1000));
        QCOMPARE(client.wsUDP.state(), QAbstractSocket::UnconnectedState);
        QLocalSocket *joined = service->nextPendingConnection();
        const QByteArray order = RelayFrames::encode("DEC", QHostAddress(u"10.1.2.3"_s));
        joined->write(order.left(4));
        QVERIFY(joined->waitForBytesWritten(1000));
        QTest::qWait(0);
        QCOMPARE(machine.obeyed(), 0);
        joined->write(order.mid(4));
        QTRY_COMPARE(machine.obeyed(), 1);

        client.tmrUdpStarter.setEnabled(false);
        joined->write(QByteArray("\xff\xff", 2));
        QTRY_VERIFY(client.tmrUdpStarter.isEnabled());
        QVERIFY(!client.udpRelay().isFollowing() && !service->waitForNewConnection(100));
        QCOMPARE(logText().count(u"a relayed order of 65535 bytes; the relay is left"_s), 1);
        // Joined again, its orders obeyed; left after a while, the next try comes at once.
        client.tmrUdpStarter_Timer();
        QVERIFY(client.udpRelay().isFollowing() && service->waitForNewConnection(1000));
        QLocalSocket *again = service->nextPendingConnection();
        again->write(order);
        QTRY_COMPARE(machine.obeyed(), 2);
        // Gone in the middle of a frame: the next relay's orders are read from their first byte.
        again->write(order.left(4));
        QVERIFY(again->waitForBytesWritten(1000));
        QTest::qWait(0);
        clock.advanceSeconds(6);
        again->abort();
        QTRY_VERIFY(service->hasPendingConnections());
        service->nextPendingConnection()->write(order);
        QTRY_COMPARE(machine.obeyed(), 3);

        service.reset();
        QTRY_VERIFY(!client.udpRelay().isFollowing());
        leftBehind();
        QCOMPARE(logText().count(path + u": "_s), 2);
    }

    void framesCutAnywhereComeOutWhole()
    {
        const QByteArray stream = RelayFrames::encode("DEC", QHostAddress(u"::ffff:10.0.0.7"_s)) +
                                  RelayFrames::encode(QByteArray(600, 'x'), QHostAddress(u"fe80::1"_s)) +
                                  QByteArray("\x00\x04", 2) + "nolf" + QByteArray("\x00\x02", 2) + "a\n" +
                                  QByteArray("\x00\x04", 2) + "\nDEC";
        for (int cut = 0; cut <= stream.size(); ++cut) {
            RelayFrameReader reader;
            QList<RelayedOrder> orders = reader.feed(stream.left(cut));
            QList<std::pair<QByteArray, QString>> read;
            for (const RelayedOrder &order : orders += reader.feed(stream.mid(cut)))
                read << std::pair(order.datagram, RelayFrames::plainAddress(order.sender));
            QCOMPARE(read, (QList<std::pair<QByteArray, QString>>{{"DEC", u"10.0.0.7"_s},
                                                                  {QByteArray(512, 'x'), u"fe80::1"_s}}));
        }
        RelayFrameReader reader;
        QVERIFY(reader.feed(QByteArray("\x02\x41", 2)).isEmpty());
        QCOMPARE(reader.badLength(), 577);
        QVERIFY(reader.feed(RelayFrames::encode("DEC", QHostAddress::LocalHost)).isEmpty());
        // The longest frame a relay may send: 576 bytes.
        RelayFrameReader longest;
        const QByteArray full = QByteArray("\x02\x40", 2) + QByteArray(63, '1') + '\n' + QByteArray(512, 'y');
        QCOMPARE(longest.feed(full).size(), 1);
        QCOMPARE(longest.badLength(), 0);
    }
};

QTEST_GUILESS_MAIN(TestUdpRelay)
#include "tst_udprelay.moc"
