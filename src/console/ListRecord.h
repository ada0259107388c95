#pragma once

#include "store/DVMessage.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QVariant>

#include <array>

class Database;

// A row of a console list held small: its texts as UTF-8 in one buffer, its
// dates as numbers. A list of 100,000 records is a few tens of MiB this way,
// against well over a hundred as full records; the full record is made when a
// command needs it.
class ListRecord
{
public:
    enum Text : quint8 {
        MsgID,
        RefID,
        InitID,
        Subject,
        Message,
        MsgLevel,
        Attachment,
        UserID,
        UserName,
        MachineID,
        Target,
        Texts
    };
    enum Date : quint8 { CreationDate, ModificationDate, StartDate, ExpirationDate, NextRunDate, Dates };

    static ListRecord FromMessage(const DVMessage &m);
    DVMessage ToMessage() const;

    QString text(Text field) const { return QString::fromUtf8(utf8(field)); }
    QByteArrayView utf8(Text field) const;
    // The date as the number yyyyMMddHHmmss, which orders as the dates do; the
    // zero date is ZeroKey.
    qint64 dateKey(Date field) const { return m_dates[field]; }
    QDateTime date(Date field) const;
    static constexpr qint64 ZeroKey = 18991230000000;

    // The rows of a table that match the condition (empty for all), in the table's order.
    static QList<ListRecord> Read(Database &store, const QString &table, const QString &where,
                                  const QVariantList &values);

    qint16 MsgDelivery = 0;
    qint16 RepeatValue = 0;
    qint32 RepeatStep = 0;
    qint32 Status = 0;
    qint32 MsgAction = 0;
    bool AllowReply = false;
    bool ReceiptRequired = false;
    bool DeleteAtExpiration = false;
    bool Notify = false;
    bool ExactTime = false;

private:
    QByteArray m_text;
    std::array<quint32, Texts> m_end{};
    std::array<qint64, Dates> m_dates{ZeroKey, ZeroKey, ZeroKey, ZeroKey, ZeroKey};
};
