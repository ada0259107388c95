#include "core/OptionKeys.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "support/TempProfile.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSettings : public QObject
{
    Q_OBJECT

private:
    // Options read from a KorvaneClient.ini holding the given text, or none.
    static Options read(const TempProfile &profile, const QByteArray &text)
    {
        if (!text.isNull())
            profile.writeFile(u"KorvaneClient.ini"_s, text);
        Options options;
        options.Server = u"left alone"_s;
        options.Font.Bold = true;
        options.setIniPath(profile.path() + u"/KorvaneClient.ini"_s,
                           profile.path() + u"/etc/KorvaneClient.ini"_s);
        options.ReadOptions();
        return options;
    }

private Q_SLOTS:
    void defaultsOfAFileAndOfAReset()
    {
        TempProfile profile;
        // No file: a reset, which keeps the server and gives a plain font.
        Options reset = read(profile, QByteArray());
        QCOMPARE(reset.Server, u"left alone"_s);
        QCOMPARE(reset.Font.Bold, false);
        // A file with the host alone takes the read defaults: a bold font.
        const Options partial = read(profile, "[Options]\r\nHost = server.example\r\n");
        QCOMPARE(partial.Server, u"server.example"_s);
        QCOMPARE(partial.Font.Bold, true);
        for (const OptionKey &key : optionKeys())
            if (key.key != "Host"_L1)
                QCOMPARE(optionValue(partial, key), key.readDefault);
        // The deployed file answers for the keys the user's file lacks.
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Options]\nHost=central\nClientPort=4000\n");
        const Options deployed = read(profile, "[Options]\nClientPort=5000\n");
        QCOMPARE(deployed.Server, u"central"_s);
        QCOMPARE(deployed.ClientPort, 5000);
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
        QTest::newRow("corrupt lines")
            << QByteArray("\x00\x01", 2) +
                   "garbage[[[\n=\n[Options\nHost\n[Other]\nHost=wrong\n[Options]\nClientPort=1"
            << 1 << false;
    }

    void badNumbersAndLongValues()
    {
        QFETCH(QByteArray, line);
        QFETCH(int, port);
        QFETCH(bool, reported);
        TempProfile profile;
        const Options options =
            read(profile, "[Options]\nHost=" + QByteArray(300, 'h') + "\nLanguage=70000\n" + line + '\n');
        QCOMPARE(options.ClientPort, port);
        QCOMPARE(
            options.problems(),
            reported
                ? QStringList{u"Options:ReadOptions - \"ClientPort\" is not a number; %1 is used"_s.arg(port)}
                : QStringList());
        QCOMPARE(options.Server, QString(255, u'h'));
        QCOMPARE(options.Language, qint16(0));
    }

    void writesKeepOtherSectionsAndLines()
    {
        TempProfile profile;
        Options options =
            read(profile, "; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=old\nTrace=1\n"
                          "Speed=7\nRefresh Rate=3\n[Last]\nX=1\n");
        QCOMPARE(options.Trace, true);
        options.Server = u"new"_s;
        options.ClientPort = 1234;
        options.SaveConnectionSettings();
        options.SaveUpdLocation(u"/srv/updates"_s);
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s),
                 QByteArray("; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=new\nTrace=1\nSpeed=7\n"
                            "Refresh Rate=3\nClientPort=1234\nClientUpdatePath=/srv/updates\n[Last]\nX=1\n"));
        // The speed and the refresh rate are stored under each other's key.
        QCOMPARE(options.RefreshRate, 7);
        QCOMPARE(options.RefreshSteps, 3);
        options.RefreshRate = 55;
        options.SaveOptions();
        QVERIFY(profile.readFile(u"KorvaneClient.ini"_s).contains("\nSpeed=55\nRefresh Rate=3\n"));
    }

    // Connection settings and options saved, then the administrator moves the server: the
    // user's file held only what differs, so the next read dials the new one.
    void savesKeepOnlyWhatDiffers()
    {
        TempProfile profile;
        profile.writeFile(u"etc/KorvaneClient.ini"_s,
                          "[Options]\nHost=old.example\nClientPort= 04000 \nSpeed=50\nFontName=Verdana\n");
        Options options = read(profile, QByteArray());
        options.SaveConnectionSettings();
        options.Trace = true;
        options.SaveOptions();
        options.SaveUpdLocation(QString());
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Options]\nHost=new.example\nClientPort=4100\n");
        Options moved = read(profile, QByteArray());
        QCOMPARE(std::tuple(moved.Server, moved.ClientPort, moved.Trace, moved.RefreshRate),
                 std::tuple(u"new.example"_s, 4100, true, 100));
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s), QByteArray("[Options]\nTrace=1\n"));

        // A changed key is written in place, a key set back to the machine's value leaves the file,
        // numbers compare as numbers and texts as texts; other lines and sections stay.
        profile.writeFile(u"etc/KorvaneClient.ini"_s,
                          "[Options]\nHost=old.example\nClientPort= 04000 \nSpeed=50\nFontName=Verdana\n");
        options = read(profile, "; mine\n[Other]\nSpeed=9\n\n[Options]\nSpeed=70\nTrace=1\nFontSize=12\n"
                                "[Last]\nX=1\n");
        QCOMPARE(std::tuple(options.RefreshRate, options.ClientPort, options.Font.Name),
                 std::tuple(70, 4000, u"Verdana"_s));
        options.RefreshRate = 50;
        options.RefreshSteps = 3;
        options.Trace = false;
        options.Font.Name = u"verdana"_s;
        options.SaveOptions();
        options.Server = u"other.example"_s;
        options.SaveConnectionSettings();
        options.SaveUpdLocation(u"/srv/updates"_s);
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s),
                 QByteArray("; mine\n[Other]\nSpeed=9\n\n[Options]\nRefresh Rate=3\nFontName=verdana\n"
                            "Host=other.example\nClientUpdatePath=/srv/updates\n[Last]\nX=1\n"));

        // Defaults saved without any file still leave one, so that the next read is no reset.
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Other]\nHost=x\n");
        QVERIFY(QFile::remove(profile.path() + u"/KorvaneClient.ini"_s));
        Options defaults = read(profile, QByteArray());
        defaults.Font.Bold = true;
        defaults.SaveOptions();
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s), QByteArray("[Options]\n"));
        QCOMPARE(read(profile, QByteArray()).Font.Bold, true);
    }

    // The machine's file locks a key by its name's marker, or a whole section by its header's: the
    // key reads from there or its default, a save and a reset leave it; a user's file locks nothing.
    void machineFileLocks()
    {
        TempProfile profile;
        // A marked line above every section belongs to none, and locks nothing.
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "Speed[$i]=1\n[Options]\nHost[$i]=central.example\n"
                                                      "ClientPort=4000\n trace [$I] = 1\n");
        Options options = read(profile, "[Options]\nHost=mine\nClientPort=5000\nTrace=0\nSpeed=7\n");
        QCOMPARE(std::tuple(options.Server, options.ClientPort, options.Trace, options.RefreshRate),
                 std::tuple(u"central.example"_s, 5000, true, 7));
        QCOMPARE((QList<bool>{options.isLocked(u"HOST"_s), options.isLocked(u"Trace"_s),
                              options.isLocked(u"ClientPort"_s), options.isLocked(u"Speed"_s)}),
                 (QList<bool>{true, true, false, false}));
        Options reset = options;
        reset.Trace = false;
        reset.ResetToDefault();
        QCOMPARE(reset.Trace, true);
        options.Server = u"elsewhere"_s;
        options.Trace = false;
        options.SaveConnectionSettings();
        options.SaveOptions();
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s),
                 QByteArray("[Options]\nClientPort=5000\nSpeed=7\n"));
        QCOMPARE(read(profile, QByteArray()).Server, u"central.example"_s);

        // A locked section: keys it does not list are locked at their default.
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Other]\nSpeed=1\n[ options ] [$i]\nSpeed=50\n");
        options = read(profile, "[Options]\nSpeed=7\nFontSize=20\nHost=mine\n[Other]\nY=2\n");
        QCOMPARE(std::tuple(options.RefreshRate, options.Font.Size, options.Server),
                 std::tuple(50, 12, QString()));
        QVERIFY(options.isLocked(u"FontSize"_s) && options.isLocked(u"ClientUpdatePath"_s));
        options.Font.Size = 30;
        options.SaveOptions();
        options.SaveUpdLocation(u"/srv/updates"_s);
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s), QByteArray("[Options]\n[Other]\nY=2\n"));

        // The markers of a user's file are plain names: its values count, a save replaces them.
        profile.writeFile(u"etc/KorvaneClient.ini"_s, "[Options]\nHost=central.example\n");
        options = read(profile, "[Options][$i]\nHost[$i]=mine\nTrace=1\n");
        QCOMPARE(std::tuple(options.Server, options.Trace, options.isLocked(u"Host"_s),
                            options.isLocked(u"Trace"_s)),
                 std::tuple(u"mine"_s, true, false, false));
        options.Server = u"other.example"_s;
        options.SaveConnectionSettings();
        QCOMPARE(profile.readFile(u"KorvaneClient.ini"_s),
                 QByteArray("[Options][$i]\nHost=other.example\nTrace=1\n"));
    }

    void fileStaysWholeWhenKilledWhileSaving()
    {
        TempProfile profile;
        const QString ini = profile.path() + u"/KorvaneClient.ini"_s;
        for (int round = 0; round < 6; ++round) {
            QProcess child;
            child.start(QStringLiteral(KORVANE_SETTINGS_CHILD), {ini});
            QVERIFY(child.waitForStarted(10000));
            const int saves = 1 + int(QRandomGenerator::global()->bounded(200));
            QByteArray output;
            while (output.count('\n') < saves && child.state() == QProcess::Running) {
                child.waitForReadyRead(5000);
                output += child.readAllStandardOutput();
            }
            // Never kill() by the pid: a child that already died has pid 0, which is this whole
            // process group, the test runner included.
            QVERIFY(child.state() == QProcess::Running);
            child.kill();
            QVERIFY(child.waitForFinished(10000));

            // Every key is there once, and all values come from one save.
            const QStringList lines =
                QString::fromUtf8(profile.readFile(u"KorvaneClient.ini"_s)).split(u'\n');
            const QString host = lines.filter(QRegularExpression(u"^Host=v\\d+$"_s)).value(0);
            QVERIFY2(!host.isEmpty(), qPrintable(lines.join(u'|')));
            const qint64 saved = host.mid(6).toLongLong();
            for (const OptionKey &key : optionKeys()) {
                if (!key.saved)
                    continue;
                const bool text = std::holds_alternative<QString>(key.readDefault);
                const QString value = text ? u"v%1"_s.arg(saved) : QString::number(saved % 2);
                // A value equal to its default is left out of the file.
                const bool inherited = !text && std::get<qint64>(key.readDefault) == saved % 2;
                QCOMPARE(lines.filter(QRegularExpression(u"^"_s + QString(key.key) + u"="_s)),
                         inherited ? QStringList() : QStringList{QString(key.key) + u'=' + value});
            }
        }
    }

    void userStore()
    {
        TempProfile profile;
        const UserStore store(profile.path() + u"/Korvane/Client.conf"_s);
        QCOMPARE(store.read(u"Options"_s, u"UserName"_s, u"d"_s), u"d"_s);
        QVERIFY(store.write(u"Options"_s, u"UserName"_s, u"Zoë O'Brien"_s));
        QCOMPARE(store.read(u"Options"_s, u"UserName"_s, QString()), u"Zoë O'Brien"_s);
        // Empty reads as missing; a Chr(0) cuts; 255 characters at most.
        QVERIFY(store.write(u"Setup"_s, u"Empty"_s, QString()));
        QCOMPARE(store.read(u"Setup"_s, u"Empty"_s, u"d"_s), u"d"_s);
        QVERIFY(store.write(u"Setup"_s, u"Nul"_s, u"ab"_s + QChar(0) + u"cd"_s));
        QCOMPARE(store.read(u"Setup"_s, u"Nul"_s, QString()), u"ab"_s);
        QVERIFY(store.write(u"Setup"_s, u"Long"_s, QString(400, u'x')));
        QCOMPARE(store.read(u"Setup"_s, u"Long"_s, QString()).size(), 255);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
