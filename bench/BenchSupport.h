#pragma once

#include "store/DVMessage.h"
#include "store/MessageCodes.h"

#include <QDateTime>
#include <QString>

// A record as a typical message: a subject, a sentence or two, a level, a
// target of a few entries, dates.
inline DVMessage typicalRecord(int n)
{
    DVMessage m;
    m.MsgID = QStringLiteral("M%1").arg(n, 13, 10, QLatin1Char('0'));
    m.Subject = QStringLiteral("Maintenance window");
    m.Message =
        QStringLiteral("The mail servers restart tonight at 22:00; save your work and close the client "
                       "applications before you leave. Thank you.");
    m.MsgLevel = QStringLiteral("Warning");
    m.UserID = QStringLiteral("it-ops");
    m.UserName = QStringLiteral("IT Operations");
    m.MachineID = QStringLiteral("ops-pc-01");
    m.Target = QStringLiteral("sales,support,10.0.0.1-10.0.9.254");
    m.ReceiptRequired = true;
    m.DeleteAtExpiration = true;
    m.Status = StatusActive;
    m.CreationDate = QDateTime(QDate(2026, 11, 23), QTime(8, 0), Qt::UTC);
    m.StartDate = m.CreationDate;
    m.NextRunDate = m.CreationDate;
    m.ExpirationDate = QDateTime(QDate(2099, 1, 1), QTime(0, 0), Qt::UTC);
    return m;
}
