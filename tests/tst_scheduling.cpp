// When stored messages are due: the minute tick, the scans, the judgement on arrival, the calendar.
#include "core/Options.h"
#include "delivery/Scheduler.h"
#include "store/MessageCodes.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString Inbox = u"Inbox"_s;
const QString InPkg = u"InPkg"_s;
const QString Outbox = u"Outbox"_s;
const QDateTime Later = FakeClock::at(2030, 1, 1);

QDateTime at(int hour, int minute, int second = 0)
{
    return FakeClock::at(2026, 11, 23, hour, minute, second);
}

DVMessage message(const QString &id, qint16 delivery, const QDateTime &nextRun,
                  const QDateTime &expiration = Later, qint32 status = StatusActive)
{
    DVMessage m;
    m.MsgID = id;
    m.MsgLevel = u"Warning"_s;
    m.MsgDelivery = delivery;
    m.ExpirationDate = expiration;
    m.Status = status;
    m.NextRunDate = nextRun;
    return m;
}

DVMessage repeating(DVMessage m, qint32 step, qint16 value, bool exact = false)
{
    m.RepeatStep = step;
    m.RepeatValue = value;
    m.ExactTime = exact;
    return m;
}

struct Fixture : StoreFixture
{
    RecordingFrontend frontend;
    Scheduler scheduler;

    Fixture() { gOptions().setIniPath(profile.configHome() + u"/KorvaneClient.ini"_s); }
    void store(const QString &table, std::initializer_list<DVMessage> messages)
    {
        for (const DVMessage &m : messages)
            QVERIFY(SaveMessage(ClientDB(), table, m, true, true));
    }
    DVMessage row(const QString &table, const QString &id) { return GetMessage(ClientDB(), table, id); }
    QStringList statuses(const QString &table)
    {
        return column(ClientDB(), u"SELECT MsgID || '=' || Status FROM "_s + table + u" ORDER BY MsgID"_s);
    }
};

} // namespace

class TestScheduling : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Ticker::setManual(true); }

    void nextRunDateAndEligibility()
    {
        const std::tuple<QDateTime, QDateTime, int, int, QDateTime> cases[] = {
            {at(9, 0), at(9, 7), RepeatMinutes, 5, at(9, 10)},
            {at(9, 0), at(11, 30), RepeatHours, 1, at(12, 0)},
            // Days over midnight; a date equal to now is moved on.
            {FakeClock::at(2026, 11, 20, 23, 30), at(23, 30), RepeatDays, 1,
             FakeClock::at(2026, 11, 24, 23, 30)},
            {FakeClock::at(2026, 11, 2, 8, 15), at(8, 14), RepeatWeeks, 1, at(8, 15)},
            // The clamp to 29 February stays; years from a leap day.
            {FakeClock::at(2028, 1, 31), FakeClock::at(2028, 5, 1), RepeatMonths, 1,
             FakeClock::at(2028, 5, 29)},
            {FakeClock::at(2024, 2, 29), FakeClock::at(2026, 1, 1), RepeatYears, 1,
             FakeClock::at(2026, 2, 28)},
            // Already later, no value, no unit: unchanged.
            {at(12, 0), at(9, 0), RepeatHours, 1, at(12, 0)},
            {at(9, 0), at(11, 0), RepeatHours, 0, at(9, 0)},
            {at(9, 0), at(11, 0), RepeatLogon, 1, at(9, 0)},
        };
        for (const auto &[start, now, step, value, expected] : cases)
            QCOMPARE(Scheduler::GetNextRunDate(start, now, step, qint16(value)), expected);

        // Arriving at 11:30:30: shown or not, and the status and next run it is left with.
        FakeClock clock(at(11, 30, 30));
        const auto m = [](qint16 delivery, const QDateTime &nextRun, const QDateTime &expiration = Later) {
            return message(u"M1"_s, delivery, nextRun, expiration);
        };
        const std::tuple<const char *, DVMessage, bool, bool, int, QDateTime> arrivals[] = {
            {"not active", message(u"M1"_s, 0, at(9, 0), Later, StatusFinished), false, false, 4, at(9, 0)},
            {"logon in MSG", m(1, at(9, 0)), false, false, 1, at(9, 0)},
            {"logon in MSL", m(1, at(9, 0)), true, true, 1, at(9, 0)},
            {"immediate", m(0, at(23, 0)), false, true, 1, at(23, 0)},
            {"later", m(3, at(11, 31)), false, false, 1, at(11, 31)},
            {"this minute, seconds on the wire", repeating(m(3, at(11, 30, 50)), 1, 0, true), false, true, 1,
             at(11, 30, 50)},
            {"ordinary passed", m(3, at(8, 0)), false, true, 1, at(8, 0)},
            {"expired", m(3, at(8, 0), at(11, 29)), false, false, 2, at(8, 0)},
            {"expiring now", m(3, at(8, 0), at(11, 30)), false, true, 1, at(8, 0)},
            {"exact passed, no repeat", repeating(m(3, at(9, 0)), 1, 0, true), false, false, 2, at(9, 0)},
            {"exact passed, hourly", repeating(m(3, at(9, 0)), 1, 1, true), false, false, 1, at(12, 0)},
            {"exact passed, logon step", repeating(m(3, at(9, 0)), 6, 1, true), false, false, 1, at(9, 0)},
        };
        for (auto [name, msg, isLogon, shown, status, nextRun] : arrivals) {
            QVERIFY2(Scheduler::NewMsgEligible(msg, isLogon) == shown, name);
            QCOMPARE(
                (QVariantList{msg.Status, msg.MsgAction, msg.NextRunDate}),
                (QVariantList{status, int(status == StatusExpired ? ActionDone : ActionWaiting), nextRun}));
        }
    }

    void minuteTick()
    {
        Fixture f;
        f.store(Inbox, {message(u"logon"_s, DeliveryLogon, at(23, 0)),
                        message(u"due"_s, DeliveryScheduled, at(10, 0)),
                        message(u"at1140"_s, DeliveryScheduled, at(11, 40))});
        const auto step = [&f](const QDateTime &now) {
            f.clock.set(now);
            f.frontend.displayed.clear();
            f.scheduler.tmrCedule_Timer();
            return f.frontend.displayed;
        };
        QCOMPARE(step(at(10, 30, 45)), (QStringList{u"logon"_s, u"due"_s}));
        QCOMPARE(f.scheduler.LastScanMinute, qint16(30));
        // MsgAction stays 0, so each scan shows "due" again; back in time: a scan but no logon scan.
        const QStringList due{u"due"_s};
        QCOMPARE((QList<QStringList>{step(at(10, 30, 59)), step(at(10, 31, 0)), step(at(11, 31, 20)),
                                     step(at(11, 32, 1)), step(at(11, 20, 0)), step(at(11, 40, 0))}),
                 (QList<QStringList>{{}, due, {}, due, due, {u"due"_s, u"at1140"_s}}));
    }

    void scansPurgeMarkAndShow()
    {
        Fixture f;
        f.clock.set(at(10, 30, 59));
        f.store(Inbox, {message(u"in-now"_s, DeliveryImmediate, at(23, 0), at(10, 30)),
                        message(u"in-later"_s, DeliveryImmediate, at(23, 0), at(10, 31))});
        f.store(InPkg, {message(u"pkg-now"_s, DeliveryImmediate, at(23, 0), at(10, 30)),
                        message(u"pkg-due"_s, DeliveryImmediate, at(10, 0))});
        const QDateTime weekAgo = FakeClock::at(2026, 11, 16, 10, 30);
        f.store(Outbox, {message(u"out-week"_s, DeliveryImmediate, at(9, 0), weekAgo),
                         message(u"out-recent"_s, DeliveryImmediate, at(9, 0), weekAgo.addSecs(60)),
                         message(u"out-now"_s, DeliveryImmediate, at(9, 0), at(10, 30)),
                         message(u"out-live"_s, DeliveryImmediate, at(9, 0))});
        f.scheduler.ScanMessages();
        QCOMPARE(f.statuses(Inbox), QStringList{u"in-later=1"_s});
        QCOMPARE(f.statuses(InPkg), QStringList{u"pkg-due=1"_s});
        // The author's copies show as expired (2) until seven days have passed.
        QCOMPARE(f.statuses(Outbox), (QStringList{u"out-live=1"_s, u"out-now=2"_s, u"out-recent=2"_s}));
        QCOMPARE(f.frontend.displayed, QStringList{u"pkg-due"_s});

        // An exact time is kept only in its own minute; an ordinary one any time after.
        f.frontend.displayed.clear();
        const QStringList ids{u"exact-before"_s, u"exact-now"_s, u"exact-after"_s, u"past"_s,
                              u"now"_s,          u"after"_s,     u"queued"_s};
        const int minutes[] = {-1, 0, 1, -60, 0, 1, -1};
        for (int n = 0; n < ids.size(); ++n) {
            DVMessage m = repeating(message(ids[n], DeliveryScheduled, at(10, 30).addSecs(minutes[n] * 60)),
                                    RepeatDays, 0, n < 3);
            m.MsgAction = ids[n] == u"queued"_s ? ActionQueued : ActionWaiting;
            f.store(Inbox, {m});
        }
        f.store(Inbox, {message(u"logon"_s, DeliveryLogon, at(10, 0)),
                        repeating(message(u"at-logon"_s, DeliveryScheduled, at(10, 0)), RepeatLogon, 1)});
        f.scheduler.ScanTable(ClientDB(), Inbox, at(10, 30));
        QCOMPARE(f.frontend.displayed, (QStringList{u"exact-now"_s, u"past"_s, u"now"_s}));
    }

    void scanAtLogonAndFailures()
    {
        Fixture f;
        DVMessage acknowledged = message(u"acked"_s, DeliveryLogon, at(9, 0), Later, StatusFinished);
        f.store(Inbox, {message(u"future"_s, DeliveryLogon, FakeClock::at(2027, 1, 1)),
                        repeating(message(u"repeat"_s, DeliveryImmediate, at(23, 0)), 6, 1),
                        repeating(message(u"once"_s, DeliveryImmediate, at(23, 0)), 6, 0), acknowledged});
        f.store(InPkg, {message(u"pkg"_s, DeliveryLogon, at(9, 0))});
        f.scheduler.ScanMessagesAtLogon();
        QCOMPARE(f.frontend.displayed, (QStringList{u"future"_s, u"repeat"_s, u"pkg"_s}));

        // A closed store is logged by each operation and nothing more.
        ClientDB().close();
        f.scheduler.tmrCedule_Timer();
        f.scheduler.ComputeNextRunDate(acknowledged);
        f.scheduler.ComputePassedExactTime();
        for (const char *operation :
             {"ScanMessagesAtLogon (rs2)", "ExpiredDate", "ComputeNextRunDate", "ComputePassedExactTime"})
            QVERIFY2(logText().contains(u"frmKorvanClient:"_s + QLatin1String(operation) + u" - "_s),
                     operation);
    }

    // Shown and now acknowledged on 1 April, 10:00:30: the status, action and next run stored.
    void nextRunOnAcknowledgement()
    {
        const QDateTime jan31 = FakeClock::at(2026, 1, 31, 9, 0);
        const auto m = [&jan31](qint32 step, qint16 value, const QDateTime &expiration = Later) {
            DVMessage shown = repeating(message(u"M1"_s, DeliveryScheduled, jan31, expiration), step, value);
            shown.MsgAction = ActionQueued;
            return shown;
        };
        DVMessage package = m(RepeatMinutes, 30);
        package.MsgLevel = u"sysKVPackage"_s;
        const std::tuple<const char *, DVMessage, int, int, QDateTime> cases[] = {
            {"no repetition", m(RepeatDays, 0), 4, 2, jan31},
            {"monthly from 31 January", m(RepeatMonths, 1), 1, 0, FakeClock::at(2026, 4, 28, 9, 0)},
            {"past expiration", m(RepeatDays, 1, FakeClock::at(2026, 4, 1, 18, 0)), 4, 2, jan31},
            {"repeat at logon", m(RepeatLogon, 1), 1, 1, jan31},
            {"no date unit", m(9, 1), 4, 2, jan31},
            {"package", package, 1, 0, FakeClock::at(2026, 4, 1, 10, 30)},
        };
        for (auto [name, msg, status, action, nextRun] : cases) {
            Fixture f;
            f.clock.set(FakeClock::at(2026, 4, 1, 10, 0, 30));
            const QString table = msg.MsgLevel == QLatin1String("sysKVPackage") ? InPkg : Inbox;
            f.store(table, {msg});
            f.scheduler.ComputeNextRunDate(msg);
            const DVMessage stored = f.row(table, msg.MsgID);
            QCOMPARE((QVariantList{QLatin1String(name), stored.Status, stored.MsgAction, stored.NextRunDate}),
                     (QVariantList{QLatin1String(name), status, action, nextRun}));
        }
    }

    void passedExactTimeAndHostAtStart()
    {
        Fixture f;
        const auto exact = [](const char *id, qint16 value, const QDateTime &expiration = Later) {
            return repeating(message(QLatin1String(id), DeliveryScheduled, at(8, 0), expiration), RepeatHours,
                             value, true);
        };
        f.store(Inbox, {exact("hourly", 1), exact("ending", 1, at(10, 45)), exact("once", 0)});
        f.scheduler.ComputePassedExactTime();
        QCOMPARE(f.statuses(Inbox), (QStringList{u"ending=4"_s, u"hourly=1"_s, u"once=1"_s}));
        QCOMPARE((QVariantList{f.row(Inbox, u"ending"_s).MsgAction, f.row(Inbox, u"hourly"_s).NextRunDate,
                               f.row(Inbox, u"once"_s).NextRunDate}),
                 (QVariantList{qint32(ActionDone), at(11, 0), at(8, 0)}));

        // The host per address range: the ranges compare addresses in order, not number by number.
        const QString local = u"10.0.1.200"_s;
        gOptions().Server = u"old"_s;
        f.scheduler.ProcessGATMessage(u"10.0.0.1:10.0.0.9:none:2;x"_s, local);
        QCOMPARE(gOptions().Server, u"old"_s);
        // A bound with a part that is no number holds no address.
        f.scheduler.ProcessGATMessage(u"10.0.1.1:10.0.2.9:bad;10.0.1.1:10.0.1.199:below:4000;"
                                      "10.0.1.x:10.0.2.9:notanumber:4050;"
                                      "10.0.1.1:10.0.2.9:first:4100;10.0.0.0:10.0.9.9:second:4200"_s,
                                      local);
        Options reread;
        reread.setIniPath(gOptions().iniPath());
        reread.ReadOptions();
        QCOMPARE(reread.Server + u':' + QString::number(reread.ClientPort), u"first:4100"_s);
    }
};

QTEST_GUILESS_MAIN(TestScheduling)
#include "tst_scheduling.moc"
