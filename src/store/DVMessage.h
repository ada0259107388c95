#pragma once

#include "store/DateText.h"

#include <QDateTime>
#include <QString>

// The one record of messages, packages, replies and templates, with its text
// form on the wire. A new object has every field zero; only ToObject sets the
// defaults.
class DVMessage
{
public:
    QString MsgID;
    QString RefID;
    QString InitID;
    QString Subject;
    QString Message;
    QString MsgLevel;
    qint16 MsgDelivery = 0;
    QString Attachment;
    bool AllowReply = false;
    bool ReceiptRequired = false;
    QDateTime CreationDate = DateText::ZeroDate();
    QDateTime ModificationDate = DateText::ZeroDate();
    QDateTime StartDate = DateText::ZeroDate();
    QDateTime ExpirationDate = DateText::ZeroDate();
    bool DeleteAtExpiration = false;
    qint16 RepeatValue = 0;
    qint32 RepeatStep = 0;
    QString UserID;
    QString UserName;
    QString MachineID;
    QString Target;
    qint32 Status = 0;
    bool Notify = false;
    bool ExactTime = false;
    // Local processing state and schedule: never on the wire.
    qint32 MsgAction = 0;
    QDateTime NextRunDate = DateText::ZeroDate();
    // Only on the wire and in memory, never stored.
    QString Agent;

    // Parses the text form over the defaults. Never fails: a malformed field
    // loses only itself.
    void ToObject(const QString &text);
    QString ToString() const;
    // Leaves out ModificationDate, ExpirationDate, MsgAction and NextRunDate.
    bool IsEqual(const DVMessage &other) const;

private:
    void ResetDefaultValues();
};
