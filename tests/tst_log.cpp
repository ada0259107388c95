#include "core/Failure.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "support/FakeClock.h"
#include "support/TempProfile.h"

#include <QDir>
#include <QFile>
#include <QTest>

class TestLog : public QObject
{
    Q_OBJECT

private:
    static QStringList lines()
    {
        QFile file(LogFile::path());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList result = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        result.removeAll(QString());
        return result;
    }

private Q_SLOTS:
    void formatsAndTraceSwitch()
    {
        TempProfile profile;
        FakeClock clock(FakeClock::at(2026, 3, 4, 5, 6, 7));
        gProcess().AppDataPath = profile.dataHome();

        WriteLog(QStringLiteral("Ready!"));
        TraceLog(QStringLiteral("frmKorvanClient:SetMenu"));
        gOptions().Trace = true;
        TraceLog(QStringLiteral("frmKorvanClient:SetMenu"));

        const QStringList written = lines();
        QCOMPARE(written.size(), 2);
        QCOMPARE(written[0], LogFile::stamp() + QStringLiteral(" -- Ready!"));
        QVERIFY(written[0].contains(QStringLiteral("05:06:07")));
        QCOMPARE(written[1], QStringLiteral("frmKorvanClient:SetMenu"));
    }

    void pendingErrorJoinsTheNextLine()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        PendingError::set(Failure::overflow());
        WriteLog(QStringLiteral("unrelated"));
        PendingError::clear();
        WriteLog(QStringLiteral("clean"));
        const QStringList written = lines();
        QVERIFY(written[0].endsWith(QStringLiteral(" -- unrelated ** Error number 6 = Overflow")));
        QVERIFY(written[1].endsWith(QStringLiteral(" -- clean")));
    }

    void renewAndUnwritableLog()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        WriteLog(QStringLiteral("previous run"));
        LogFile::renew();
        QVERIFY(!QFile::exists(LogFile::path()));

        // A log that cannot be opened loses the line and nothing else.
        QDir(profile.dataHome()).mkpath(QStringLiteral("client.log"));
        WriteLog(QStringLiteral("lost"));
        gOptions().Trace = true;
        TraceLog(QStringLiteral("lost too"));
        QVERIFY(QFileInfo(LogFile::path()).isDir());
        gProcess().AppDataPath = profile.path() + QStringLiteral("/does/not/exist");
        WriteLog(QStringLiteral("lost as well"));
    }
};

QTEST_GUILESS_MAIN(TestLog)
#include "tst_log.moc"
