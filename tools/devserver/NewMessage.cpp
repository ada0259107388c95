#include "NewMessage.h"

#include "store/DVMessage.h"

#include <QDateTime>

namespace NewMessage {

DVMessage compose(const QString &id, const QString &from, const QString &target, const QString &level,
                  const QString &text, const QDateTime &now, int lifetimeDays)
{
    // A new DVMessage is all zero; these are the values a composer would give it.
    DVMessage message;
    message.MsgID = id;
    message.Subject = text.left(30);
    message.Message = text;
    message.MsgLevel = level;
    message.AllowReply = true;
    message.ReceiptRequired = true;
    // The author hears of each reader: what a person trying the server wants to see.
    message.Notify = true;
    message.CreationDate = now;
    message.ModificationDate = now;
    message.StartDate = now;
    message.NextRunDate = now;
    message.ExpirationDate = now.addDays(qMax(1, lifetimeDays));
    message.DeleteAtExpiration = true;
    message.RepeatStep = 2;
    message.UserID = from;
    message.UserName = from;
    message.MachineID = QStringLiteral("devserver");
    message.Target = target;
    message.Status = 1;
    return message;
}

} // namespace NewMessage
