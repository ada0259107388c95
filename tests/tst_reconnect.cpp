// The reconnection, monitor, watchdog and UDP rules, stepped tick by tick.
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/Ticker.h"
#include "core/UserInfos.h"
#include "engine/KorvanClient.h"
#include "link/ConnectionManager.h"
#include "link/Policies.h"
#include "support/FakeServer.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

int attempts()
{
    return logText().count(u"frmKorvanClient:ReconnectToServer - Host: "_s);
}

quint16 refusingPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

class TestReconnect : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        TempProfile profile;
        RecordingFrontend frontend;
        KorvanClient engine;

        explicit Fixture(quint16 port, int reconnectDelay = 15, qint16 policy = 60)
        {
            gProcess().AppDataPath = profile.dataHome();
            gOptions().setIniPath(profile.configHome() + u"/KorvaneClient.ini"_s);
            gOptions().Server = u"127.0.0.1"_s;
            gOptions().ClientPort = port;
            gOptions().ReconnectDelay = reconnectDelay;
            gOptions().Trace = true;
            engine.Load();
            gPolicies().Reconnect = policy;
        }

        ConnectionManager &link() const { return *engine.connection(); }
    };

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void reconnectTicks_data()
    {
        QTest::addColumn<int>("delay");
        QTest::addColumn<int>("ticksBefore");
        QTest::addColumn<bool>("retries");
        QTest::newRow("default, first tick") << 15 << 0 << false;
        QTest::newRow("the tick that reaches the delay") << 15 << 14 << true;
        QTest::newRow("one") << 1 << 0 << true;
        QTest::newRow("zero") << 0 << 0 << true;
        QTest::newRow("minus one") << -1 << 0 << true;
        QTest::newRow("lowered below the count") << 3 << 7 << true;
    }

    void reconnectTicks()
    {
        QFETCH(int, delay);
        QFETCH(int, ticksBefore);
        QFETCH(bool, retries);
        Fixture f(refusingPort(), delay, 1);
        for (int round = 1; round <= 3; ++round) {
            QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
            QCOMPARE(attempts(), round);
            gProcess().ReconnectTicks = ticksBefore;
            f.link().tmrReconnect_Timer();
            if (!retries) {
                // One tick per failure: the count goes up and nothing more happens.
                QCOMPARE(gProcess().ReconnectTicks, ticksBefore + 1);
                QVERIFY(!f.link().tmrReconnect.isEnabled());
                QCOMPARE(attempts(), 1);
                return;
            }
            QCOMPARE(gProcess().ReconnectTicks, 0);
        }
    }

    void policyZeroRetriesAtOnceAndLogsTheErrorOnce()
    {
        Fixture f(refusingPort(), 15, 0);
        QTRY_VERIFY(attempts() >= 5);
        gPolicies().Reconnect = -1;
        QTRY_VERIFY(f.link().SocketState() == ConnectionManager::sckError);
        QCOMPARE(logText().count(u"Winsock error #10061: "_s), 1);
        QCOMPARE(f.frontend.trayImage, 0);
        QVERIFY(!f.link().tmrReconnect.isEnabled());
    }

    void policyMinusOneAfterAClose()
    {
        FakeServer server;
        Fixture f(server.port(), 15, -1);
        QTRY_VERIFY(server.hasClient());
        server.closeClient();
        // A close by the peer runs the timer whatever the policy.
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        QVERIFY(logText().contains(u" -- Connection closed by remote.\n"_s));
        QCOMPARE(f.link().SocketState(), int(ConnectionManager::sckClosed));
    }

    void udpOrders()
    {
        FakeServer server;
        Fixture f(server.port());
        QTRY_VERIFY(server.hasClient());
        f.link().tmrUdpStarter_Timer();
        QCOMPARE(f.link().wsUDP.state(), QAbstractSocket::BoundState);
        QVERIFY(logText().contains(u"Binding UDP winsock to port "_s + QString::number(server.port())));

        // Near misses are ignored without a trace; CON while connected only logs.
        for (const QByteArray &datagram : {QByteArray("con"), QByteArray("CONNECT"), QByteArray("CON")})
            server.sendUdp(datagram, server.port());
        QTRY_VERIFY(logText().contains(u"Server sent a CONNECT command\t"_s));
        QCOMPARE(logText().count(u"Server sent a"_s), 1);
        QCOMPARE(server.connections(), 1);

        // REC while connected: the link drops, no close event, the timer stays off.
        QSignalSpy gone(server.client(), &QTcpSocket::disconnected);
        server.sendUdp("REC", server.port());
        QVERIFY(gone.wait(5000));
        QVERIFY(!f.link().tmrReconnect.isEnabled());
        QCOMPARE(gProcess().ReconnectTicks, 14);

        // REC while not connected: the close handler runs, and the next tick connects.
        server.sendUdp("REC", server.port());
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        QCOMPARE(gProcess().ReconnectTicks, 14);
        f.link().tmrReconnect_Timer();
        QTRY_COMPARE(server.connections(), 2);

        // DEC: the socket simply stops.
        QTRY_VERIFY(server.hasClient());
        QSignalSpy stopped(server.client(), &QTcpSocket::disconnected);
        server.sendUdp("DEC", server.port());
        QVERIFY(stopped.wait(5000));
        QVERIFY(!f.link().tmrReconnect.isEnabled());

        // CON while not connected connects.
        server.sendUdp("CON", server.port());
        QTRY_COMPARE(server.connections(), 3);
    }

    void monitorAsksAndGivesUp()
    {
        FakeServer server;
        Fixture f(server.port());
        gOptions().WatchdogDelay = 3;
        QTRY_VERIFY(server.hasClient());
        QVERIFY(f.engine.SendData(u"WDG"_s, true));
        QVERIFY(f.link().tmrMonitor.isEnabled());

        f.link().tmrMonitor_Timer();
        f.link().tmrMonitor_Timer();
        QCOMPARE(f.frontend.questions.size(), 0);
        f.frontend.answerBox(ResultYes);
        f.link().tmrMonitor_Timer();
        QCOMPARE(f.frontend.questions.size(), 1);
        QVERIFY(f.link().tmrMonitor.isEnabled());
        QCOMPARE(f.link().MonitorTicks, qint16(0));

        // Any bytes from the server stop the wait.
        server.send(u"XYZ"_s);
        QTRY_VERIFY(!f.link().tmrMonitor.isEnabled());

        QVERIFY(f.engine.SendData(u"WDG"_s, true));
        for (int tick = 0; tick < 3; ++tick)
            f.link().tmrMonitor_Timer();
        QCOMPARE(f.frontend.questions.size(), 2);
        // The default answer of the recorder is not Yes: the link is given up.
        QVERIFY(!f.link().tmrMonitor.isEnabled());
        QVERIFY(
            logText().contains(u"Winsock error #999: Korvane Server did not respond to the SEND command"_s));
        QTRY_COMPARE(server.connections(), 2);
    }

    void adminWatchdogSpeaksAfterSilence()
    {
        FakeServer server;
        Fixture f(server.port());
        gOptions().WatchdogFrequency = 2;
        QTRY_VERIFY(server.hasClient());
        f.link().tmrAdminWatchdog_Timer();
        f.link().tmrAdminWatchdog_Timer();
        QCOMPARE(server.received.size(), 0);
        f.link().tmrAdminWatchdog_Timer();
        QTRY_COMPARE(server.receivedCodes(), QStringList{u"WDG"_s});
        QVERIFY(f.link().tmrMonitor.isEnabled());
        QCOMPARE(f.link().WatchdogTicks, qint16(0));

        gOptions().WatchdogFrequency = 0;
        f.link().tmrAdminWatchdog_Timer();
        f.link().tmrAdminWatchdog_Timer();
        QTRY_COMPARE(server.received.size(), 3);
    }

    void noServerKnownAsksForOne()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        gOptions().setIniPath(profile.configHome() + u"/KorvaneClient.ini"_s);
        FakeServer server;
        KorvanClient engine;

        // Nothing given: the client stays unconnected and starts no timer.
        engine.Load();
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions[0].caption, u"Korvane Server not defined"_s);
        QVERIFY(!engine.connection()->tmrReconnect.isEnabled());

        // A host and a port: the attempt is made, and only a server that answered
        // reaches the settings file.
        frontend.answerText(u"127.0.0.1"_s);
        frontend.answerText(QString::number(server.port()));
        engine.connection()->ConnectToServer();
        QVERIFY(!QFile::exists(gOptions().iniPath()));
        QTRY_VERIFY(server.hasClient());
        QTRY_VERIFY(QFile::exists(gOptions().iniPath()));
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.Server, u"127.0.0.1"_s);
        QCOMPARE(reread.ClientPort, int(server.port()));
    }
};

QTEST_GUILESS_MAIN(TestReconnect)
#include "tst_reconnect.moc"
