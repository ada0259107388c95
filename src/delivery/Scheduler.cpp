#include "delivery/Scheduler.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "delivery/Targeting.h"
#include "store/DBFunctions.h"
#include "store/DVMessage.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QList>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QStringList>

#include <optional>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");
const QString Inbox = QStringLiteral("Inbox");
const QString InPkg = QStringLiteral("InPkg");
const QString Outbox = QStringLiteral("Outbox");
const QString OutPkg = QStringLiteral("OutPkg");

QDateTime minuteNow()
{
    return DateText::TruncateToMinute(Clock::now());
}

QString boolText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

QString dateText(const QDateTime &value)
{
    return DateText::DateToText(value);
}

void logFailure(const QString &operation, const Database &database)
{
    WriteLog(Form + operation + QStringLiteral(" - ") + database.lastError());
}

// Table names are spliced into the statement, so only plain names pass.
bool plainName(const QString &tableName)
{
    static const QRegularExpression name(QStringLiteral("^[A-Za-z]+$"));
    return name.match(tableName).hasMatch();
}

// Seconds of one unit of the steps whose length never varies: our dates carry no
// zone, so a day is always 86400 seconds. Zero for calendar units.
qint64 fixedSeconds(qint32 step)
{
    switch (step) {
    case RepeatMinutes:
        return 60;
    case RepeatHours:
        return 3600;
    case RepeatDays:
        return 86400;
    case RepeatWeeks:
        return 7 * 86400;
    default:
        return 0;
    }
}

// The first run strictly after now, adding the step again and again from the
// last result; a day that a short month clamped stays clamped. Fixed units jump
// straight to the same result, so a zero date does not loop millions of times.
// Moved is false when the date had to move and could not: a step that is no date
// unit, a count below 1, an unset date.
QDateTime firstRunAfter(QDateTime date, const QDateTime &now, qint32 step, qint16 value, bool &moved)
{
    moved = true;
    if (date.isValid() && date > now)
        return date;
    if (!date.isValid() || value < 1 || step < RepeatMinutes || step > RepeatYears) {
        moved = false;
        return date;
    }
    if (const qint64 unit = fixedSeconds(step) * value) {
        const qint64 steps = date.secsTo(now) / unit + 1;
        return date.addSecs(steps * unit);
    }
    while (date <= now)
        date = step == RepeatMonths ? date.addMonths(value) : date.addYears(value);
    return date;
}

// The rows are read in full before any is shown: the banner may write to the
// same table while it takes them.
std::optional<QList<DVMessage>> readMessages(Database &database, const QString &sql,
                                             const QVariantList &values)
{
    QSqlQuery *rows = database.query(sql, values);
    if (!rows)
        return std::nullopt;
    QList<DVMessage> messages;
    while (rows->next())
        messages << rs2Message(*rows);
    rows->finish();
    return messages;
}

void show(const DVMessage &msg)
{
    if (Frontend *frontend = Frontend::current())
        frontend->AddMessageToDisplay(msg);
}

// Sets the row's state; the next run goes with it only when given.
bool post(Database &database, const QString &tableName, const QString &msgID, qint32 action, qint32 status,
          const std::optional<QDateTime> &nextRun = std::nullopt)
{
    if (nextRun)
        return database.exec(
            QStringLiteral("UPDATE ") + tableName +
                QStringLiteral(" SET MsgAction = ?, Status = ?, NextRunDate = ? WHERE MsgID = ?"),
            {action, status, StoredDate(DateText::TruncateToMinute(*nextRun)), msgID});
    return database.exec(QStringLiteral("UPDATE ") + tableName +
                             QStringLiteral(" SET MsgAction = ?, Status = ? WHERE MsgID = ?"),
                         {action, status, msgID});
}

} // namespace

Scheduler::Scheduler() : tmrCedule(1000, [this] { tmrCedule_Timer(); }) {}

void Scheduler::tmrCedule_Timer()
{
    if (LastScanMinute == -1)
        ScanMessagesAtLogon();
    // Only the minute number counts: a pause of exactly an hour goes unnoticed.
    const auto minute = static_cast<qint16>(Clock::now().time().minute());
    if (LastScanMinute != minute) {
        LastScanMinute = minute;
        ScanMessages();
    }
}

void Scheduler::ScanMessages()
{
    Database &client = ClientDB();
    const QDateTime now = minuteNow();
    // An expired message leaves the receiver's store in its minute, whatever
    // DeleteAtExpiration says; the author's copies stay seven days more.
    const QString received = StoredDate(now);
    const QString authored = StoredDate(minuteNow().addDays(-7));
    const QString sql = QStringLiteral("DELETE FROM %1 WHERE ExpirationDate <= ?");
    if (!client.exec(sql.arg(Inbox), {received}) || !client.exec(sql.arg(InPkg), {received}) ||
        !client.exec(sql.arg(Outbox), {authored}) || !client.exec(sql.arg(OutPkg), {authored})) {
        logFailure(QStringLiteral("ScanMessages"), client);
        return;
    }
    ExpiredDate(now);
    ScanTable(client, Inbox, now);
    ScanTable(client, InPkg, now);
}

void Scheduler::ExpiredDate(const QDateTime &now)
{
    Database &client = ClientDB();
    const QString sql = QStringLiteral("UPDATE %1 SET Status = ? WHERE ExpirationDate <= ? AND Status <> ?");
    const QVariantList values = {StatusExpired, StoredDate(now), StatusExpired};
    if (!client.exec(sql.arg(Outbox), values) || !client.exec(sql.arg(OutPkg), values))
        logFailure(QStringLiteral("ExpiredDate"), client);
}

void Scheduler::ScanTable(Database &database, const QString &tableName, const QDateTime &now)
{
    const QString operation = QStringLiteral("ScanTable");
    if (!plainName(tableName)) {
        WriteLog(Form + operation + QStringLiteral(" - ") + tableName + QStringLiteral(" is no table"));
        return;
    }
    // Candidates only: what is due by this minute's end; the exact-time rule
    // then keeps those whose very minute it is.
    QSqlQuery *rows = database.query(
        QStringLiteral("SELECT * FROM ") + tableName +
            QStringLiteral(" WHERE MsgAction = ? AND Status = ? AND MsgDelivery <> ? AND RepeatStep <> ?"
                           " AND NextRunDate < ? ORDER BY rowid"),
        {ActionWaiting, StatusActive, DeliveryLogon, RepeatLogon, StoredDate(now.addSecs(60))});
    if (!rows) {
        logFailure(operation, database);
        return;
    }
    QList<DVMessage> due;
    while (rows->next()) {
        const bool exactTime = rows->value(QStringLiteral("ExactTime")).toBool();
        const QDateTime nextRun =
            DateText::TruncateToMinute(DateFromStore(rows->value(QStringLiteral("NextRunDate"))));
        const qint64 minutes = now.secsTo(nextRun) / 60;
        if (exactTime ? minutes == 0 : minutes <= 0)
            due << rs2Message(*rows);
    }
    rows->finish();
    for (const DVMessage &msg : std::as_const(due))
        show(msg);
}

void Scheduler::ScanMessagesAtLogon()
{
    const QString operation = QStringLiteral("ScanMessagesAtLogon");
    TraceLog(Form + operation);
    ExpiredDate(minuteNow());

    Database &client = ClientDB();
    struct Pass
    {
        QString where;
        QVariantList values;
        QString found;
    };
    const QList<Pass> passes = {
        {QStringLiteral("MsgDelivery = ? AND Status = ?"),
         {DeliveryLogon, StatusActive},
         QStringLiteral(" - At Logon: Found ")},
        {QStringLiteral("MsgDelivery <> ? AND RepeatValue > 0 AND RepeatStep = ? AND Status = ?"),
         {DeliveryLogon, RepeatLogon, StatusActive},
         QStringLiteral(" - Repeat at Logon: Found ")},
    };
    const QList<std::pair<QString, QString>> tables = {{Inbox, QStringLiteral("message ")},
                                                       {InPkg, QStringLiteral("package ")}};
    for (const auto &[table, kind] : tables) {
        // No date is tested: these are due at every start.
        for (const Pass &pass : passes) {
            const auto rows =
                readMessages(client,
                             QStringLiteral("SELECT * FROM ") + table + QStringLiteral(" WHERE ") +
                                 pass.where + QStringLiteral(" ORDER BY rowid"),
                             pass.values);
            if (!rows) {
                // A failing table ends its own passes; the next is still tried.
                logFailure(operation + QStringLiteral(" (rs2)"), client);
                break;
            }
            for (const DVMessage &msg : *rows) {
                TraceLog(Form + operation + pass.found + kind + msg.MsgID);
                show(msg);
            }
        }
    }
}

bool Scheduler::NewMsgEligible(DVMessage &msg, bool isLogon)
{
    const QString name = Form + QStringLiteral("NewMsgEligible - ");
    TraceLog(name + QStringLiteral("MsgID: ") + msg.MsgID + QStringLiteral(", Logon: ") + boolText(isLogon));
    if (msg.Status != StatusActive) {
        TraceLog(name + QStringLiteral("Not active"));
        return false;
    }
    if (msg.MsgDelivery == DeliveryLogon) {
        TraceLog(name + QStringLiteral("Logon delivery"));
        return isLogon;
    }
    if (msg.MsgDelivery != DeliveryScheduled) {
        TraceLog(name + QStringLiteral("Immediate or Certified delivery"));
        return true;
    }
    TraceLog(name + QStringLiteral("Scheduled delivery"));
    const QDateTime now = minuteNow();
    // Compared at the minute, so that seconds on the wire don't put off a
    // message due in this very minute.
    QDateTime next = DateText::TruncateToMinute(msg.NextRunDate);
    if (msg.ExactTime && next < now) {
        TraceLog(name + QStringLiteral("Exact time - Computing Next Run Date"));
        next = GetNextRunDate(next, now, msg.RepeatStep, msg.RepeatValue);
        msg.NextRunDate = next;
    }
    if (msg.ExpirationDate < now) {
        TraceLog(name + QStringLiteral("Message expired (Now=") + dateText(now) +
                 QStringLiteral(",Expiration=") + dateText(msg.ExpirationDate) + QLatin1Char(')'));
        msg.MsgAction = ActionDone;
        msg.Status = StatusExpired;
        return false;
    }
    if (next > now) {
        TraceLog(name + QStringLiteral("Scheduled later (Now=") + dateText(now) +
                 QStringLiteral(",NextRunDate=") + dateText(next) + QLatin1Char(')'));
        return false;
    }
    if (!msg.ExactTime || next == now) {
        TraceLog(name + QStringLiteral("To be displayed"));
        return true;
    }
    // Exact time still passed: no repetition, or a step that is no date unit.
    TraceLog(name + QStringLiteral("Exact time - Date passed"));
    if (msg.RepeatValue <= 0) {
        msg.MsgAction = ActionDone;
        msg.Status = StatusExpired;
    }
    return false;
}

QDateTime Scheduler::GetNextRunDate(const QDateTime &start, const QDateTime &now, qint32 step, qint16 value)
{
    const QString name = Form + QStringLiteral("GetNextRunDate - ");
    TraceLog(name + QStringLiteral("Original Date: ") + dateText(start));
    if (value == 0) {
        TraceLog(name + QStringLiteral("RepeatValue=0 - No computation required."));
        return start;
    }
    // A step outside minutes to years (Logon among them) or a negative count
    // would never get past now: Start comes back as it was.
    bool moved = false;
    QDateTime next = firstRunAfter(start, now, step, value, moved);
    if (!moved)
        next = start;
    TraceLog(name + QStringLiteral("AFTER: ") + dateText(next));
    return next;
}

void Scheduler::ComputeNextRunDate(DVMessage &msg)
{
    const QString operation = QStringLiteral("ComputeNextRunDate");
    TraceLog(Form + operation);
    Database &client = ClientDB();
    const QString table = msg.MsgLevel == QLatin1String("sysKVPackage") ? InPkg : Inbox;
    QSqlQuery *row = client.query(
        QStringLiteral("SELECT 1 FROM ") + table + QStringLiteral(" WHERE MsgID = ?"), {msg.MsgID});
    if (!row) {
        logFailure(operation, client);
        return;
    }
    const bool found = row->next();
    row->finish();
    if (!found)
        return;

    bool posted = true;
    if (msg.RepeatValue == 0) {
        posted = post(client, table, msg.MsgID, ActionDone, StatusFinished);
    } else {
        msg.MsgAction = ActionWaiting;
        msg.Status = StatusActive;
        const QDateTime now = minuteNow();
        // A repeat at logon keeps MsgAction 1 in the row until the next start
        // turns it back to 0.
        if (msg.RepeatStep == RepeatLogon)
            return;
        bool moved = false;
        msg.NextRunDate = firstRunAfter(DateText::TruncateToMinute(msg.NextRunDate), now, msg.RepeatStep,
                                        msg.RepeatValue, moved);
        // A step that cannot move the date on has no further run either.
        if (moved && msg.NextRunDate <= msg.ExpirationDate)
            posted = post(client, table, msg.MsgID, ActionWaiting, StatusActive, msg.NextRunDate);
        else
            posted = post(client, table, msg.MsgID, ActionDone, StatusFinished);
    }
    if (!posted)
        logFailure(operation, client);
}

void Scheduler::ComputePassedExactTime()
{
    const QString operation = QStringLiteral("ComputePassedExactTime");
    TraceLog(Form + operation);
    const QDateTime now = minuteNow();
    Database &client = ClientDB();
    const auto rows = readMessages(
        client,
        QStringLiteral("SELECT * FROM Inbox WHERE ExactTime = 1 AND NextRunDate < ? AND RepeatValue > 0"
                       " AND Status = ? AND RepeatStep <> ?"),
        {StoredDate(now), StatusActive, RepeatLogon});
    if (!rows) {
        logFailure(operation, client);
        return;
    }
    for (const DVMessage &msg : *rows) {
        const QDateTime next = GetNextRunDate(msg.NextRunDate, now, msg.RepeatStep, msg.RepeatValue);
        const bool posted = next <= msg.ExpirationDate
                                ? post(client, Inbox, msg.MsgID, ActionWaiting, StatusActive, next)
                                : post(client, Inbox, msg.MsgID, ActionDone, StatusFinished);
        if (!posted) {
            logFailure(operation, client);
            return;
        }
    }
}

void Scheduler::ProcessGATMessage(const QString &data, const QString &localIP)
{
    const QString name = Form + QStringLiteral("ProcessGATMessage");
    TraceLog(name);
    // No command of the server reaches this today; the engine keeps it for the
    // servers that hand out a host per address range.
    const QStringList entries = data.split(QLatin1Char(';'));
    for (const QString &entry : entries) {
        const QStringList fields = entry.split(QLatin1Char(':'));
        if (fields.size() < 4)
            continue;
        bool ok = false;
        const int port = fields[3].trimmed().toInt(&ok);
        if (!ok || !Targeting::CheckIPRange(fields[0], fields[1], localIP))
            continue;
        Options &options = gOptions();
        options.Server = fields[2];
        options.ClientPort = port;
        options.SaveOptions();
        TraceLog(name + QStringLiteral(" - Host=") + fields[2] + QStringLiteral(" Port=") +
                 QString::number(port));
        return;
    }
    TraceLog(name + QStringLiteral(" - No valid data"));
}
