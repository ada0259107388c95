#include "core/AppPaths.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "engine/KorvanClient.h"
#include "engine/ProcessGlobals.h"
#include "engine/ProgramStart.h"
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

private:
    static void presetUser(const TempProfile &profile, const QByteArray &name = "Jane Doe")
    {
        profile.writeFile(u"config/Korvane/Client.conf"_s, "[Options]\nUserName=" + name + "\n");
    }

private Q_SLOTS:
    void newcomerStartsWithoutAQuestion()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        presetUser(profile);
        profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s, "[Options]\nHost=127.0.0.1\nClientPort=9\n");
        auto engine = ProgramStart::Run();
        QVERIFY(engine);
        QCOMPARE(frontend.questions.size(), 0);
        QCOMPARE(gProcess().AppDataPath, profile.dataHome() + u"/Korvane"_s);
        QCOMPARE(gUserInfos().UserName, u"Jane Doe"_s);
        const QString log = logText();
        QVERIFY(log.indexOf(u"Getting the user's infos"_s) <
                log.indexOf(u"Loading Korvan Client module..."_s));

        // The login's own groups, its primary one included, count for targeting.
        const group *primary = getgrgid(getpwuid(geteuid())->pw_gid);
        QVERIFY(primary);
        QCOMPARE(
            StoreFixture::column(TempDB(), u"SELECT GroupType FROM GroupsIBelongTo WHERE GroupName = '"_s +
                                               QString::fromLocal8Bit(primary->gr_name) + u"'"_s),
            QStringList{u"D"_s});
    }

    void traceQuestionComesBeforeTheLogIsRenewed()
    {
        for (int answer : {int(ResultYes), int(ResultNo)}) {
            TempProfile profile;
            RecordingFrontend frontend;
            presetUser(profile);
            profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s,
                              "[Options]\nTrace=1\nHost=127.0.0.1\nClientPort=9\n");
            profile.writeFile(u"data/Korvane/client.log"_s, "last run\n");
            frontend.answerBox(answer);
            auto engine = ProgramStart::Run();
            QCOMPARE(frontend.questions.size(), 1);
            QCOMPARE(frontend.questions[0].caption, u"Korvane Client - Debug mode"_s);
            QCOMPARE(gOptions().Trace, answer == ResultNo);
            QVERIFY(!logText().contains(u"last run"_s));
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
        frontend.answerText(QString());
        frontend.answerText(u"   "_s);
        frontend.answerText(u"Zoë O'Brien"_s);
        ProgramStart::FindUserName();
        QCOMPARE(frontend.questions.size(), 3);
        QCOMPARE(gUserInfos().UserName, u"Zoë O'Brien"_s);

        ResetProcessGlobals();
        ProgramStart::FindUserName();
        QCOMPARE(frontend.questions.size(), 3);
        QCOMPARE(gUserInfos().UserName, u"Zoë O'Brien"_s);

        // The language comes from the user store, else from the settings.
        gOptions().Language = 1;
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(1));
        const UserStore store(AppPaths::userStoreFile());
        QVERIFY(store.write(u"Options"_s, u"Language"_s, u"0"_s));
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(0));
        QVERIFY(store.write(u"Options"_s, u"Language"_s, u"fr"_s));
        ProgramStart::SetLanguage();
        QCOMPARE(gUserInfos().Language, qint16(0));
    }
};

QTEST_GUILESS_MAIN(TestProgramStart)
#include "tst_programstart.moc"
