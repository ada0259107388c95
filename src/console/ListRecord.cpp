#include "console/ListRecord.h"

#include "store/Database.h"

namespace {

qint64 keyOf(const QDateTime &value)
{
    if (!value.isValid() || DateText::IsZeroDate(value))
        return ListRecord::ZeroKey;
    const QDate d = value.date();
    const QTime t = value.time();
    return ((((qint64(qBound(0, d.year(), 9999)) * 100 + d.month()) * 100 + d.day()) * 100 + t.hour()) * 100 +
            t.minute()) *
               100 +
           t.second();
}

// The store's "yyyy-MM-dd HH:mm:ss" read straight into its number; anything else is the zero date.
qint64 keyOf(QByteArrayView text)
{
    if (text.size() != 19)
        return ListRecord::ZeroKey;
    qint64 key = 0;
    for (int i = 0; i < 19; ++i) {
        if (i == 4 || i == 7 || i == 10 || i == 13 || i == 16)
            continue;
        if (text[i] < '0' || text[i] > '9')
            return ListRecord::ZeroKey;
        key = key * 10 + (text[i] - '0');
    }
    return key;
}

// The columns as Read asks for them: the texts in their order, then the dates, then the numbers.
const char *const Columns =
    "MsgID, RefID, InitID, Subject, Message, MsgLevel, Attachment, UserID, UserName, "
    "MachineID, Target, CreationDate, ModificationDate, StartDate, ExpirationDate, "
    "NextRunDate, MsgDelivery, RepeatValue, RepeatStep, Status, MsgAction, AllowReply, "
    "ReceiptRequired, Notify, ExactTime";

} // namespace

QByteArrayView ListRecord::utf8(Text field) const
{
    const quint32 begin = field == 0 ? 0 : m_end[field - 1];
    return QByteArrayView(m_text).sliced(begin, m_end[field] - begin);
}

QDateTime ListRecord::date(Date field) const
{
    qint64 key = m_dates[field];
    if (key == ZeroKey)
        return DateText::ZeroDate();
    const int second = int(key % 100);
    const int minute = int((key /= 100) % 100);
    const int hour = int((key /= 100) % 100);
    const int day = int((key /= 100) % 100);
    const int month = int((key /= 100) % 100);
    const QDateTime value(QDate(int(key / 100), month, day), QTime(hour, minute, second), Qt::UTC);
    return value.isValid() ? value : DateText::ZeroDate();
}

ListRecord ListRecord::FromMessage(const DVMessage &m)
{
    ListRecord r;
    const QString *texts[Texts] = {&m.MsgID,    &m.RefID,     &m.InitID,     &m.Subject,
                                   &m.Message,  &m.MsgLevel,  &m.Attachment, &m.UserID,
                                   &m.UserName, &m.MachineID, &m.Target};
    for (int field = 0; field < Texts; ++field) {
        r.m_text += texts[field]->toUtf8();
        r.m_end[field] = quint32(r.m_text.size());
    }
    r.m_text.squeeze();
    const QDateTime *dates[Dates] = {&m.CreationDate, &m.ModificationDate, &m.StartDate, &m.ExpirationDate,
                                     &m.NextRunDate};
    for (int field = 0; field < Dates; ++field)
        r.m_dates[field] = keyOf(*dates[field]);
    r.MsgDelivery = m.MsgDelivery;
    r.RepeatValue = m.RepeatValue;
    r.RepeatStep = m.RepeatStep;
    r.Status = m.Status;
    r.MsgAction = m.MsgAction;
    r.AllowReply = m.AllowReply;
    r.ReceiptRequired = m.ReceiptRequired;
    r.DeleteAtExpiration = m.DeleteAtExpiration;
    r.Notify = m.Notify;
    r.ExactTime = m.ExactTime;
    return r;
}

DVMessage ListRecord::ToMessage() const
{
    DVMessage m;
    QString *texts[Texts] = {&m.MsgID,      &m.RefID,  &m.InitID,   &m.Subject,   &m.Message, &m.MsgLevel,
                             &m.Attachment, &m.UserID, &m.UserName, &m.MachineID, &m.Target};
    for (int field = 0; field < Texts; ++field)
        *texts[field] = text(Text(field));
    QDateTime *dates[Dates] = {&m.CreationDate, &m.ModificationDate, &m.StartDate, &m.ExpirationDate,
                               &m.NextRunDate};
    for (int field = 0; field < Dates; ++field)
        *dates[field] = date(Date(field));
    m.MsgDelivery = MsgDelivery;
    m.RepeatValue = RepeatValue;
    m.RepeatStep = RepeatStep;
    m.Status = Status;
    m.MsgAction = MsgAction;
    m.AllowReply = AllowReply;
    m.ReceiptRequired = ReceiptRequired;
    m.DeleteAtExpiration = DeleteAtExpiration;
    m.Notify = Notify;
    m.ExactTime = ExactTime;
    return m;
}

QList<ListRecord> ListRecord::Read(Database &store, const QString &table, const QString &where,
                                   const QVariantList &values)
{
    QList<ListRecord> rows;
    QString sql = QStringLiteral("SELECT ") + QLatin1String(Columns) + QStringLiteral(" FROM ") + table;
    if (!where.isEmpty())
        sql += QStringLiteral(" WHERE ") + where;
    store.forEachRow(sql + QStringLiteral(" ORDER BY rowid"), values, [&rows](const RawRow &row) {
        ListRecord r;
        qsizetype size = 0;
        for (int field = 0; field < Texts; ++field)
            size += row.text(field).size();
        r.m_text.reserve(size);
        for (int field = 0; field < Texts; ++field) {
            r.m_text += row.text(field);
            r.m_end[field] = quint32(r.m_text.size());
        }
        for (int field = 0; field < Dates; ++field)
            r.m_dates[field] = keyOf(row.text(int(Texts) + field));
        const int numbers = int(Texts) + int(Dates);
        r.MsgDelivery = qint16(row.integer(numbers));
        r.RepeatValue = qint16(row.integer(numbers + 1));
        r.RepeatStep = qint32(row.integer(numbers + 2));
        r.Status = qint32(row.integer(numbers + 3));
        r.MsgAction = qint32(row.integer(numbers + 4));
        r.AllowReply = row.integer(numbers + 5) != 0;
        r.ReceiptRequired = row.integer(numbers + 6) != 0;
        r.Notify = row.integer(numbers + 7) != 0;
        r.ExactTime = row.integer(numbers + 8) != 0;
        // The store never reads it: every stored record deletes at its expiration.
        r.DeleteAtExpiration = true;
        rows.append(std::move(r));
    });
    return rows;
}
