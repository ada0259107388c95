#include "core/Failure.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "support/FakeClock.h"
#include "support/LogText.h"
#include "support/TempProfile.h"

#include <QDir>
#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;

class TestLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formatsTraceRenewAndUnwritable()
    {
        TempProfile profile;
        FakeClock clock(FakeClock::at(2026, 3, 4, 5, 6, 7));
        gProcess().AppDataPath = profile.dataHome();
        const auto lines = [] { return logText().split(u'\n', Qt::SkipEmptyParts); };
        // The locale's short date and the time to the second; trace lines have no stamp.
        const QString stamp =
            QLocale::system().toString(QDate(2026, 3, 4), QLocale::ShortFormat) + u" 05:06:07 -- "_s;

        WriteLog(u"Ready!"_s);
        TraceLog(u"frmKorvanClient:SetMenu"_s);
        gOptions().Trace = true;
        TraceLog(u"frmKorvanClient:SetMenu"_s);
        // A pending error joins the next line, and only that one.
        PendingError::set(Failure::overflow());
        WriteLog(u"unrelated"_s);
        PendingError::clear();
        WriteLog(u"clean"_s);
        QCOMPARE(lines(),
                 (QStringList{stamp + u"Ready!"_s, u"frmKorvanClient:SetMenu"_s,
                              stamp + u"unrelated ** Error number 6 = Overflow"_s, stamp + u"clean"_s}));

        LogFile::renew();

        // A log that cannot be opened loses the line; once it can be opened again the next is written alone.
        QDir(profile.dataHome()).mkpath(u"client.log"_s);
        WriteLog(u"lost"_s);
        QVERIFY(QDir(profile.dataHome()).rmdir(u"client.log"_s));
        WriteLog(u"written again"_s);
        QCOMPARE(lines(), QStringList{stamp + u"written again"_s});
    }
};

QTEST_GUILESS_MAIN(TestLog)
#include "tst_log.moc"
