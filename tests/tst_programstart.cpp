#include "core/AppPaths.h"
#include "core/Options.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "engine/KorvanClient.h"
#include "engine/ProcessGlobals.h"
#include "engine/ProgramStart.h"
#include "link/Policies.h"
#include "support/ClientProcess.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QTest>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestProgramStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A newcomer with a stored name starts without a question, unless the settings trace: then
    // whether to go on tracing is asked, and kept, before the last run's log is renewed.
    void newcomerIsAskedOnlyAboutTracing()
    {
        for (int answer : {0, int(ResultYes), int(ResultNo)}) { // 0: the settings do not trace
            TempProfile profile;
            RecordingFrontend frontend;
            ClientProcess::prepare(profile, 9, "Jane Doe", answer ? "Trace=1\n" : "");
            profile.writeFile(u"data/Korvane/client.log"_s, "last run\n");
            frontend.answerBox(answer);
            auto engine = ProgramStart::Run();
            QVERIFY(engine);
            QCOMPARE(gProcess().AppDataPath, profile.dataHome() + u"/Korvane"_s);
            QCOMPARE(gUserInfos().UserName, u"Jane Doe"_s);
            const QString log = logText();
            QVERIFY(!log.contains(u"last run"_s));
            QVERIFY(log.indexOf(u"Getting the user's infos"_s) <
                    log.indexOf(u"Loading Korvan Client module..."_s));
            // The login's own groups, its primary one included, count for targeting.
            const group *primary = getgrgid(getpwuid(geteuid())->pw_gid);
            QVERIFY(primary);
            QCOMPARE(StoreFixture::column(TempDB(),
                                          u"SELECT GroupType FROM GroupsIBelongTo WHERE GroupName = '"_s +
                                              QString::fromLocal8Bit(primary->gr_name) + u"'"_s),
                     QStringList{u"D"_s});
            QCOMPARE(frontend.questions.size(), answer ? 1 : 0);
            if (!answer)
                continue;
            QCOMPARE(frontend.questions[0].caption, u"Korvane Client - Debug mode"_s);
            QCOMPARE(gOptions().Trace, answer == ResultNo);
            Options reread;
            reread.setIniPath(AppPaths::iniFile());
            reread.ReadOptions();
            QCOMPARE(reread.Trace, answer == ResultNo);
        }
    }

    void nameIsAskedUntilGivenAndThenKeptAndTheLanguage()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        gProcess().DomainAvailable = false;
        for (const QString &answer : {QString(), u"   "_s, u"Zoë O'Brien"_s})
            frontend.answerText(answer);
        const qsizetype troubles = logText().count(u"cannot save the user name"_s);
        // Asked until given; the next start keeps it without asking.
        for (int start = 0; start < 2; ++start) {
            // A start begins from the defaults, the policies' too.
            gPolicies().CanExitClient = !Policies().CanExitClient;
            ResetProcessGlobals();
            QCOMPARE(gPolicies().CanExitClient, Policies().CanExitClient);
            ProgramStart::FindUserName();
            QCOMPARE(frontend.questions.size(), 3);
            QCOMPARE(gUserInfos().UserName, u"Zoë O'Brien"_s);
        }
        // Saved without a hitch: no trouble reported (the log may hold an older run's lines).
        QCOMPARE(logText().count(u"cannot save the user name"_s), troubles);

        // The language comes from the user store, else from the settings.
        gOptions().Language = 1;
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(1));
        const UserStore store(AppPaths::userStoreFile());
        for (const QString &stored : {u"0"_s, u"fr"_s}) {
            QVERIFY(store.write(u"Options"_s, u"Language"_s, stored));
            ProgramStart::SetLanguage();
            QCOMPARE(gUserInfos().Language, qint16(0));
        }
    }
};

QTEST_GUILESS_MAIN(TestProgramStart)
#include "tst_programstart.moc"
