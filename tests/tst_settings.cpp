#include "core/OptionKeys.h"
#include "core/Options.h"
#include "core/OsInfo.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Ini = u"KorvaneClient.ini"_s, MachineIni = u"etc/KorvaneClient.ini"_s;

struct Profile : TempProfile
{
    // Options read once the user's and the machine's files hold the texts given (null: as they are).
    Options read(const QByteArray &user = {}, const QByteArray &machine = {}) const
    {
        if (!machine.isNull())
            writeFile(MachineIni, machine);
        if (!user.isNull())
            writeFile(Ini, user);
        Options options;
        options.Server = u"left alone"_s;
        options.Font.Bold = true;
        options.setIniPath(path() + u'/' + Ini, path() + u'/' + MachineIni);
        options.ReadOptions();
        return options;
    }
    QByteArray saved() const { return readFile(Ini); }
};

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsOfAFileAndOfAReset()
    {
        Profile profile;
        // No file: a reset, which keeps the server and gives a plain font.
        const Options reset = profile.read();
        QCOMPARE(std::tuple(reset.Server, reset.Font.Bold), std::tuple(u"left alone"_s, false));
        // A file with the host alone takes the read defaults, a bold font among them.
        const Options partial = profile.read("[Options]\r\nHost = server.example\r\n");
        QCOMPARE(std::tuple(partial.Server, partial.Font.Bold), std::tuple(u"server.example"_s, true));
    }

    void badNumbersAndLongValues()
    {
        Profile profile;
        using Row = std::tuple<QByteArray, int, bool>; // the line, the port read, whether it is reported
        for (const auto &[line, port, reported] :
             {Row{"ClientPort=abc", 0, true}, Row{"ClientPort=5800x", 5800, true},
              Row{"ClientPort=", 0, true}, Row{"ClientPort=99999999999", 0, false},
              Row{"ClientPort=-1", -1, false}, Row{"ClientPort=+4000", 4000, false},
              Row{"ClientPort = 4000 ", 4000, false}, Row{"ClientPort=\x01\xff\xfe", 0, true},
              Row{QByteArray("\x00\x01", 2) +
                      "garbage[[[\n=\n[Options\nHost\n[Other]\nHost=wrong\n[Options]\nClientPort=1",
                  1, false}}) {
            const Options options =
                profile.read("[Options]\nHost=" + QByteArray(300, 'h') + "\nLanguage=70000\n" + line + '\n');
            const QString problem = u"Options:ReadOptions - \"ClientPort\" is not a number; %1 is used"_s;
            QCOMPARE(options.problems(), reported ? QStringList{problem.arg(port)} : QStringList());
            QCOMPARE(std::tuple(options.ClientPort, options.Server, options.Language),
                     std::tuple(port, QString(255, u'h'), qint16(0)));
        }
    }

    void writesKeepOtherSectionsAndLines()
    {
        Profile profile;
        Options options =
            profile.read("; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=old\nTrace=1\n"
                         "Speed=7\nRefresh Rate=3\n[Last]\nX=1\n");
        // The speed and the refresh rate are stored under each other's key.
        QCOMPARE(std::tuple(options.RefreshRate, options.RefreshSteps), std::tuple(7, 3));
        options.Server = u"new"_s;
        options.ClientPort = 1234;
        options.SaveConnectionSettings();
        options.SaveUpdLocation(u"/srv/updates"_s);
        QCOMPARE(profile.saved(),
                 "; deployed by IT\n[Other]\nHost=keep\n\n[Options]\nHost=new\nTrace=1\nSpeed=7\n"
                 "Refresh Rate=3\nClientPort=1234\nClientUpdatePath=/srv/updates\n[Last]\nX=1\n"_ba);
        options.RefreshRate = 55;
        options.SaveOptions();
        QVERIFY(profile.saved().contains("\nSpeed=55\nRefresh Rate=3\n"));
    }

    // The user's file holds only what differs from the machine's, so a server moved there is dialled.
    void savesKeepOnlyWhatDiffers()
    {
        Profile profile;
        const QByteArray central =
            "[Options]\nHost=old.example\nClientPort= 04000 \nSpeed=50\nFontName=Verdana\n";
        Options options = profile.read({}, central);
        options.SaveConnectionSettings();
        options.Trace = true;
        // What a site sets for its server and its orders is never the user's to save.
        options.DateTimeFormat = u"yyyy-MM-dd"_s;
        options.UdpOrdersFrom = u"server"_s;
        options.SaveOptions();
        options.SaveUpdLocation(QString());
        const Options moved = profile.read({}, "[Options]\nHost=new.example\nClientPort=4100\n");
        QCOMPARE(std::tuple(moved.Server, moved.ClientPort, moved.Trace, moved.RefreshRate),
                 std::tuple(u"new.example"_s, 4100, true, 100));
        QCOMPARE(profile.saved(), "[Options]\nTrace=1\n"_ba);

        // A key set back to the machine's value leaves the file; numbers compare as numbers, texts as texts.
        options = profile.read(
            "; mine\n[Other]\nSpeed=9\n\n[Options]\nSpeed=70\nTrace=1\nFontSize=12\n[Last]\nX=1\n", central);
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
        QCOMPARE(profile.saved(), "; mine\n[Other]\nSpeed=9\n\n[Options]\nRefresh Rate=3\nFontName=verdana\n"
                                  "Host=other.example\nClientUpdatePath=/srv/updates\n[Last]\nX=1\n"_ba);

        // Defaults saved without any file still leave one, so that the next read is no reset.
        Profile fresh;
        Options defaults = fresh.read({}, "[Other]\nHost=x\n");
        defaults.Font.Bold = true;
        defaults.SaveOptions();
        QCOMPARE(fresh.saved(), "[Options]\n"_ba);
        QCOMPARE(fresh.read().Font.Bold, true);
    }

    // The machine's file locks a key by its name's marker, or a whole section by its header's: the
    // key reads from there or its default, a save and a reset leave it; a user's file locks nothing.
    void machineFileLocks()
    {
        Profile profile;
        // A marked line above every section belongs to none, and locks nothing.
        Options options = profile.read("[Options]\nHost=mine\nClientPort=5000\nTrace=0\nSpeed=7\n",
                                       "Speed[$i]=1\n[Options]\nHost[$i]=central.example\n"
                                       "ClientPort=4000\n trace [$I] = 1\n");
        QCOMPARE(std::tuple(options.Server, options.ClientPort, options.Trace, options.RefreshRate),
                 std::tuple(u"central.example"_s, 5000, true, 7));
        QCOMPARE((QList<bool>{options.isLocked(u"HOST"_s), options.isLocked(u"Trace"_s),
                              options.isLocked(u"ClientPort"_s), options.isLocked(u"Speed"_s)}),
                 (QList<bool>{true, true, false, false}));
        options.Server = u"elsewhere"_s;
        options.Trace = false;
        Options reset = options;
        reset.ResetToDefault();
        QCOMPARE(reset.Trace, true);
        options.SaveConnectionSettings();
        options.SaveOptions();
        QCOMPARE(profile.saved(), "[Options]\nClientPort=5000\nSpeed=7\n"_ba);
        QCOMPARE(profile.read().Server, u"central.example"_s);

        // A locked section: keys it does not list are locked at their default.
        options = profile.read("[Options]\nSpeed=7\nFontSize=20\nHost=mine\n[Other]\nY=2\n",
                               "[Other]\nSpeed=1\n[ options ] [$i]\nSpeed=50\n");
        QCOMPARE(std::tuple(options.RefreshRate, options.Font.Size, options.Server),
                 std::tuple(50, 12, QString()));
        QVERIFY(options.isLocked(u"FontSize"_s) && options.isLocked(u"ClientUpdatePath"_s));
        options.Font.Size = 30;
        options.SaveOptions();
        options.SaveUpdLocation(u"/srv/updates"_s);
        QCOMPARE(profile.saved(), "[Options]\n[Other]\nY=2\n"_ba);

        // The markers of a user's file are plain names: its values count, a save replaces them.
        options =
            profile.read("[Options][$i]\nHost[$i]=mine\nTrace=1\n", "[Options]\nHost=central.example\n");
        QCOMPARE(std::tuple(options.Server, options.Trace, options.isLocked(u"Host"_s),
                            options.isLocked(u"Trace"_s)),
                 std::tuple(u"mine"_s, true, false, false));
        options.Server = u"other.example"_s;
        options.SaveConnectionSettings();
        QCOMPARE(profile.saved(), "[Options][$i]\nHost=other.example\nTrace=1\n"_ba);
    }

    void fileStaysWholeWhenKilledWhileSaving()
    {
        Profile profile;
        for (int round = 0; round < 6; ++round) {
            QProcess child;
            child.start(QStringLiteral(KORVANE_SETTINGS_CHILD), {profile.path() + u'/' + Ini});
            QVERIFY(child.waitForStarted(10000));
            const int saves = 1 + int(QRandomGenerator::global()->bounded(200));
            for (QByteArray output; output.count('\n') < saves && child.waitForReadyRead(5000);)
                output += child.readAllStandardOutput();
            // Never kill() by the pid: a dead child's is 0, this whole process group, the test runner too.
            QVERIFY(child.state() == QProcess::Running);
            child.kill();
            QVERIFY(child.waitForFinished(10000));

            // Every key is there once, and all values come from one save.
            const QStringList lines = QString::fromUtf8(profile.saved()).split(u'\n');
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

    // Empty reads as missing; a Chr(0) cuts; 255 characters at most; a write that cannot land says so.
    void userStore()
    {
        TempProfile profile;
        const UserStore store(profile.path() + u"/Korvane/Client.conf"_s);
        QCOMPARE(store.read(u"Options"_s, u"UserName"_s, u"d"_s), u"d"_s);
        using Row = std::tuple<QString, QString, QString>; // the key, the value written, the value read
        for (const auto &[key, value, back] :
             {Row{u"UserName"_s, u"Zoë O'Brien"_s, u"Zoë O'Brien"_s}, Row{u"Empty"_s, QString(), u"d"_s},
              Row{u"Nul"_s, u"ab\0cd"_s, u"ab"_s}, Row{u"Long"_s, QString(400, u'x'), QString(255, u'x')}}) {
            QVERIFY(store.write(u"Options"_s, key, value));
            QCOMPARE(store.read(u"Options"_s, key, u"d"_s), back);
        }
        // A folder that cannot be made (a file stands in its place) is a write that failed.
        profile.writeFile(u"taken"_s, "");
        QVERIFY(
            !UserStore(profile.path() + u"/taken/Korvane/Client.conf"_s).write(u"Options"_s, u"A"_s, u"b"_s));
    }

    // The system's name is os-release's PRETTY_NAME, its quotes and escapes gone; nothing without one.
    void osName()
    {
        TempProfile profile;
        QStringList names;
        for (const QByteArray &text :
             {"NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n"_ba,
              "PRETTY_NAME='Ann\\'s build'\n"_ba, "PRETTY_NAME=edge node e\n"_ba, "NAME=Bare\n"_ba}) {
            profile.writeFile(u"os-release"_s, text);
            names << DetectOsName(profile.path() + u"/os-release"_s);
        }
        QCOMPARE(names, (QStringList{u"Debian GNU/Linux 12 (bookworm)"_s, u"Ann's build"_s, u"edge node e"_s,
                                     QString()}));
    }

    // The user is the account's name; an account the system cannot name (its directory out of reach)
    // is "unknown", not a crash.
    void loginName()
    {
        if (geteuid() != 0)
            QSKIP("needs root, to act as an account without a name");
        QCOMPARE(UserInfos::LoginName(), u"root"_s);
        QVERIFY(seteuid(54321) == 0);
        const QString nameless = UserInfos::LoginName();
        QVERIFY(seteuid(0) == 0);
        QCOMPARE(nameless, u"unknown"_s);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
