#include "core/Globals.h"
#include "engine/KorvanClient.h"
#include "core/Log.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/Ticker.h"
#include "delivery/Scheduler.h"
#include "link/ConnectionManager.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

class TestEngine : public QObject
{
    Q_OBJECT

private:
    static QStringList logTexts()
    {
        QFile file(LogFile::path());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList texts;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')))
            if (!line.isEmpty())
                texts << line.section(QStringLiteral(" -- "), 1);
        return texts;
    }

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void loadLogsItsStepsAndTriesTheServer()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        gOptions().Server = QStringLiteral("127.0.0.1");
        gOptions().ClientPort = server.serverPort();

        KorvanClient engine;
        QVERIFY(engine.Load());
        QCOMPARE(logTexts().mid(0, 8),
                 QStringList({QStringLiteral("Creating encryptor..."), QStringLiteral("Creating policies..."),
                              QStringLiteral("Getting MachineID..."), QStringLiteral("Localization..."),
                              QStringLiteral("creating task icon..."),
                              QStringLiteral("Connecting to server 127.0.0.1 on port ") +
                                  QString::number(server.serverPort()) + QStringLiteral("..."),
                              QStringLiteral("Setting the menu..."), QStringLiteral("Ready!")}));
        QCOMPARE(frontend.trayImage, 0);
        QCOMPARE(frontend.trayTip, QStringLiteral("Korvane client - not connected"));
        QCOMPARE(engine.scheduler()->LastScanMinute, qint16(-1));
        QVERIFY(engine.scheduler()->tmrCedule.isEnabled());

        QTRY_VERIFY(server.hasPendingConnections());
        QTcpSocket *peer = server.nextPendingConnection();
        QTRY_COMPARE(engine.ConnectionStatusText(), QStringLiteral("Connection status: Connected"));
        // Closing says nothing to the server: it only sees the connection end.
        QSignalSpy gone(peer, &QTcpSocket::disconnected);
        engine.QueryUnload(KorvanClient::vbAppWindows);
        QVERIFY(gone.wait(5000));
        // Nothing was sent: the client waits for the server to speak first.
        QCOMPARE(peer->readAll(), QByteArray());
        QCOMPARE(logTexts().last(), QStringLiteral("Ending application: Windows session is ending."));
        QCOMPARE(frontend.events.last(), QStringLiteral("tray removed"));
    }

    void closeReasons_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("reason");
        QTest::newRow("0") << 0 << QStringLiteral("User has pressed the CLOSE command from the form.");
        QTest::newRow("1") << 1
                           << QStringLiteral(
                                  "User has decided to close the application using the Exit command.");
        QTest::newRow("2") << 2 << QStringLiteral("Windows session is ending.");
        QTest::newRow("3") << 3 << QStringLiteral("Application killed by the Task Manager");
        QTest::newRow("4") << 4 << QStringLiteral("MDI form closing");
        QTest::newRow("5") << 5 << QStringLiteral("Unknown reason.");
        QTest::newRow("-1") << -1 << QStringLiteral("Unknown reason.");
    }

    void closeReasons()
    {
        QFETCH(int, mode);
        QFETCH(QString, reason);
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        KorvanClient engine; // never loaded: closing must still work
        engine.QueryUnload(mode);
        QCOMPARE(logTexts(), QStringList{QStringLiteral("Ending application: ") + reason});
    }

    void menuFollowsConnectionAndLanguage()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        KorvanClient engine;
        QVERIFY(engine.Load());

        const ClientMenu &menu = frontend.lastMenu;
        QCOMPARE(menu.entry(ClientMenu::mnuExit).caption, QStringLiteral("Exit"));
        QCOMPARE(menu.entry(ClientMenu::mnuLog).caption, QStringLiteral("Log"));
        QVERIFY(menu.entry(ClientMenu::mnuExit).enabled);
        QVERIFY(!menu.entry(ClientMenu::mnuSend).enabled);
        QVERIFY(!menu.entry(ClientMenu::mnuDisplayReplies).enabled);
        QVERIFY(!menu.entry(ClientMenu::mnuAdministration).enabled);
        QVERIFY(!menu.entry(ClientMenu::mnuConfiguration).visible);
        QVERIFY(menu.entry(ClientMenu::mnuStatus).enabled);

        engine.connection()->ConnectedToServer = true;
        engine.SetMenu();
        QVERIFY(frontend.lastMenu.entry(ClientMenu::mnuSend).enabled);
        QVERIFY(frontend.lastMenu.entry(ClientMenu::mnuDisplayReplies).enabled);
        QVERIFY(frontend.lastMenu.entry(ClientMenu::mnuConfiguration).visible);
        QVERIFY(!frontend.lastMenu.entry(ClientMenu::mnuConfiguration).enabled);
        engine.MenuItemClicked(ClientMenu::mnuDisplayReplies);
        QVERIFY(frontend.lastMenu.entry(ClientMenu::mnuDisplayReplies).checked);

        gOptions().Language = 1;
        engine.OptionsChanged();
        QCOMPARE(frontend.lastMenu.entry(ClientMenu::mnuExit).caption, StringTable::raw(10412));
        // Items without a resource keep their English caption.
        QCOMPARE(frontend.lastMenu.entry(ClientMenu::mnuLog).caption, QStringLiteral("Log"));
    }

    void exitQuestionAndStatusBox()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().AppDataPath = profile.dataHome();
        KorvanClient engine;
        QVERIFY(engine.Load());
        QSignalSpy quit(&engine, &KorvanClient::quitRequested);

        frontend.answerBox(ResultNo);
        engine.MenuItemClicked(ClientMenu::mnuExit);
        QCOMPARE(quit.size(), 0);
        QCOMPARE(frontend.questions.last().caption,
                 QStringLiteral("ATTENTION - You requested to shut down the Korvane Client"));
        QCOMPARE(
            frontend.questions.last().text,
            QStringLiteral("Closing the Korvane Client window will not allow you to receive any subsequent "
                           "messages.\n\nAre you sure you want to leave?"));
        QCOMPARE(frontend.questions.last().buttons, int(ButtonsYesNo));

        engine.MenuItemClicked(ClientMenu::mnuStatus);
        QCOMPARE(frontend.questions.last().text, QStringLiteral("Connection status: Closed"));
        QCOMPARE(frontend.questions.last().caption, QStringLiteral("System status"));

        // Not connected: the server configuration cannot be asked for.
        engine.MenuItemClicked(ClientMenu::mnuServerConfiguration);
        QCOMPARE(frontend.questions.last().text,
                 QStringLiteral("Communication error:  The server is not responding"));

        engine.MenuItemClicked(ClientMenu::mnuLog);
        QCOMPARE(frontend.events.last(), QStringLiteral("log ") + LogFile::path());

        frontend.answerBox(ResultYes);
        engine.MenuItemClicked(ClientMenu::mnuExit);
        QCOMPARE(quit.size(), 1);
        QCOMPARE(
            logTexts().last(),
            QStringLiteral("Ending application: User has decided to close the application using the Exit "
                           "command."));
    }
};

QTEST_GUILESS_MAIN(TestEngine)
#include "tst_engine.moc"
