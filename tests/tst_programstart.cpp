#include "core/AppPaths.h"
#include "core/Globals.h"
#include "engine/ProcessGlobals.h"
#include "engine/KorvanClient.h"
#include "core/Log.h"
#include "core/Options.h"
#include "engine/ProgramStart.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QSqlQuery>
#include <QTest>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

class TestProgramStart : public QObject
{
    Q_OBJECT

private:
    static void presetUser(const TempProfile &profile, const QByteArray &name = "Jane Doe")
    {
        profile.writeFile(QStringLiteral("config/Korvane/Client.conf"), "[Options]\nUserName=" + name + "\n");
    }

    static QString logText()
    {
        QFile file(LogFile::path());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private Q_SLOTS:
    void newcomerStartsWithoutAQuestion()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        presetUser(profile);
        profile.writeFile(QStringLiteral("config/Korvane/KorvaneClient.ini"),
                          "[Options]\nHost=127.0.0.1\nClientPort=9\n");
        auto engine = ProgramStart::Run();
        QVERIFY(engine);
        QCOMPARE(frontend.questions.size(), 0);
        QCOMPARE(gProcess().AppDataPath, profile.dataHome() + QStringLiteral("/Korvane"));
        QCOMPARE(gUserInfos().UserName, QStringLiteral("Jane Doe"));
        QCOMPARE(gOptions().Server, QStringLiteral("127.0.0.1"));
        const QString log = logText();
        QVERIFY(log.contains(QStringLiteral(" -- Started Korvane Client on ")));
        QVERIFY(log.indexOf(QStringLiteral("Getting the user's infos")) <
                log.indexOf(QStringLiteral("Loading Korvan Client module...")));
        QVERIFY(log.contains(QStringLiteral(" -- Ready!\n")));

        // The login's own groups, its primary one included, count for targeting.
        const group *primary = getgrgid(getpwuid(geteuid())->pw_gid);
        QVERIFY(primary);
        QSqlQuery *mine =
            TempDB().query(QStringLiteral("SELECT GroupType FROM GroupsIBelongTo WHERE GroupName = ?"),
                           {QString::fromLocal8Bit(primary->gr_name)});
        QVERIFY(mine && mine->next());
        QCOMPARE(mine->value(0).toString(), QStringLiteral("D"));
        mine->finish();
    }

    void traceQuestionComesBeforeTheLogIsRenewed()
    {
        for (int answer : {int(ResultYes), int(ResultNo)}) {
            TempProfile profile;
            RecordingFrontend frontend;
            presetUser(profile);
            profile.writeFile(QStringLiteral("config/Korvane/KorvaneClient.ini"),
                              "[Options]\nTrace=1\nHost=127.0.0.1\nClientPort=9\n");
            profile.writeFile(QStringLiteral("data/Korvane/client.log"), "last run\n");
            frontend.answerBox(answer);
            auto engine = ProgramStart::Run();
            QCOMPARE(frontend.questions.size(), 1);
            QCOMPARE(frontend.questions[0].caption, QStringLiteral("Korvane Client - Debug mode"));
            QCOMPARE(frontend.questions[0].text,
                     QStringLiteral(
                         "The trace switch is ON.  This switch is required only for debugging purpose.\n"
                         "Do you wish to turn it OFF ?"));
            QCOMPARE(gOptions().Trace, answer == ResultNo);
            QVERIFY(!logText().contains(QStringLiteral("last run")));
            Options reread;
            reread.setIniPath(AppPaths::iniFile());
            reread.ReadOptions();
            QCOMPARE(reread.Trace, answer == ResultNo);
        }
    }

    void nameIsAskedUntilGivenAndThenKept()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().DomainAvailable = false;
        frontend.answerText(QString());
        frontend.answerText(QStringLiteral("   "));
        frontend.answerText(QStringLiteral("Zoë O'Brien"));
        ProgramStart::FindUserName();
        QCOMPARE(frontend.questions.size(), 3);
        QCOMPARE(frontend.questions[0].caption, QStringLiteral("Korvane Instant Messaging"));
        QCOMPARE(gUserInfos().UserName, QStringLiteral("Zoë O'Brien"));

        ResetProcessGlobals();
        ProgramStart::FindUserName();
        QCOMPARE(frontend.questions.size(), 3);
        QCOMPARE(gUserInfos().UserName, QStringLiteral("Zoë O'Brien"));
    }

    void languageFromTheUserStoreElseTheSettings()
    {
        TempProfile profile;
        gOptions().Language = 1;
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(1));
        const UserStore store(AppPaths::userStoreFile());
        QVERIFY(store.write(QStringLiteral("Options"), QStringLiteral("Language"), QStringLiteral("0")));
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(0));
        QVERIFY(store.write(QStringLiteral("Options"), QStringLiteral("Language"), QStringLiteral("fr")));
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(0));
    }

    void unusableDataFolderIsLoggedAndTheStartGoesOn()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        presetUser(profile);
        // A file where the data folder should be: root cannot write there either.
        profile.writeFile(QStringLiteral("data/Korvane"), "not a folder");
        auto engine = ProgramStart::Run();
        QVERIFY(engine);
        QCOMPARE(gProcess().AppDataPath, profile.runtimeDir() + QStringLiteral("/Korvane"));
        QVERIFY(logText().contains(QStringLiteral("cannot be written; this run keeps its files in ")));
        QVERIFY(logText().contains(QStringLiteral("Ready!")));
    }
};

QTEST_GUILESS_MAIN(TestProgramStart)
#include "tst_programstart.moc"
