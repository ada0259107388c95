// When stored messages are due: the minute tick, the scans over a real store,
// the judgement on arrival and the calendar of repetitions.
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "delivery/Scheduler.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QTest>

namespace {

const QString Inbox = QStringLiteral("Inbox");
const QString InPkg = QStringLiteral("InPkg");
const QString Outbox = QStringLiteral("Outbox");
const QDateTime Later = FakeClock::at(2030, 1, 1);

QDateTime at(int hour, int minute, int second = 0)
{
    return FakeClock::at(2026, 11, 23, hour, minute, second);
}

DVMessage message(const QString &id, qint16 delivery, const QDateTime &nextRun,
                  const QDateTime &expiration = Later)
{
    DVMessage m;
    m.MsgID = id;
    m.MsgLevel = QStringLiteral("Warning");
    m.MsgDelivery = delivery;
    m.Status = StatusActive;
    m.NextRunDate = nextRun;
    m.ExpirationDate = expiration;
    return m;
}

DVMessage repeating(DVMessage m, qint32 step, qint16 value, bool exact = false)
{
    m.RepeatStep = step;
    m.RepeatValue = value;
    m.ExactTime = exact;
    return m;
}

QString logText()
{
    QFile file(LogFile::path());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

struct Fixture
{
    TempProfile profile;
    FakeClock clock{at(10, 30, 45)};
    RecordingFrontend frontend;
    Scheduler scheduler;

    Fixture()
    {
        gProcess().AppDataPath = profile.dataHome();
        gOptions().Trace = true;
        gOptions().setIniPath(profile.configHome() + QStringLiteral("/KorvaneClient.ini"));
        if (!InitializeDB(profile.dataHome()))
            qFatal("the store did not open");
    }
    ~Fixture()
    {
        ClientDB().close();
        TempDB().close();
    }
    void store(const QString &table, const DVMessage &m)
    {
        QVERIFY(SaveMessage(ClientDB(), table, m, true, true));
    }
    DVMessage row(const QString &table, const QString &id) { return GetMessage(ClientDB(), table, id); }
};

} // namespace

Q_DECLARE_METATYPE(DVMessage)

class TestScheduling : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void nextRunDate_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<int>("step");
        QTest::addColumn<int>("value");
        QTest::addColumn<QDateTime>("expected");
        const QDateTime jan31 = FakeClock::at(2026, 1, 31, 9, 0);
        QTest::newRow("minutes") << at(9, 0) << at(9, 7) << 0 << 5 << at(9, 10);
        QTest::newRow("hours") << at(9, 0) << at(11, 30) << 1 << 1 << at(12, 0);
        QTest::newRow("days over midnight, equal to now moved on")
            << FakeClock::at(2026, 11, 20, 23, 30) << at(23, 30) << 2 << 1 << FakeClock::at(2026, 11, 24, 23, 30);
        QTest::newRow("weeks") << FakeClock::at(2026, 11, 2, 8, 15) << at(8, 14) << 3 << 1 << at(8, 15);
        QTest::newRow("monthly from 31 January")
            << jan31 << FakeClock::at(2026, 4, 1) << 4 << 1 << FakeClock::at(2026, 4, 28, 9, 0);
        QTest::newRow("clamp to 29 February stays")
            << FakeClock::at(2028, 1, 31) << FakeClock::at(2028, 5, 1) << 4 << 1 << FakeClock::at(2028, 5, 29);
        QTest::newRow("years from a leap day")
            << FakeClock::at(2024, 2, 29) << FakeClock::at(2026, 1, 1) << 5 << 1 << FakeClock::at(2026, 2, 28);
        QTest::newRow("zero date, minutes") << DateText::ZeroDate() << at(10, 30) << 0 << 1 << at(10, 31);
        QTest::newRow("already later") << at(12, 0) << at(9, 0) << 1 << 1 << at(12, 0);
        QTest::newRow("value 0") << at(9, 0) << at(11, 0) << 1 << 0 << at(9, 0);
        QTest::newRow("negative value") << at(9, 0) << at(11, 0) << 1 << -1 << at(9, 0);
        QTest::newRow("step 6") << at(9, 0) << at(11, 0) << 6 << 1 << at(9, 0);
        QTest::newRow("step 7") << at(9, 0) << at(11, 0) << 7 << 1 << at(9, 0);
    }

    void nextRunDate()
    {
        QFETCH(QDateTime, start);
        QFETCH(QDateTime, now);
        QFETCH(int, step);
        QFETCH(int, value);
        QTEST(Scheduler::GetNextRunDate(start, now, step, qint16(value)), "expected");
    }

    void eligibleOnArrival_data()
    {
        QTest::addColumn<DVMessage>("msg");
        QTest::addColumn<bool>("isLogon");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<int>("status");
        QTest::addColumn<QDateTime>("nextRun");
        // Arriving at 11:30:30.
        const auto m = [](qint16 delivery, const QDateTime &nextRun, const QDateTime &expiration = Later) {
            return message(QStringLiteral("M1"), delivery, nextRun, expiration);
        };
        DVMessage finished = m(DeliveryImmediate, at(9, 0));
        finished.Status = StatusFinished;
        QTest::newRow("not active") << finished << false << false << 4 << at(9, 0);
        QTest::newRow("logon in MSG") << m(1, at(9, 0)) << false << false << 1 << at(9, 0);
        QTest::newRow("logon in MSL") << m(1, at(9, 0)) << true << true << 1 << at(9, 0);
        QTest::newRow("immediate") << m(0, at(23, 0)) << false << true << 1 << at(23, 0);
        QTest::newRow("certified") << m(2, at(23, 0)) << false << true << 1 << at(23, 0);
        QTest::newRow("unknown code") << m(9, at(23, 0)) << false << true << 1 << at(23, 0);
        QTest::newRow("later") << m(3, at(11, 31)) << false << false << 1 << at(11, 31);
        QTest::newRow("this minute, seconds on the wire")
            << repeating(m(3, at(11, 30, 50)), 1, 0, true) << false << true << 1 << at(11, 30, 50);
        QTest::newRow("ordinary passed") << m(3, at(8, 0)) << false << true << 1 << at(8, 0);
        QTest::newRow("expired") << m(3, at(8, 0), at(11, 29)) << false << false << 2 << at(8, 0);
        QTest::newRow("expiring now") << m(3, at(8, 0), at(11, 30)) << false << true << 1 << at(8, 0);
        QTest::newRow("exact 09:00 passed, no repeat")
            << repeating(m(3, at(9, 0)), 1, 0, true) << false << false << 2 << at(9, 0);
        QTest::newRow("exact 09:00 passed, hourly")
            << repeating(m(3, at(9, 0)), 1, 1, true) << false << false << 1 << at(12, 0);
        QTest::newRow("exact passed, logon step")
            << repeating(m(3, at(9, 0)), 6, 1, true) << false << false << 1 << at(9, 0);
    }

    void eligibleOnArrival()
    {
        QFETCH(DVMessage, msg);
        QFETCH(bool, isLogon);
        FakeClock clock(at(11, 30, 30));
        QTEST(Scheduler::NewMsgEligible(msg, isLogon), "shown");
        QTEST(msg.Status, "status");
        QCOMPARE(msg.MsgAction, msg.Status == StatusExpired ? qint32(ActionDone) : qint32(ActionWaiting));
        QTEST(msg.NextRunDate, "nextRun");
    }

    void minuteTick()
    {
        Fixture f;
        f.store(Inbox, message(QStringLiteral("logon"), DeliveryLogon, at(23, 0)));
        f.store(Inbox, message(QStringLiteral("due"), DeliveryScheduled, at(10, 0)));
        f.store(Inbox,
                message(QStringLiteral("at1140"), DeliveryScheduled, FakeClock::at(2026, 11, 23, 11, 40)));
        const auto step = [&f](const QDateTime &now) {
            f.clock.set(now);
            f.frontend.displayed.clear();
            f.scheduler.tmrCedule_Timer();
            return f.frontend.displayed;
        };
        // The recorder leaves MsgAction at 0, so each scan shows "due" again.
        QCOMPARE(step(at(10, 30, 45)), (QStringList{QStringLiteral("logon"), QStringLiteral("due")}));
        QCOMPARE(f.scheduler.LastScanMinute, qint16(30));
        QCOMPARE(step(at(10, 30, 59)), QStringList());
        QCOMPARE(step(at(10, 31, 0)), QStringList{QStringLiteral("due")});
        QCOMPARE(step(at(11, 31, 20)), QStringList());
        QCOMPARE(step(at(11, 32, 1)), QStringList{QStringLiteral("due")});
        // Back in time: a scan, no logon scan, and the 11:40 message waits for 11:40.
        QCOMPARE(step(at(11, 20, 0)), QStringList{QStringLiteral("due")});
        QCOMPARE(step(at(11, 40, 0)), (QStringList{QStringLiteral("due"), QStringLiteral("at1140")}));
        QCOMPARE(f.scheduler.tmrCedule.interval(), 1000);
    }

    void scanMessagesPurgesAndMarks()
    {
        Fixture f;
        f.clock.set(at(10, 30, 59));
        f.store(Inbox, message(QStringLiteral("in-now"), DeliveryImmediate, at(23, 0), at(10, 30)));
        f.store(Inbox, message(QStringLiteral("in-later"), DeliveryImmediate, at(23, 0), at(10, 31)));
        f.store(InPkg, message(QStringLiteral("pkg-now"), DeliveryImmediate, at(23, 0), at(10, 30)));
        f.store(InPkg, message(QStringLiteral("pkg-due"), DeliveryImmediate, at(10, 0)));
        f.store(Outbox, message(QStringLiteral("out-week"), DeliveryImmediate, at(9, 0),
                                FakeClock::at(2026, 11, 16, 10, 30)));
        // A minute short of seven days past expiration: kept, and shown as expired.
        f.store(Outbox, message(QStringLiteral("out-recent"), DeliveryImmediate, at(9, 0),
                                FakeClock::at(2026, 11, 16, 10, 31)));
        f.store(Outbox, message(QStringLiteral("out-live"), DeliveryImmediate, at(9, 0)));
        f.store(Outbox, message(QStringLiteral("out-now"), DeliveryImmediate, at(9, 0), at(10, 30)));
        f.scheduler.ScanMessages();
        QVERIFY(!f.exists(Inbox, QStringLiteral("in-now")));
        QVERIFY(f.exists(Inbox, QStringLiteral("in-later")));
        QVERIFY(!f.exists(InPkg, QStringLiteral("pkg-now")));
        QVERIFY(!f.exists(Outbox, QStringLiteral("out-week")));
        QCOMPARE(GetMessage(ClientDB(), Outbox, QStringLiteral("out-recent")).Status, qint32(StatusExpired));
        QCOMPARE(GetMessage(ClientDB(), Outbox, QStringLiteral("out-now")).Status, qint32(StatusExpired));
        QCOMPARE(GetMessage(ClientDB(), Outbox, QStringLiteral("out-live")).Status, qint32(StatusActive));
        QCOMPARE(f.frontend.displayed, QStringList{QStringLiteral("pkg-due")});
    }

    void scanTable_data()
    {
        QTest::addColumn<bool>("exact");
        QTest::addColumn<int>("offset"); // minutes from now to NextRunDate
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("delivery");
        QTest::addColumn<int>("step");
        QTest::addColumn<bool>("shown");
        QTest::newRow("exact, a minute ago") << true << -1 << 0 << 3 << 2 << false;
        QTest::newRow("exact, this minute") << true << 0 << 0 << 3 << 2 << true;
        QTest::newRow("exact, next minute") << true << 1 << 0 << 3 << 2 << false;
        QTest::newRow("ordinary, an hour ago") << false << -60 << 0 << 3 << 2 << true;
        QTest::newRow("ordinary, this minute") << false << 0 << 0 << 3 << 2 << true;
        QTest::newRow("ordinary, next minute") << false << 1 << 0 << 3 << 2 << false;
        QTest::newRow("queued") << false << -1 << 1 << 3 << 2 << false;
        QTest::newRow("logon delivery") << false << -1 << 0 << 1 << 2 << false;
        QTest::newRow("repeat at logon") << false << -1 << 0 << 3 << 6 << false;
    }

    void scanTable()
    {
        QFETCH(bool, exact);
        QFETCH(int, offset);
        QFETCH(int, action);
        QFETCH(int, delivery);
        QFETCH(int, step);
        Fixture f;
        DVMessage m = message(QStringLiteral("M1"), qint16(delivery), at(10, 30).addSecs(offset * 60));
        m.ExactTime = exact;
        m.MsgAction = action;
        m.RepeatStep = step;
        f.store(Inbox, m);
        f.scheduler.ScanTable(ClientDB(), Inbox, at(10, 30));
        QTEST(f.frontend.displayed.contains(QStringLiteral("M1")), "shown");
    }

    void scanAtLogonAndFailures()
    {
        Fixture f;
        DVMessage repeating = message(QStringLiteral("repeat"), DeliveryImmediate, at(23, 0));
        repeating.RepeatStep = RepeatLogon;
        repeating.RepeatValue = 1;
        DVMessage notRepeating = repeating;
        notRepeating.MsgID = QStringLiteral("once");
        notRepeating.RepeatValue = 0;
        DVMessage acknowledged = message(QStringLiteral("acked"), DeliveryLogon, at(9, 0));
        acknowledged.Status = StatusFinished;
        f.store(Inbox, message(QStringLiteral("future"), DeliveryLogon, FakeClock::at(2027, 1, 1)));
        f.store(Inbox, repeating);
        f.store(Inbox, notRepeating);
        f.store(Inbox, acknowledged);
        f.store(InPkg, message(QStringLiteral("pkg"), DeliveryLogon, at(9, 0)));
        f.scheduler.ScanMessagesAtLogon();
        QCOMPARE(f.frontend.displayed,
                 (QStringList{QStringLiteral("future"), QStringLiteral("repeat"), QStringLiteral("pkg")}));
        QVERIFY(logText().contains(
            QStringLiteral("frmKorvanClient:ScanMessagesAtLogon - At Logon: Found package pkg\n")));

        // A closed store is logged by each operation and nothing more.
        ClientDB().close();
        f.scheduler.ScanMessagesAtLogon();
        f.scheduler.tmrCedule_Timer();
        DVMessage m = message(QStringLiteral("future"), DeliveryLogon, at(9, 0));
        f.scheduler.ComputeNextRunDate(m);
        f.scheduler.ComputePassedExactTime();
        const QString log = logText();
        QCOMPARE(log.count(QStringLiteral("frmKorvanClient:ScanMessagesAtLogon (rs2) - ")), 4);
        for (const char *operation :
             {"ExpiredDate", "ScanMessages", "ComputeNextRunDate", "ComputePassedExactTime"})
            QVERIFY2(log.contains(QStringLiteral("frmKorvanClient:") + QLatin1String(operation) +
                                  QStringLiteral(" - ")),
                     operation);
    }

    void nextRunOnAcknowledgement_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<int>("step");
        QTest::addColumn<int>("value");
        QTest::addColumn<QDateTime>("nextRun");
        QTest::addColumn<QDateTime>("expiration");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("action");
        QTest::addColumn<QDateTime>("storedNextRun");
        const QString level = QStringLiteral("Warning");
        const QDateTime jan31 = FakeClock::at(2026, 1, 31, 9, 0);
        const QDateTime later = FakeClock::at(2030, 1, 1);
        QTest::newRow("no repetition") << level << 2 << 0 << jan31 << later << 4 << 2 << jan31;
        QTest::newRow("monthly from 31 January")
            << level << 4 << 1 << jan31 << later << 1 << 0 << FakeClock::at(2026, 4, 28, 9, 0);
        QTest::newRow("next run past expiration")
            << level << 2 << 1 << jan31 << FakeClock::at(2026, 4, 1, 18, 0) << 4 << 2 << jan31;
        QTest::newRow("repeat at logon") << level << 6 << 1 << jan31 << later << 1 << 1 << jan31;
        QTest::newRow("no date unit") << level << 9 << 1 << jan31 << later << 4 << 2 << jan31;
        QTest::newRow("package") << QStringLiteral("sysKVPackage") << 0 << 30 << jan31 << later << 1 << 0
                                 << FakeClock::at(2026, 4, 1, 10, 30);
    }

    void nextRunOnAcknowledgement()
    {
        QFETCH(QString, level);
        QFETCH(int, step);
        QFETCH(int, value);
        QFETCH(QDateTime, nextRun);
        QFETCH(QDateTime, expiration);
        Fixture f;
        f.clock.set(FakeClock::at(2026, 4, 1, 10, 0, 30));
        DVMessage m = message(QStringLiteral("M1"), DeliveryScheduled, nextRun, expiration);
        m.MsgLevel = level;
        m.RepeatStep = step;
        m.RepeatValue = qint16(value);
        m.MsgAction = ActionQueued;
        const QString table = level == QLatin1String("sysKVPackage") ? InPkg : Inbox;
        f.store(table, m);
        f.scheduler.ComputeNextRunDate(m);
        const DVMessage stored = GetMessage(ClientDB(), table, QStringLiteral("M1"));
        QTEST(stored.Status, "status");
        QTEST(stored.MsgAction, "action");
        QTEST(stored.NextRunDate, "storedNextRun");
    }

    void passedExactTimeAtStart()
    {
        Fixture f;
        DVMessage hourly = message(QStringLiteral("hourly"), DeliveryScheduled, at(8, 0));
        hourly.ExactTime = true;
        hourly.RepeatStep = RepeatHours;
        hourly.RepeatValue = 1;
        DVMessage ending = hourly;
        ending.MsgID = QStringLiteral("ending");
        ending.ExpirationDate = at(10, 45);
        DVMessage once = hourly;
        once.MsgID = QStringLiteral("once");
        once.RepeatValue = 0;
        for (const DVMessage &m : {hourly, ending, once})
            f.store(Inbox, m);
        f.scheduler.ComputePassedExactTime();
        const auto row = [](const QString &id) { return GetMessage(ClientDB(), Inbox, id); };
        QCOMPARE(row(QStringLiteral("hourly")).NextRunDate, at(11, 0));
        QCOMPARE(row(QStringLiteral("hourly")).Status, qint32(StatusActive));
        QCOMPARE(row(QStringLiteral("ending")).Status, qint32(StatusFinished));
        QCOMPARE(row(QStringLiteral("ending")).MsgAction, qint32(ActionDone));
        QCOMPARE(row(QStringLiteral("once")).NextRunDate, at(8, 0));
        QCOMPARE(row(QStringLiteral("once")).Status, qint32(StatusActive));
    }

    void hostPerAddressRange()
    {
        Fixture f;
        gOptions().Server = QStringLiteral("old");
        gOptions().ClientPort = 1;
        f.scheduler.ProcessGATMessage(QStringLiteral("10.0.0.1:10.0.0.9:none:2;x"),
                                      QStringLiteral("10.0.1.7"));
        QCOMPARE(gOptions().Server, QStringLiteral("old"));
        QVERIFY(logText().contains(QStringLiteral("frmKorvanClient:ProcessGATMessage - No valid data")));
        f.scheduler.ProcessGATMessage(QStringLiteral("10.0.1.1:10.0.1.9:bad;10.0.1.1:10.0.1.9:first:4100;"
                                                     "10.0.0.0:10.0.9.9:second:4200"),
                                      QStringLiteral("10.0.1.7"));
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.Server, QStringLiteral("first"));
        QCOMPARE(reread.ClientPort, 4100);
        QVERIFY(
            logText().contains(QStringLiteral("frmKorvanClient:ProcessGATMessage - Host=first Port=4100")));
    }
};

QTEST_GUILESS_MAIN(TestScheduling)
#include "tst_scheduling.moc"
