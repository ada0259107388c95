#pragma once

#include "core/Ticker.h"

#include <QDateTime>
#include <QString>

class Database;
class DVMessage;

// Decides when a stored message is due. There is no timer per message: a tick a
// second notices the change of the minute and scans the tables, and every moment
// is compared at the grain of the minute.
class Scheduler final
{
public:
    Scheduler();
    Scheduler(const Scheduler &) = delete;
    Scheduler &operator=(const Scheduler &) = delete;

    // Enabled by the engine at the very end of its load.
    Ticker tmrCedule;
    // The minute number (0 to 59) of the last scan; -1 until the first tick.
    qint16 LastScanMinute = -1;

    void tmrCedule_Timer();

    void ScanMessages();
    // Marks the author's copies that passed their expiration.
    void ExpiredDate(const QDateTime &now);
    void ScanTable(Database &database, const QString &tableName, const QDateTime &now);
    // Once per start: logon deliveries and repeat-at-logon rows, whatever their dates.
    void ScanMessagesAtLogon();
    // At the end of the engine's load: moves on the exact-time repetitions that
    // passed while the client was off.
    void ComputePassedExactTime();

    // Judges a message on arrival, and may change its Status, MsgAction and
    // NextRunDate. True when it is to be shown now.
    static bool NewMsgEligible(DVMessage &msg, bool isLogon);
    // The first run strictly after now, stepping from start by the calendar.
    static QDateTime GetNextRunDate(const QDateTime &start, const QDateTime &now, qint32 step, qint16 value);
    // On acknowledgement: the next run of the stored row, or its end.
    void ComputeNextRunDate(DVMessage &msg);

    // The server's list "low:high:host:port;..." of where each address range connects.
    void ProcessGATMessage(const QString &data, const QString &localIP);
};
