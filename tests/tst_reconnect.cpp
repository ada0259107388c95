// The reconnection, monitor, watchdog and UDP rules, stepped tick by tick.
#include "link/Policies.h"
#include "support/FakeServer.h"
#include "support/LogText.h"

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

private Q_SLOTS:
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
        EngineOnFakeServer f(delay, refusingPort());
        gPolicies().Reconnect = 1;
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

    // Policy 0 retries a failure at once, but failures that follow each other wait one second, doubled
    // up to a minute (a refused connect fails at once: no storm); a link made starts again from at once.
    void policyZeroRetriesWithoutAStorm()
    {
        const quint16 port = refusingPort();
        EngineOnFakeServer f(15, port);
        gPolicies().Reconnect = 0;
        QTRY_VERIFY(f.link().tmrRetry.isEnabled());
        QCOMPARE(attempts(), 2);
        QList<int> waits;
        for (int attempt = 3; attempt <= 10; ++attempt) {
            waits << f.link().tmrRetry.interval();
            f.link().tmrRetry_Timer();
            QCOMPARE(attempts(), attempt);
            QTRY_VERIFY(f.link().tmrRetry.isEnabled());
        }
        QCOMPARE(waits, (QList<int>{1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000}));
        // The error of a server that stays down is logged once.
        QCOMPARE(logText().count(u"Winsock error #10061: "_s), 1);
        QCOMPARE(f.frontend.trayImage, 0);

        // Under -1 an error starts nothing.
        gPolicies().Reconnect = -1;
        f.link().tmrRetry_Timer();
        QTRY_VERIFY(f.link().SocketState() == ConnectionManager::sckError);
        QVERIFY(!f.link().tmrReconnect.isEnabled() && !f.link().tmrRetry.isEnabled());

        gPolicies().Reconnect = 0;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        f.link().ConnectToServer();
        QTRY_VERIFY(f.connected() && server.hasPendingConnections());
        const qsizetype before = attempts();
        server.nextPendingConnection()->abort();
        QTRY_COMPARE(attempts(), before + 1);
        QVERIFY(!f.link().tmrRetry.isEnabled());
    }

    void monitorAdminWatchdogAndUdpOrders()
    {
        EngineOnFakeServer f(15);
        gOptions().WatchdogDelay = 3;
        gOptions().WatchdogFrequency = 2;
        QTRY_VERIFY(f.server.hasClient());
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
        f.server.send(u"XYZ"_s);
        QTRY_VERIFY(!f.link().tmrMonitor.isEnabled());

        // The administrator's watchdog speaks on the tick after its frequency, and
        // waits for the answer.
        f.link().tmrAdminWatchdog_Timer();
        f.link().tmrAdminWatchdog_Timer();
        QCOMPARE(f.server.received.size(), 1);
        f.link().tmrAdminWatchdog_Timer();
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"WDG"_s, u"WDG"_s}));
        QVERIFY(f.link().tmrMonitor.isEnabled());
        QCOMPARE(f.link().WatchdogTicks, qint16(0));
        gOptions().WatchdogFrequency = 0;
        f.link().tmrAdminWatchdog_Timer();
        f.link().tmrAdminWatchdog_Timer();
        QTRY_COMPARE(f.server.received.size(), 4);

        QVERIFY(f.engine.SendData(u"WDG"_s, true));
        for (int tick = 0; tick < 3; ++tick)
            f.link().tmrMonitor_Timer();
        QCOMPARE(f.frontend.questions.size(), 2);
        // The default answer of the recorder is not Yes: the link is given up.
        QVERIFY(!f.link().tmrMonitor.isEnabled());
        QVERIFY(
            logText().contains(u"Winsock error #999: Korvane Server did not respond to the SEND command"_s));
        QTRY_COMPARE(f.server.connections(), 2);

        // UDP orders on the new link.
        QTRY_VERIFY(f.server.hasClient());
        f.link().tmrUdpStarter_Timer();
        QCOMPARE(f.link().wsUDP.state(), QAbstractSocket::BoundState);
        QVERIFY(logText().contains(u"Binding UDP winsock to port "_s + QString::number(f.server.port())));

        // Near misses are ignored without a trace; CON while connected only logs.
        for (const QByteArray &datagram : {QByteArray("con"), QByteArray("CONNECT"), QByteArray("CON")})
            f.server.sendUdp(datagram, f.server.port());
        QTRY_VERIFY(logText().contains(u"Server sent a CONNECT command\t"_s));
        QCOMPARE(logText().count(u"Server sent a"_s), 1);
        QCOMPARE(f.server.connections(), 2);

        // REC while connected: the link drops, no close event, the timer stays off.
        QSignalSpy gone(f.server.client(), &QTcpSocket::disconnected);
        f.server.sendUdp("REC", f.server.port());
        QVERIFY(gone.wait(5000));
        QVERIFY(!f.link().tmrReconnect.isEnabled());
        QCOMPARE(gProcess().ReconnectTicks, 14);

        // REC while not connected: the close handler runs, and the next tick connects.
        f.server.sendUdp("REC", f.server.port());
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        QCOMPARE(gProcess().ReconnectTicks, 14);
        f.link().tmrReconnect_Timer();
        QTRY_COMPARE(f.server.connections(), 3);

        // DEC: the socket simply stops.
        QTRY_VERIFY(f.server.hasClient());
        QSignalSpy stopped(f.server.client(), &QTcpSocket::disconnected);
        f.server.sendUdp("DEC", f.server.port());
        QVERIFY(stopped.wait(5000));
        QVERIFY(!f.link().tmrReconnect.isEnabled());

        // CON while not connected connects.
        f.server.sendUdp("CON", f.server.port());
        QTRY_COMPARE(f.server.connections(), 4);

        // A close by the peer runs the timer whatever the policy.
        gPolicies().Reconnect = -1;
        const qsizetype closes = logText().count(u" -- Connection closed by remote.\n"_s);
        QTRY_VERIFY(f.server.hasClient());
        f.server.closeClient();
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        QCOMPARE(logText().count(u" -- Connection closed by remote.\n"_s), closes + 1);
        QCOMPARE(f.link().SocketState(), int(ConnectionManager::sckClosed));
    }

    void noServerKnownAsksForOne()
    {
        // Nothing given: the client stays unconnected and starts no timer.
        EngineOnFakeServer f(0, -1);
        QCOMPARE(f.frontend.questions.size(), 1);
        QCOMPARE(f.frontend.questions[0].caption, u"Korvane Server not defined"_s);
        QVERIFY(!f.link().tmrReconnect.isEnabled());

        // A host and a port: the attempt is made, and only a server that answered
        // reaches the settings file.
        f.frontend.answerText(u"127.0.0.1"_s);
        f.frontend.answerText(QString::number(f.server.port()));
        f.link().ConnectToServer();
        QVERIFY(!QFile::exists(gOptions().iniPath()));
        QTRY_VERIFY(f.server.hasClient());
        QTRY_VERIFY(QFile::exists(gOptions().iniPath()));
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.Server, u"127.0.0.1"_s);
        QCOMPARE(reread.ClientPort, int(f.server.port()));
    }
};

QTEST_GUILESS_MAIN(TestReconnect)
#include "tst_reconnect.moc"
