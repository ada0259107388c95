// The engine against a scripted server on loopback: the connect exchange and
// what each of the link's own commands does.
#include "core/UserInfos.h"
#include "link/LinkCommands.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "support/FakeServer.h"
#include "support/LogText.h"

#include <QEventLoop>
#include <QHostInfo>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

const auto cmd = &FakeServer::command;

class TestLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void connectExchangeAndRole()
    {
        EngineOnFakeServer f;
        QTRY_VERIFY(f.server.hasClient() && f.connected());
        QVERIFY(!f.engine.ConnectedToServer());
        // The server speaks first: after a round trip the client has sent nothing.
        f.server.send(u"XYZ"_s);
        QTRY_VERIFY(logText().contains(u"DataArrival Code: XYZ"_s));
        QCOMPARE(f.server.received, QStringList());

        // A name the code page lacks goes out with "?", one for the emoji too.
        UserInfos &user = gUserInfos();
        user.UserName = u"\u0141ukasz \U0001F600"_s;
        const auto nameBack = qScopeGuard([&user] { user.UserName.clear(); });
        f.server.send(cmd(u"CON"_s, u"agent-7"_s));
        const QString tail = QChar(0) + user.UserID();
        QTRY_COMPARE(f.server.received, (QStringList{u"USR"_s + QChar(1) + u"UID="_s + user.UserID() +
                                                         u"|MID="_s + QHostInfo::localHostName().toLower() +
                                                         u"|USN=?ukasz ?|MIP=127.0.0.1|AGN=agent-7|LNG=0"_s +
                                                         QChar(2) + LinkCommands::Version() + tail,
                                                     u"ALL"_s + tail}));
        QVERIFY(f.engine.ConnectedToServer());
        QCOMPARE(f.frontend.trayImage, 1);
        QVERIFY(f.frontend.lastMenu.entry(ClientMenu::mnuSend).enabled);

        // A second CON on the same link: USR again, ALL not.
        f.server.send(cmd(u"CON"_s, u"agent-7"_s));
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"USR"_s, u"ALL"_s, u"USR"_s}));

        // DEC greys the icon while the socket stays open; CON brings it back.
        f.server.send(u"DEC"_s);
        QTRY_COMPARE(f.frontend.trayImage, 0);
        QVERIFY(!f.engine.ConnectedToServer());
        QVERIFY(f.connected());
        f.server.send(cmd(u"CON"_s, u"agent-7"_s));
        QTRY_COMPARE(f.frontend.trayImage, 1);

        // A user takes the policies; RCON reaches the reconnection delay.
        f.server.sendJoined({cmd(u"AUT"_s, u"0"_s), cmd(u"POL"_s, u"EXIT;RCON=-1;"_s)});
        QTRY_COMPARE(gPolicies().Reconnect, qint16(-1));
        QCOMPARE(gOptions().ReconnectDelay, -1);
        QVERIFY(!f.frontend.lastMenu.entry(ClientMenu::mnuExit).enabled);
        QVERIFY(!f.link().tmrAdminWatchdog.isEnabled());

        // An administrator has full rights, ignores POL, and gets the watchdog at once.
        f.server.sendJoined({cmd(u"AUT"_s, u"3"_s), cmd(u"POL"_s, u"MSGS;EXIT;"_s)});
        QTRY_VERIFY(f.link().tmrAdminWatchdog.isEnabled());
        QVERIFY(gPolicies().CanExitClient && gPolicies().CanSendToAll);
        QVERIFY(f.frontend.lastMenu.entry(ClientMenu::mnuConfiguration).enabled);
    }

    void badFramesLoseOnlyThemselvesThenNoticesAndEndMarkers()
    {
        EngineOnFakeServer f;
        QTRY_VERIFY(f.server.hasClient());
        // CON without its data, then a good one: the first is logged and lost.
        f.server.sendJoined({u"CON"_s, cmd(u"CON"_s, u"a"_s)});
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"USR"_s, u"ALL"_s}));
        QVERIFY(logText().contains(u"frmKorvanClient:DataArrival - Subscript out of range ** Error "
                                   "number 9 = Subscript out of range"_s));

        // A zero length and a high-bit length inside the loop are logged; the
        // frames behind them still run.
        f.server.sendBytes(FakeServer::frame(cmd(u"IUS"_s, u"one"_s)) +
                           QByteArray("kVn\x00\x00kVn\x80\x01", 10) +
                           FakeServer::frame(cmd(u"IUS"_s, u"two"_s)));
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(f.frontend.questions[1].text, u"two"_s);
        QVERIFY(logText().contains(u"frmKorvanClient:DataArrival - Overflow"_s));

        // Garbage drops whatever the read held; a frame split over reads after
        // that starts clean.
        const int reads = logText().count(u"frmKorvanClient:DataArrival\n"_s);
        f.server.sendBytes(QByteArray("garbage!!") + FakeServer::frame(cmd(u"IUS"_s, u"lost"_s)));
        QTRY_VERIFY(logText().count(u"frmKorvanClient:DataArrival\n"_s) > reads);
        f.server.sendSplit(cmd(u"IUS"_s, u"three"_s), 2);
        QTRY_COMPARE(f.frontend.questions.size(), 3);
        QCOMPARE(f.frontend.questions[2].text, u"three"_s);

        // An AUT that is no number fails alone.
        f.server.sendJoined({cmd(u"AUT"_s, u"admin"_s), cmd(u"IUS"_s, u"four"_s)});
        QTRY_COMPARE(f.frontend.questions.size(), 4);
        QCOMPARE(gUserInfos().MyAuthority(), qint16(0));

        // A close in the middle of a frame: the next connection's first bytes complete it.
        const QByteArray con = FakeServer::frame(cmd(u"CON"_s, u"a"_s));
        f.server.sendBytes(con.left(7));
        f.server.closeClient();
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        f.link().ConnectToServer();
        QTRY_VERIFY(f.server.connections() == 2 && f.server.hasClient());
        f.server.sendBytes(con.mid(7));
        QTRY_COMPARE(f.server.receivedCodes().count(u"USR"_s), 2);

        // Notices, answers and end markers on the new link.
        f.server.sendJoined({cmd(u"IAD"_s, u"for admins"_s), cmd(u"IPO"_s, u"for postmasters"_s),
                             cmd(u"IUS"_s, u"for everyone"_s), cmd(u"GPL"_s, u"SEND;"_s),
                             cmd(u"UPR"_s, u"jdoe"_s + QChar(2) + u"LINK;"_s),
                             cmd(u"SCR"_s, u"PORT=1;UDPP=2;TRCE;"_s), cmd(u"RU_"_s, u"G"_s),
                             cmd(u"RM_"_s, u"L"_s), cmd(u"RU_"_s, u"L"_s), cmd(u"RR_"_s, {}),
                             cmd(u"XYZ"_s, u"ignored"_s), cmd(u"CUL"_s, u"/srv/updates"_s)});
        QTRY_VERIFY(gSession().ReceiptsLoaded);
        // Only the notice for every user reaches a plain user.
        QCOMPARE(f.frontend.questions.size(), 5);
        QCOMPARE(f.frontend.questions[4].text, u"for everyone"_s);
        QCOMPARE(f.frontend.events.filter(u"policies"_s),
                 (QStringList{u"policies  SEND;"_s, u"policies jdoe LINK;"_s}));
        QCOMPARE(f.frontend.events.filter(u"server config"_s),
                 QStringList{u"server config PORT=1;UDPP=2;TRCE;"_s});
        // The letter routes the display; machines know no "L".
        QCOMPARE(f.frontend.events.filter(u"display"_s), (QStringList{u"display 0 G"_s, u"display 0 L"_s}));
        QVERIFY(gSession().UsersLoaded && gSession().MachinesLoaded);
    }

    void framesFlowWhileABoxStandsConfigurationGoesBackPortChangeClosesBoth()
    {
        EngineOnFakeServer f;
        QTRY_VERIFY(f.server.hasClient());
        // The first notice's box pumps events as a modal box does, until the CON
        // sent meanwhile has been answered.
        QStringList answeredInBox;
        f.frontend.whileBoxStands = [&f, &answeredInBox] {
            f.server.send(cmd(u"CON"_s, u"a"_s));
            QEventLoop pump;
            connect(&f.server, &FakeServer::payloadReceived, &pump, [&f, &pump] {
                if (f.server.received.size() == 2)
                    pump.quit();
            });
            QTimer::singleShot(5000, &pump, &QEventLoop::quit);
            pump.exec();
            answeredInBox = f.server.receivedCodes();
        };
        f.server.sendJoined({cmd(u"IUS"_s, u"one"_s), cmd(u"IUS"_s, u"two"_s)});
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(answeredInBox, (QStringList{u"USR"_s, u"ALL"_s}));
        // Each frame ran once: the pass inside the box took them off the queue.
        QCOMPARE(f.frontend.questions[1].text, u"two"_s);
        QCOMPARE(f.server.receivedCodes(), answeredInBox);

        // Policies and server configuration go back to the server.
        f.engine.NewPoliciesToSend(QString(), u"SEND;"_s);
        f.engine.NewPoliciesToSend(u"jdoe"_s, u"LINK;"_s);
        ServerConfig config;
        config.Trace = true;
        f.engine.UpdateServerConfiguration(config);
        const QString tail = QChar(0) + gUserInfos().UserID();
        QTRY_COMPARE(f.server.received.mid(2),
                     (QStringList{cmd(u"GPU"_s, u"SEND;"_s) + tail,
                                  cmd(u"UPU"_s, u"jdoe"_s + QChar(2) + u"LINK;"_s) + tail,
                                  cmd(u"SCU"_s, u"PORT=58502;UDPP=58502;TRCE;"_s) + tail}));

        // A port change closes both sockets.
        f.link().tmrUdpStarter_Timer();
        QSignalSpy gone(f.server.client(), &QTcpSocket::disconnected);
        f.server.send(cmd(u"PCL"_s, QString::number(f.server.port())));
        f.server.send(cmd(u"PCL"_s, u"41234"_s));
        QVERIFY(gone.wait(5000));
        QCOMPARE(f.link().wsUDP.state(), QAbstractSocket::UnconnectedState);
        // A local close: no close event, so no reconnection timer.
        QVERIFY(!f.link().tmrReconnect.isEnabled());
        QCOMPARE(logText().count(u"Client port changed to \t41234"_s), 1);
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.ClientPort, 41234);
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
