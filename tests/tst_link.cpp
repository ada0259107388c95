// The engine against a scripted server on loopback: the connect exchange and
// what each of the link's own commands does.
#include "core/Globals.h"
#include "engine/KorvanClient.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/Ticker.h"
#include "core/UserInfos.h"
#include "link/ConnectionManager.h"
#include "link/LinkCommands.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "support/FakeServer.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QEventLoop>
#include <QFile>
#include <QHostInfo>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace {

QString logText()
{
    QFile file(LogFile::path());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestLink : public QObject
{
    Q_OBJECT

private:
    // A loaded engine whose socket stands connected to the server, before CON.
    struct Fixture
    {
        TempProfile profile;
        RecordingFrontend frontend;
        FakeServer server;
        KorvanClient engine;

        Fixture()
        {
            gProcess().AppDataPath = profile.dataHome();
            gOptions().setIniPath(profile.configHome() + QStringLiteral("/KorvaneClient.ini"));
            gOptions().Server = QStringLiteral("127.0.0.1");
            gOptions().ClientPort = server.port();
            gOptions().Trace = true;
            engine.Load();
        }

        bool connected() const
        {
            return engine.connection()->SocketState() == ConnectionManager::sckConnected;
        }
        ConnectionManager &link() const { return *engine.connection(); }
    };

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void connectExchange()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient() && f.connected());
        QCOMPARE(f.frontend.trayImage, 0);
        QVERIFY(!f.engine.ConnectedToServer());
        // The server speaks first: after a round trip the client has sent nothing.
        f.server.send(QStringLiteral("XYZ"));
        QTRY_VERIFY(logText().contains(QStringLiteral("DataArrival Code: XYZ")));
        QCoreApplication::processEvents();
        QCOMPARE(f.server.received, QStringList());
        QVERIFY(logText().contains(QStringLiteral("CONNECTION - Connected to 127.0.0.1")));
        QVERIFY(QFile(f.profile.configHome() + QStringLiteral("/KorvaneClient.ini")).exists());

        // A name the code page lacks goes out with "?", one for the emoji too.
        UserInfos &user = gUserInfos();
        user.UserName = QStringLiteral("\u0141ukasz \U0001F600");
        const auto nameBack = qScopeGuard([&user] { user.UserName.clear(); });
        f.server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-7")));
        QTRY_COMPARE(f.server.received.size(), 2);
        const QString tail = QChar(0) + user.UserID();
        QCOMPARE(f.server.received[0], QStringLiteral("USR") + QChar(1) + QStringLiteral("UID=") +
                                           user.UserID() + QStringLiteral("|MID=") +
                                           QHostInfo::localHostName().toLower() +
                                           QStringLiteral("|USN=?ukasz ?|MIP=127.0.0.1|AGN=agent-7|LNG=0") +
                                           QChar(2) + LinkCommands::Version() + tail);
        QCOMPARE(f.server.received[1], QStringLiteral("ALL") + tail);
        QVERIFY(f.engine.ConnectedToServer());
        QCOMPARE(f.frontend.trayImage, 1);
        QCOMPARE(f.frontend.trayTip, QStringLiteral("Korvane Client connected to 127.0.0.1"));
        QVERIFY(f.frontend.lastMenu.entry(ClientMenu::mnuSend).enabled);

        // A second CON on the same link: USR again, ALL not.
        f.server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-7")));
        QTRY_COMPARE(f.server.received.size(), 3);
        QCOMPARE(f.server.receivedCodes(),
                 (QStringList{QStringLiteral("USR"), QStringLiteral("ALL"), QStringLiteral("USR")}));

        // DEC greys the icon while the socket stays open; CON brings it back.
        f.server.send(QStringLiteral("DEC"));
        QTRY_COMPARE(f.frontend.trayImage, 0);
        QCOMPARE(f.frontend.trayTip, QStringLiteral("Agent disconnected from server"));
        QVERIFY(!f.engine.ConnectedToServer());
        QVERIFY(f.connected());
        f.server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-7")));
        QTRY_COMPARE(f.frontend.trayImage, 1);
    }

    void roleAndPolicies()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        f.server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("a")));

        // A user takes the policies; RCON reaches the reconnection delay and the file.
        f.server.sendJoined({FakeServer::command(QStringLiteral("AUT"), QStringLiteral("0")),
                             FakeServer::command(QStringLiteral("POL"), QStringLiteral("EXIT;RCON=-1;"))});
        QTRY_COMPARE(gPolicies().Reconnect, qint16(-1));
        QVERIFY(!gPolicies().CanExitClient);
        QCOMPARE(gOptions().ReconnectDelay, -1);
        QVERIFY(!f.frontend.lastMenu.entry(ClientMenu::mnuExit).enabled);
        QVERIFY(!f.link().tmrAdminWatchdog.isEnabled());

        // An administrator has full rights, ignores POL, and gets the watchdog at once.
        f.server.sendJoined({FakeServer::command(QStringLiteral("AUT"), QStringLiteral("3")),
                             FakeServer::command(QStringLiteral("POL"), QStringLiteral("MSGS;EXIT;"))});
        QTRY_VERIFY(f.link().tmrAdminWatchdog.isEnabled());
        QVERIFY(gPolicies().CanExitClient);
        QVERIFY(gPolicies().CanSendMessages);
        QVERIFY(gPolicies().CanSendToAll);
        QCOMPARE(gPolicies().Reconnect, qint16(-1));
        QVERIFY(f.frontend.lastMenu.entry(ClientMenu::mnuConfiguration).enabled);
        QVERIFY(logText().contains(QStringLiteral("User has the following authority: \t3")));
    }

    void noticesAnswersAndEndMarkers()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        f.server.sendJoined(
            {FakeServer::command(QStringLiteral("IAD"), QStringLiteral("for admins")),
             FakeServer::command(QStringLiteral("IPO"), QStringLiteral("for postmasters")),
             FakeServer::command(QStringLiteral("IUS"), QStringLiteral("for everyone")),
             FakeServer::command(QStringLiteral("GPL"), QStringLiteral("SEND;")),
             FakeServer::command(QStringLiteral("UPR"),
                                 QStringLiteral("jdoe") + QChar(2) + QStringLiteral("LINK;")),
             FakeServer::command(QStringLiteral("SCR"), QStringLiteral("PORT=1;UDPP=2;TRCE;")),
             FakeServer::command(QStringLiteral("RU_"), QStringLiteral("G")),
             FakeServer::command(QStringLiteral("RM_"), QStringLiteral("L")),
             FakeServer::command(QStringLiteral("RU_"), QStringLiteral("L")),
             FakeServer::command(QStringLiteral("RR_")),
             FakeServer::command(QStringLiteral("XYZ"), QStringLiteral("ignored")),
             FakeServer::command(QStringLiteral("CUL"), QStringLiteral("/srv/updates"))});
        QTRY_VERIFY(gSession().ReceiptsLoaded);
        // Only the notice for every user reaches a plain user.
        QCOMPARE(f.frontend.questions.size(), 1);
        QCOMPARE(f.frontend.questions[0].text, QStringLiteral("for everyone"));
        QCOMPARE(f.frontend.questions[0].caption, QStringLiteral("Message from Korvane Server"));
        QVERIFY(logText().contains(QStringLiteral("Information to Packagers\t")));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("policies")),
                 (QStringList{QStringLiteral("policies  SEND;"), QStringLiteral("policies jdoe LINK;")}));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("server config")),
                 QStringList{QStringLiteral("server config PORT=1;UDPP=2;TRCE;")});
        // The letter routes the display; machines know no "L".
        QCOMPARE(f.frontend.events.filter(QStringLiteral("display")),
                 (QStringList{QStringLiteral("display 0 G"), QStringLiteral("display 0 L")}));
        QVERIFY(gSession().UsersLoaded && gSession().MachinesLoaded);
        QVERIFY(logText().contains(QStringLiteral("frmKorvanClient:DataArrival Code: XYZ")));
        QVERIFY(QFile(gOptions().iniPath()).open(QIODevice::ReadOnly));
    }

    void framesFlowWhileABoxStands()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        // The first notice's box pumps events as a modal box does, until the CON
        // sent meanwhile has been answered.
        QStringList answeredInBox;
        f.frontend.whileBoxStands = [&f, &answeredInBox] {
            f.server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("a")));
            QEventLoop pump;
            connect(&f.server, &FakeServer::payloadReceived, &pump, [&f, &pump] {
                if (f.server.received.size() == 2)
                    pump.quit();
            });
            QTimer::singleShot(5000, &pump, &QEventLoop::quit);
            pump.exec();
            answeredInBox = f.server.receivedCodes();
        };
        f.server.sendJoined({FakeServer::command(QStringLiteral("IUS"), QStringLiteral("one")),
                             FakeServer::command(QStringLiteral("IUS"), QStringLiteral("two"))});
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(answeredInBox, (QStringList{QStringLiteral("USR"), QStringLiteral("ALL")}));
        // Each frame ran once: the pass inside the box took them off the queue.
        QCOMPARE(f.frontend.questions[1].text, QStringLiteral("two"));
        QCOMPARE(f.server.receivedCodes(), answeredInBox);
    }

    void badFramesLoseOnlyThemselves()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        // CON without its data, then a good one: the first is logged and lost.
        f.server.sendJoined(
            {QStringLiteral("CON"), FakeServer::command(QStringLiteral("CON"), QStringLiteral("a"))});
        QTRY_COMPARE(f.server.receivedCodes(), (QStringList{QStringLiteral("USR"), QStringLiteral("ALL")}));
        QVERIFY(
            logText().contains(QStringLiteral("frmKorvanClient:DataArrival - Subscript out of range ** Error "
                                              "number 9 = Subscript out of range")));

        // A zero length and a high-bit length inside the loop are logged; the
        // frames behind them still run.
        QByteArray bytes = FakeServer::frame(QStringLiteral("IUS") + QChar(1) + QStringLiteral("one"));
        bytes += QByteArray("kVn\x00\x00", 5);
        bytes += QByteArray("kVn\x80\x01", 5);
        bytes += FakeServer::frame(QStringLiteral("IUS") + QChar(1) + QStringLiteral("two"));
        f.server.sendBytes(bytes);
        QTRY_COMPARE(f.frontend.questions.size(), 2);
        QCOMPARE(f.frontend.questions[1].text, QStringLiteral("two"));
        QVERIFY(logText().contains(QStringLiteral("frmKorvanClient:DataArrival - Overflow")));

        // Garbage drops whatever the read held; a read that begins on a frame
        // after that starts clean.
        const int reads = logText().count(QStringLiteral("frmKorvanClient:DataArrival\n"));
        f.server.sendBytes(QByteArray("garbage!!") +
                           FakeServer::frame(QStringLiteral("IUS") + QChar(1) + QStringLiteral("lost")));
        QTRY_VERIFY(logText().count(QStringLiteral("frmKorvanClient:DataArrival\n")) > reads);
        f.server.sendSplit(QStringLiteral("IUS") + QChar(1) + QStringLiteral("three"), 2);
        QTRY_COMPARE(f.frontend.questions.size(), 3);
        QCOMPARE(f.frontend.questions[2].text, QStringLiteral("three"));

        // An AUT that is no number fails alone.
        f.server.sendJoined({FakeServer::command(QStringLiteral("AUT"), QStringLiteral("admin")),
                             FakeServer::command(QStringLiteral("IUS"), QStringLiteral("four"))});
        QTRY_COMPARE(f.frontend.questions.size(), 4);
        QCOMPARE(gUserInfos().MyAuthority(), qint16(0));
    }

    void configurationGoesBack()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        f.engine.NewPoliciesToSend(QString(), QStringLiteral("SEND;"));
        f.engine.NewPoliciesToSend(QStringLiteral("jdoe"), QStringLiteral("LINK;"));
        ServerConfig config;
        config.Trace = true;
        f.engine.UpdateServerConfiguration(config);
        QTRY_COMPARE(f.server.received.size(), 3);
        const QString tail = QChar(0) + gUserInfos().UserID();
        QCOMPARE(f.server.received[0], QStringLiteral("GPU") + QChar(1) + QStringLiteral("SEND;") + tail);
        QCOMPARE(f.server.received[1], QStringLiteral("UPU") + QChar(1) + QStringLiteral("jdoe") + QChar(2) +
                                           QStringLiteral("LINK;") + tail);
        QCOMPARE(f.server.received[2],
                 QStringLiteral("SCU") + QChar(1) + QStringLiteral("PORT=58502;UDPP=58502;TRCE;") + tail);
    }

    void portChangeClosesBothSockets()
    {
        Fixture f;
        QTRY_VERIFY(f.server.hasClient());
        f.link().tmrUdpStarter_Timer();
        QSignalSpy gone(f.server.client(), &QTcpSocket::disconnected);
        f.server.send(FakeServer::command(QStringLiteral("PCL"), QString::number(f.server.port())));
        f.server.send(FakeServer::command(QStringLiteral("PCL"), QStringLiteral("41234")));
        QVERIFY(gone.wait(5000));
        QCOMPARE(gOptions().ClientPort, 41234);
        QCOMPARE(f.link().wsUDP.state(), QAbstractSocket::UnconnectedState);
        // A local close: no close event, so no reconnection timer.
        QVERIFY(!f.link().tmrReconnect.isEnabled());
        QVERIFY(logText().contains(QStringLiteral("Client port changed to \t41234")));
        QCOMPARE(logText().count(QStringLiteral("Client port changed")), 1);
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.ClientPort, 41234);
    }
};

QTEST_GUILESS_MAIN(TestLink)
#include "tst_link.moc"
