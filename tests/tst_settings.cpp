#include "core/IniFile.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QTest>

class TestSettings : public QObject
{
    Q_OBJECT

private:
    static QString iniPath(const TempProfile &profile)
    {
        return profile.path() + QStringLiteral("/KorvaneClient.ini");
    }

private Q_SLOTS:
    void missingFileGivesDefaultsAndSaveWritesThem()
    {
        TempProfile profile;
        Options options;
        options.Server = QStringLiteral("left alone");
        options.Font.Bold = true;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        // No file: ResetToDefault, which keeps the server and gives a font that is not bold.
        QCOMPARE(options.Server, QStringLiteral("left alone"));
        QCOMPARE(options.Font.Bold, false);
        QCOMPARE(options.RefreshRate, 100);

        options.Server.clear();
        options.SaveOptions();
        const QByteArray text = profile.readFile(QStringLiteral("KorvaneClient.ini"));
        QVERIFY(text.startsWith(
            "[Options]\nLanguage=0\nSpeed=100\nRefresh Rate=1\nFontName=Arial\nFontBold=0\n"));
        QVERIFY(text.contains("\nHost=\n"));
        QVERIFY(!text.contains("ClientUpdatePath"));
    }

    void partialFileTakesReadDefaults()
    {
        TempProfile profile;
        profile.writeFile(QStringLiteral("KorvaneClient.ini"), "[Options]\r\nHost = server.example\r\n");
        Options options;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        QCOMPARE(options.Server, QStringLiteral("server.example"));
        // A file without "FontBold" gives a bold font, unlike ResetToDefault.
        QCOMPARE(options.Font.Bold, true);
        QCOMPARE(options.Font.Size, 12);
        QCOMPARE(options.ClientPort, 58502);
        QCOMPARE(options.ReconnectDelay, 15);
        QCOMPARE(options.WatchdogDelay, 45);
        QCOMPARE(options.WatchdogFrequency, 10);
    }

    void crossedSpeedKeys()
    {
        TempProfile profile;
        profile.writeFile(QStringLiteral("KorvaneClient.ini"), "[Options]\nSpeed=7\nRefresh Rate=3\n");
        Options options;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        QCOMPARE(options.RefreshRate, 7);
        QCOMPARE(options.RefreshSteps, 3);
        options.RefreshRate = 55;
        options.SaveOptions();
        QVERIFY(
            profile.readFile(QStringLiteral("KorvaneClient.ini")).contains("\nSpeed=55\nRefresh Rate=3\n"));
    }

    void badNumbersAndLongValues_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<int>("port");
        QTest::addColumn<bool>("reported");
        QTest::newRow("letters") << QByteArray("ClientPort=abc") << 0 << true;
        QTest::newRow("leading digits") << QByteArray("ClientPort=5800x") << 5800 << true;
        QTest::newRow("empty") << QByteArray("ClientPort=") << 0 << true;
        QTest::newRow("too large for 32 bits") << QByteArray("ClientPort=99999999999") << 0 << false;
        QTest::newRow("negative") << QByteArray("ClientPort=-1") << -1 << false;
        QTest::newRow("blanks around") << QByteArray("ClientPort = 4000 ") << 4000 << false;
        QTest::newRow("binary junk") << QByteArray("ClientPort=\x01\xff\xfe") << 0 << true;
    }

    void badNumbersAndLongValues()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, port);
        QFETCH(bool, reported);
        TempProfile profile;
        profile.writeFile(QStringLiteral("KorvaneClient.ini"),
                          "[Options]\n" + line + "\nHost=" + QByteArray(300, 'h') + "\nLanguage=70000\n");
        Options options;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        QCOMPARE(options.ClientPort, port);
        QCOMPARE(options.problems().size(), reported ? 1 : 0);
        if (reported)
            QVERIFY(options.problems()[0].startsWith(
                QStringLiteral("Options:ReadOptions - \"ClientPort\" is not")));
        QCOMPARE(options.Server.size(), 255);
        QCOMPARE(options.Language, qint16(0));
    }

    void corruptFilesNeverStopTheRead()
    {
        TempProfile profile;
        profile.writeFile(QStringLiteral("KorvaneClient.ini"),
                          QByteArray("\x00\x01garbage[[[\n=\n[Options\nHost\n[Other]\nHost=wrong\n", 44));
        Options options;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        QCOMPARE(options.Server, QString());
        QCOMPARE(options.ClientPort, 58502);
    }

    void writesKeepOtherSectionsAndLines()
    {
        TempProfile profile;
        profile.writeFile(
            QStringLiteral("KorvaneClient.ini"),
            "; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=old\nTrace=1\n[Last]\nX=1\n");
        Options options;
        options.setIniPath(iniPath(profile));
        options.ReadOptions();
        QCOMPARE(options.Trace, true);
        options.Server = QStringLiteral("new");
        options.ClientPort = 1234;
        options.SaveConnectionSettings();
        options.SaveUpdLocation(QStringLiteral("/srv/updates"));
        QCOMPARE(profile.readFile(QStringLiteral("KorvaneClient.ini")),
                 QByteArray(
                     "; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=new\nTrace=1\nClientPort=1234\n"
                     "ClientUpdatePath=/srv/updates\n[Last]\nX=1\n"));
    }

    void deployedDefaultsAnswerForMissingKeys()
    {
        TempProfile profile;
        profile.writeFile(QStringLiteral("etc/KorvaneClient.ini"),
                          "[Options]\nHost=central\nClientPort=4000\n");
        Options options;
        options.setIniPath(iniPath(profile), profile.path() + QStringLiteral("/etc/KorvaneClient.ini"));
        options.ReadOptions();
        QCOMPARE(options.Server, QStringLiteral("central"));
        QCOMPARE(options.ClientPort, 4000);

        profile.writeFile(QStringLiteral("KorvaneClient.ini"), "[Options]\nClientPort=5000\n");
        options.ReadOptions();
        QCOMPARE(options.Server, QStringLiteral("central"));
        QCOMPARE(options.ClientPort, 5000);
    }

    void unregisteredIniShowsTheErrorBox()
    {
        RecordingFrontend frontend;
        IniFile ini;
        QCOMPARE(ini.readString(QStringLiteral("Host"), QStringLiteral("x")), QString());
        QCOMPARE(ini.writeString(QStringLiteral("Host"), QStringLiteral("x")), false);
        QCOMPARE(frontend.questions.size(), 2);
        QCOMPARE(frontend.questions[0].text,
                 QStringLiteral("[Section] and FileName Not Registered in Private.Ini!"));
        QCOMPARE(frontend.questions[0].caption, QStringLiteral("IniFile Logic Error"));
    }

    void userStore()
    {
        TempProfile profile;
        const UserStore store(profile.path() + QStringLiteral("/Korvane/Client.conf"));
        QCOMPARE(store.read(QStringLiteral("Options"), QStringLiteral("UserName"), QStringLiteral("d")),
                 QStringLiteral("d"));
        QVERIFY(store.write(QStringLiteral("Options"), QStringLiteral("UserName"),
                            QStringLiteral("Zoë O'Brien")));
        QCOMPARE(store.read(QStringLiteral("Options"), QStringLiteral("UserName"), QString()),
                 QStringLiteral("Zoë O'Brien"));
        // Empty reads as missing; a Chr(0) cuts; 255 characters at most.
        QVERIFY(store.write(QStringLiteral("Setup"), QStringLiteral("Empty"), QString()));
        QCOMPARE(store.read(QStringLiteral("Setup"), QStringLiteral("Empty"), QStringLiteral("d")),
                 QStringLiteral("d"));
        QVERIFY(store.write(QStringLiteral("Setup"), QStringLiteral("Nul"),
                            QStringLiteral("ab") + QChar(0) + QStringLiteral("cd")));
        QCOMPARE(store.read(QStringLiteral("Setup"), QStringLiteral("Nul"), QString()), QStringLiteral("ab"));
        QVERIFY(store.write(QStringLiteral("Setup"), QStringLiteral("Long"), QString(400, QLatin1Char('x'))));
        QCOMPARE(store.read(QStringLiteral("Setup"), QStringLiteral("Long"), QString()).size(), 255);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
