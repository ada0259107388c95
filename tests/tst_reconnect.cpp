// The reconnection, monitor, watchdog and UDP rules, stepped tick by tick.
#include "link/Policies.h"
#include "support/FakeServer.h"
#include "support/LogText.h"
#include "support/LoopbackDaemon.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestReconnect : public QObject
{
    Q_OBJECT
    static int attempts() { return logText().count(u"frmKorvanClient:ReconnectToServer - Host: "_s); }

private Q_SLOTS:
    // A failure counts one tick; the tick that reaches the delay, or passes a lowered one, tries again.
    void reconnectTicks()
    {
        using Row = std::tuple<int, int, bool>; // the delay, the ticks counted before, whether it retries
        for (const auto &[delay, ticksBefore, retries] :
             {Row{15, 0, false}, Row{15, 14, true}, Row{1, 0, true}, Row{0, 0, true}, Row{-1, 0, true},
              Row{3, 7, true}}) {
            EngineOnFakeServer f(delay, LoopbackDaemon::freePort());
            gPolicies().Reconnect = 1;
            for (int round = 1; round <= (retries ? 3 : 1); ++round) {
                QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
                QCOMPARE(attempts(), round);
                gProcess().ReconnectTicks = ticksBefore;
                f.link().tmrReconnect_Timer();
                QCOMPARE(gProcess().ReconnectTicks, retries ? 0 : ticksBefore + 1);
            }
            if (!retries)
                QVERIFY(!f.link().tmrReconnect.isEnabled() && attempts() == 1);
        }
    }

    // Policy 0 retries at once, but failures in a row wait a second, doubled up to a minute (a refused
    // connect fails at once: no storm); a link made starts over.
    void policyZeroRetriesWithoutAStorm()
    {
        const quint16 port = LoopbackDaemon::freePort();
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
        QCOMPARE(std::tuple(logText().count(u"Winsock error #10061: "_s), f.frontend.trayImage),
                 std::tuple(1, 0));

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
        ConnectionManager &link = f.link();
        gOptions().WatchdogDelay = 3;
        gOptions().WatchdogFrequency = 2;
        QTRY_VERIFY(f.server.hasClient());
        QVERIFY(f.engine.SendData(u"WDG"_s, true));
        QVERIFY(link.tmrMonitor.isEnabled());

        link.tmrMonitor_Timer();
        link.tmrMonitor_Timer();
        QCOMPARE(f.frontend.questions.size(), 0);
        f.frontend.answerBox(ResultYes);
        link.tmrMonitor_Timer();
        QCOMPARE(std::tuple(f.frontend.questions.size(), link.tmrMonitor.isEnabled(), link.MonitorTicks),
                 std::tuple(1, true, 0));

        // Any bytes from the server stop the wait.
        f.server.send(u"XYZ"_s);
        QTRY_VERIFY(!link.tmrMonitor.isEnabled());

        // The administrator's watchdog speaks on the tick after its frequency.
        link.tmrAdminWatchdog_Timer();
        link.tmrAdminWatchdog_Timer();
        QCOMPARE(f.server.received.size(), 1);
        link.tmrAdminWatchdog_Timer();
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"WDG"_s, u"WDG"_s}));
        QCOMPARE(std::tuple(link.tmrMonitor.isEnabled(), link.WatchdogTicks), std::tuple(true, 0));
        gOptions().WatchdogFrequency = 0;
        link.tmrAdminWatchdog_Timer();
        link.tmrAdminWatchdog_Timer();
        QTRY_COMPARE(f.server.received.size(), 4);

        QVERIFY(f.engine.SendData(u"WDG"_s, true));
        for (int tick = 0; tick < 3; ++tick)
            link.tmrMonitor_Timer();
        // The default answer of the recorder is not Yes: the link is given up.
        QCOMPARE(std::tuple(f.frontend.questions.size(), link.tmrMonitor.isEnabled()), std::tuple(2, false));
        QVERIFY(
            logText().contains(u"Winsock error #999: Korvane Server did not respond to the SEND command"_s));
        QTRY_COMPARE(f.server.connections(), 2);

        QTRY_VERIFY(f.server.hasClient());
        link.tmrUdpStarter_Timer();
        QCOMPARE(link.wsUDP.state(), QAbstractSocket::BoundState);
        QVERIFY(logText().contains(u"Binding UDP winsock to port "_s + QString::number(f.server.port())));

        // Near misses are ignored without a trace; CON while connected only logs.
        for (const QByteArray &datagram : {QByteArray("con"), QByteArray("CONNECT"), QByteArray("CON")})
            f.server.sendUdp(datagram, f.server.port());
        QTRY_VERIFY(logText().contains(u"Server sent a CONNECT command\t"_s));
        QCOMPARE(std::tuple(logText().count(u"Server sent a"_s), f.server.connections()), std::tuple(1, 2));

        // REC while connected: the link drops, no close event, the timer stays off.
        QSignalSpy gone(f.server.client(), &QTcpSocket::disconnected);
        f.server.sendUdp("REC", f.server.port());
        QVERIFY(gone.wait(5000));
        QCOMPARE(std::tuple(link.tmrReconnect.isEnabled(), gProcess().ReconnectTicks), std::tuple(false, 14));

        // REC while not connected: the close handler runs, and the next tick connects.
        f.server.sendUdp("REC", f.server.port());
        QTRY_VERIFY(link.tmrReconnect.isEnabled());
        QCOMPARE(gProcess().ReconnectTicks, 14);
        link.tmrReconnect_Timer();
        QTRY_COMPARE(f.server.connections(), 3);

        QTRY_VERIFY(f.server.hasClient());
        QSignalSpy stopped(f.server.client(), &QTcpSocket::disconnected);
        f.server.sendUdp("DEC", f.server.port());
        QVERIFY(stopped.wait(5000));
        QVERIFY(!link.tmrReconnect.isEnabled());

        f.server.sendUdp("CON", f.server.port());
        QTRY_COMPARE(f.server.connections(), 4);

        // A close by the peer runs the timer whatever the policy.
        gPolicies().Reconnect = -1;
        const qsizetype closes = logText().count(u" -- Connection closed by remote.\n"_s);
        QTRY_VERIFY(f.server.hasClient());
        f.server.closeClient();
        QTRY_VERIFY(link.tmrReconnect.isEnabled());
        QCOMPARE(std::tuple(logText().count(u" -- Connection closed by remote.\n"_s), link.SocketState()),
                 std::tuple(closes + 1, int(ConnectionManager::sckClosed)));
    }

    void noServerKnownAsksForOne()
    {
        EngineOnFakeServer f(0, -1);
        QCOMPARE(f.frontend.questions.size(), 1);
        QCOMPARE(f.frontend.questions[0].caption, u"Korvane Server not defined"_s);
        QVERIFY(!f.link().tmrReconnect.isEnabled());

        // Only a server that answered reaches the settings file.
        f.frontend.answerText(u"127.0.0.1"_s);
        f.frontend.answerText(QString::number(f.server.port()));
        f.link().ConnectToServer();
        QVERIFY(!QFile::exists(gOptions().iniPath()));
        QTRY_VERIFY(QFile::exists(gOptions().iniPath()));
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(std::tuple(reread.Server, reread.ClientPort),
                 std::tuple(u"127.0.0.1"_s, int(f.server.port())));
    }
};

QTEST_GUILESS_MAIN(TestReconnect)
#include "tst_reconnect.moc"
