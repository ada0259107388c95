// The engine against a scripted server on loopback: the connect exchange and the link's own commands.
#include "core/UserInfos.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "support/FakeServer.h"
#include "support/LogText.h"

#include <QHostInfo>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

const auto cmd = &FakeServer::command;

class TestLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void connectExchangeRolesAndWhatGoesBack()
    {
        EngineOnFakeServer f;
        QTRY_VERIFY(f.server.hasClient() && f.connected());
        QVERIFY(!f.engine.ConnectedToServer());
        // The server speaks first: after a round trip the client has sent nothing.
        f.server.send(u"XYZ"_s);
        QTRY_VERIFY(logText().contains(u"DataArrival Code: XYZ"_s));
        QCOMPARE(f.server.received, QStringList());

        // The first notice's box pumps events as a modal box would, until the CON sent meanwhile is answered.
        QStringList answeredInBox;
        f.frontend.whileBoxStands = [&f, &answeredInBox] {
            f.server.send(cmd(u"CON"_s, u"agent-7"_s));
            (void)QTest::qWaitFor([&f] { return f.server.received.size() == 2; }, 5000);
            answeredInBox = f.server.receivedCodes();
        };
        // A name the code page lacks goes out with "?", one for the emoji too.
        UserInfos &user = gUserInfos();
        user.UserName = u"\u0141ukasz \U0001F600"_s;
        f.server.sendJoined({cmd(u"IUS"_s, u"one"_s), cmd(u"IUS"_s, u"two"_s)});
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(f.frontend.questions[1].text, u"two"_s);
        QCOMPARE(answeredInBox, (QStringList{u"USR"_s, u"ALL"_s}));
        const QString tail = QChar(0) + user.UserID();
        QCOMPARE(f.server.received, (QStringList{u"USR"_s + QChar(1) + u"UID="_s + user.UserID() +
                                                     u"|MID="_s + QHostInfo::localHostName().toLower() +
                                                     u"|USN=?ukasz ?|MIP=127.0.0.1|AGN=agent-7|LNG=0"_s +
                                                     QChar(2) + QStringLiteral(KORVANE_VERSION) + tail,
                                                 u"ALL"_s + tail}));
        QVERIFY(f.engine.ConnectedToServer() && f.frontend.lastMenu.entry(ClientMenu::mnuSend).enabled);
        QCOMPARE(f.frontend.trayImage, 1);

        f.server.send(cmd(u"CON"_s, u"agent-7"_s));
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"USR"_s, u"ALL"_s, u"USR"_s}));

        f.server.send(u"DEC"_s);
        QTRY_COMPARE(f.frontend.trayImage, 0);
        QVERIFY(!f.engine.ConnectedToServer() && f.connected());
        f.server.send(cmd(u"CON"_s, u"agent-7"_s));
        QTRY_COMPARE(f.frontend.trayImage, 1);

        f.server.sendJoined({cmd(u"AUT"_s, u"0"_s), cmd(u"POL"_s, u"EXIT;RCON=-1;"_s)});
        QTRY_COMPARE(gPolicies().Reconnect, qint16(-1));
        QCOMPARE(gOptions().ReconnectDelay, -1);
        QVERIFY(!f.frontend.lastMenu.entry(ClientMenu::mnuExit).enabled &&
                !f.link().tmrAdminWatchdog.isEnabled());

        f.server.sendJoined({cmd(u"AUT"_s, u"3"_s), cmd(u"POL"_s, u"MSGS;EXIT;"_s)});
        QTRY_VERIFY(f.link().tmrAdminWatchdog.isEnabled());
        QVERIFY(gPolicies().CanExitClient && gPolicies().CanSendToAll &&
                f.frontend.lastMenu.entry(ClientMenu::mnuConfiguration).enabled);

        f.engine.NewPoliciesToSend(QString(), u"SEND;"_s);
        f.engine.NewPoliciesToSend(u"jdoe"_s, u"LINK;"_s);
        ServerConfig config;
        config.Trace = true;
        f.engine.UpdateServerConfiguration(config);
        QTRY_COMPARE(f.server.received.mid(4),
                     (QStringList{cmd(u"GPU"_s, u"SEND;"_s) + tail,
                                  cmd(u"UPU"_s, u"jdoe"_s + QChar(2) + u"LINK;"_s) + tail,
                                  cmd(u"SCU"_s, u"PORT=58502;UDPP=58502;TRCE;"_s) + tail}));

        // A port change closes both sockets; a close by this side raises no close event.
        f.link().tmrUdpStarter_Timer();
        QSignalSpy gone(f.server.client(), &QTcpSocket::disconnected);
        f.server.send(cmd(u"PCL"_s, QString::number(f.server.port())));
        f.server.send(cmd(u"PCL"_s, u"41234"_s));
        QVERIFY(gone.wait(5000));
        QCOMPARE(f.link().wsUDP.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(!f.link().tmrReconnect.isEnabled());
        QCOMPARE(logText().count(u"Client port changed to \t41234"_s), 1);
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.ClientPort, 41234);
    }

    void badFramesLoseOnlyThemselvesThenNoticesAndEndMarkers()
    {
        EngineOnFakeServer f;
        QTRY_VERIFY(f.server.hasClient());
        f.server.sendJoined({u"CON"_s, cmd(u"CON"_s, u"a"_s)});
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{u"USR"_s, u"ALL"_s}));
        QVERIFY(logText().contains(u"frmKorvanClient:DataArrival - Subscript out of range ** Error "
                                   "number 9 = Subscript out of range"_s));

        // A zero length and a high-bit length inside the loop are logged; the frames behind them still run.
        f.server.sendBytes(FakeServer::frame(cmd(u"IUS"_s, u"one"_s)) +
                           QByteArray("kVn\x00\x00kVn\x80\x01", 10) +
                           FakeServer::frame(cmd(u"IUS"_s, u"two"_s)));
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(f.frontend.questions[1].text, u"two"_s);
        QVERIFY(logText().contains(u"frmKorvanClient:DataArrival - Overflow"_s));

        f.server.sendJoined({cmd(u"AUT"_s, u"admin"_s), cmd(u"IUS"_s, u"four"_s)});
        QTRY_COMPARE(f.frontend.questions.size(), 3);
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

        f.server.sendJoined({cmd(u"IAD"_s, u"for admins"_s), cmd(u"IPO"_s, u"for postmasters"_s),
                             cmd(u"IUS"_s, u"for everyone"_s), cmd(u"GPL"_s, u"SEND;"_s),
                             cmd(u"UPR"_s, u"jdoe"_s + QChar(2) + u"LINK;"_s),
                             cmd(u"SCR"_s, u"PORT=1;UDPP=2;TRCE;"_s), cmd(u"RU_"_s, u"G"_s),
                             cmd(u"RM_"_s, u"L"_s), cmd(u"RU_"_s, u"L"_s), cmd(u"RR_"_s, {}),
                             cmd(u"XYZ"_s, u"ignored"_s), cmd(u"CUL"_s, u"/srv/updates"_s)});
        QTRY_VERIFY(gSession().ReceiptsLoaded);
        // Only the notice for every user reaches a plain user.
        QCOMPARE(f.frontend.questions.size(), 4);
        QCOMPARE(f.frontend.questions[3].text, u"for everyone"_s);
        // The letter routes the display; machines know no "L".
        QCOMPARE(f.frontend.events.filter(QRegularExpression(u"policies|server config|display"_s)),
                 (QStringList{u"policies  SEND;"_s, u"policies jdoe LINK;"_s,
                              u"server config PORT=1;UDPP=2;TRCE;"_s, u"display 0 G"_s, u"display 0 L"_s}));
        QVERIFY(gSession().UsersLoaded && gSession().MachinesLoaded);

        // A command that carries data, sent without it, is one logged failure and is not obeyed.
        const QStringList bare{u"MSG"_s, u"MSL"_s, u"PKG"_s, u"PKL"_s, u"ALM"_s, u"MSC"_s, u"PSC"_s, u"MDE"_s,
                               u"PDE"_s, u"RCP"_s, u"ARC"_s, u"MID"_s, u"PID"_s, u"PTI"_s, u"STI"_s, u"MDU"_s,
                               u"PDU"_s, u"MTP"_s, u"PTP"_s, u"STP"_s, u"RID"_s, u"RAL"_s, u"TMP"_s, u"RUS"_s,
                               u"RMA"_s, u"RPI"_s, u"RPU"_s, u"UGR"_s, u"PGD"_s, u"RAD"_s, u"LVL"_s, u"CON"_s,
                               u"AUT"_s, u"CUL"_s, u"POL"_s, u"GPL"_s, u"UPR"_s, u"SCR"_s, u"PCL"_s, u"IAD"_s,
                               u"IPA"_s, u"IPO"_s, u"IUS"_s};
        const QString outOfRange = u"DataArrival - Subscript out of range"_s;
        const int failures = logText().count(outOfRange);
        const auto heard = [&f] {
            return std::tuple(f.server.received, f.frontend.questions.size(), f.frontend.events,
                              f.connected());
        };
        const auto before = heard();
        f.server.sendJoined(bare);
        QTRY_COMPARE(logText().count(outOfRange) - failures, int(bare.size()));
        QCOMPARE(heard(), before);
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
