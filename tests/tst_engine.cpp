// The engine's start, menu and closing, with a recording frontend.
#include "core/Clock.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "delivery/Scheduler.h"
#include "engine/KorvanClient.h"
#include "link/CommandDispatcher.h"
#include "link/ConnectionManager.h"
#include "link/Policies.h"
#include "store/DVMessage.h"
#include "store/MessageCodes.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestEngine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void loadTriesTheServerAndClosesQuietly()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        {
            KorvanClient neverLoaded;
            neverLoaded.QueryUnload(5);
            neverLoaded.QueryUnload(-1);
        }
        QCOMPARE(logText().count(u" -- Ending application: Unknown reason.\n"_s), 2);

        RecordingFrontend frontend;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        gOptions().Server = u"127.0.0.1"_s;
        gOptions().ClientPort = server.serverPort();
        KorvanClient engine;
        QVERIFY(engine.Load());
        QVERIFY(logText().contains(u" -- Ready!\n"_s));
        QCOMPARE(frontend.trayImage, 0);
        QVERIFY(engine.scheduler()->tmrCedule.isEnabled());
        QTRY_VERIFY(server.hasPendingConnections());
        QTcpSocket *peer = server.nextPendingConnection();
        QTRY_COMPARE(engine.ConnectionStatusText(), u"Connection status: Connected"_s);
        // Closing says nothing to the server: it only sees the connection end.
        QSignalSpy gone(peer, &QTcpSocket::disconnected);
        engine.QueryUnload(KorvanClient::vbAppWindows);
        QVERIFY(gone.wait(5000));
        QCOMPARE(peer->readAll(), QByteArray());
        QVERIFY(logText().endsWith(u" -- Ending application: Windows session is ending.\n"_s));
        QCOMPARE(frontend.events.last(), u"tray removed"_s);
    }

    // The server's message frames reach the intake as what they are: a logon batch shows a message
    // delivered at logon, a live one does not.
    void messageFramesReachTheIntake()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        KorvanClient engine;
        QVERIFY(engine.Load());
        for (const QString &code : {u"MSG"_s, u"MSL"_s}) {
            DVMessage msg;
            std::tie(msg.MsgID, msg.Message, msg.UserID, msg.Status, msg.MsgDelivery) =
                std::tuple(code, u"At logon"_s, u"author"_s, StatusActive, DeliveryLogon);
            msg.CreationDate = msg.StartDate = Clock::now().addSecs(-60);
            msg.ExpirationDate = msg.StartDate.addDays(1);
            engine.dispatcher()->HandlePayload(code + u'\x01' + msg.ToString());
        }
        QCOMPARE(frontend.displayed, QStringList{u"MSL"_s});
    }

    void menuAndExit()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        KorvanClient engine;
        QVERIFY(engine.Load());
        const auto entry = [&frontend](ClientMenu::Item item) { return frontend.lastMenu.entry(item); };
        QVERIFY(entry(ClientMenu::mnuExit).enabled);
        QVERIFY(!entry(ClientMenu::mnuSend).enabled);
        QVERIFY(!entry(ClientMenu::mnuConfiguration).visible);
        engine.MenuItemClicked(ClientMenu::mnuStatus);
        QCOMPARE(frontend.questions.last().text, u"Connection status: Closed"_s);
        // The log, the version the project declares with the link as it stands, options and levels.
        for (const auto item :
             {ClientMenu::mnuLog, ClientMenu::mnuAbout, ClientMenu::mnuOptions, ClientMenu::mnuLevel})
            engine.MenuItemClicked(item);
        QCOMPARE(frontend.events.mid(frontend.events.size() - 4),
                 (QStringList{u"log "_s + profile.dataHome() + u"/client.log"_s,
                              u"about " KORVANE_VERSION " Connection status: Closed"_s, u"options"_s,
                              u"levels"_s}));
        // Policies that keep the reader from the display options give no dialog.
        gPolicies().CanModifyDisplayOptions = false;
        engine.SetMenu();
        engine.MenuItemClicked(ClientMenu::mnuOptions);
        QCOMPARE(frontend.events.last(), u"levels"_s);
        gPolicies().CanModifyDisplayOptions = true;

        engine.connection()->ConnectedToServer = true;
        // The console is offered, once connected, to those the policies let administer.
        QList<bool> console;
        for (bool may : {false, true}) {
            gPolicies().CanAdminister = may;
            engine.SetMenu();
            console << entry(ClientMenu::mnuAdministration).enabled;
        }
        QCOMPARE(console, (QList<bool>{false, true}));
        QVERIFY(entry(ClientMenu::mnuSend).enabled);
        QVERIFY(entry(ClientMenu::mnuConfiguration).visible);
        QVERIFY(!entry(ClientMenu::mnuConfiguration).enabled);
        engine.MenuItemClicked(ClientMenu::mnuDisplayReplies);
        QVERIFY(entry(ClientMenu::mnuDisplayReplies).checked);

        // Items without a resource keep their English caption.
        gOptions().Language = 1;
        engine.OptionsChanged();
        QCOMPARE(entry(ClientMenu::mnuExit).caption, u"Quitter"_s);
        QCOMPARE(entry(ClientMenu::mnuLog).caption, u"Log"_s);

        // Exit is asked first.
        gOptions().Language = 0;
        QSignalSpy quit(&engine, &KorvanClient::quitRequested);
        frontend.answerBox(ResultNo);
        engine.MenuItemClicked(ClientMenu::mnuExit);
        QCOMPARE(quit.size(), 0);
        QCOMPARE(frontend.questions.last().buttons, int(ButtonsYesNo));
        frontend.answerBox(ResultYes);
        engine.MenuItemClicked(ClientMenu::mnuExit);
        QCOMPARE(quit.size(), 1);
        QVERIFY(logText().endsWith(
            u"Ending application: User has decided to close the application using the Exit "
            "command.\n"_s));
    }
};

QTEST_GUILESS_MAIN(TestEngine)
#include "tst_engine.moc"
