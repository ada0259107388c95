#include "core/OptionKeys.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "support/TempProfile.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>

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
            ::kill(static_cast<pid_t>(child.processId()), SIGKILL);
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
                const QString value = std::holds_alternative<QString>(key.readDefault)
                                          ? u"v%1"_s.arg(saved)
                                          : QString::number(saved % 2);
                QCOMPARE(lines.count(QString(key.key) + u'=' + value), 1);
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
