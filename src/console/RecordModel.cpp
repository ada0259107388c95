#include "console/RecordModel.h"

#include "console/GroupedRecords.h"
#include "ui/CodeNames.h"

#include <QLocale>

#include <algorithm>

namespace {

enum Kind { TextColumn, DateColumn, NumberColumn };
constexpr int DeliveryColumn = 6;
constexpr int StatusColumn = 21;

struct ColumnField
{
    Kind kind;
    int field;
};

// What each column shows: a text or a date of the record by its field, or a number.
ColumnField fieldOf(int column)
{
    static const ColumnField fields[] = {{TextColumn, ListRecord::MsgID},
                                         {TextColumn, ListRecord::RefID},
                                         {TextColumn, ListRecord::InitID},
                                         {TextColumn, ListRecord::Subject},
                                         {TextColumn, ListRecord::Message},
                                         {TextColumn, ListRecord::MsgLevel},
                                         {NumberColumn, 6},
                                         {TextColumn, ListRecord::Attachment},
                                         {NumberColumn, 8},
                                         {NumberColumn, 9},
                                         {DateColumn, ListRecord::CreationDate},
                                         {DateColumn, ListRecord::ModificationDate},
                                         {DateColumn, ListRecord::StartDate},
                                         {DateColumn, ListRecord::ExpirationDate},
                                         {NumberColumn, 14},
                                         {NumberColumn, 15},
                                         {NumberColumn, 16},
                                         {TextColumn, ListRecord::UserID},
                                         {TextColumn, ListRecord::UserName},
                                         {TextColumn, ListRecord::MachineID},
                                         {TextColumn, ListRecord::Target},
                                         {NumberColumn, 21},
                                         {NumberColumn, 22},
                                         {NumberColumn, 23},
                                         {NumberColumn, 24},
                                         {DateColumn, ListRecord::NextRunDate}};
    return fields[column];
}

qint64 numberOf(const ListRecord &r, int column)
{
    switch (column) {
    case 6:
        return r.MsgDelivery;
    case 8:
        return r.AllowReply;
    case 9:
        return r.ReceiptRequired;
    case 14:
        return r.DeleteAtExpiration;
    case 15:
        return r.RepeatValue;
    case 16:
        return r.RepeatStep;
    case 21:
        return r.Status;
    case 22:
        return r.Notify;
    case 23:
        return r.ExactTime;
    default:
        return r.MsgAction;
    }
}

bool isFlag(int column)
{
    return column == 8 || column == 9 || column == 14 || column == 22 || column == 23;
}

// Negative, zero or positive as a sorts before, with or after b; an unset date comes after every date.
int compare(const ListRecord &a, const ListRecord &b, int column)
{
    const ColumnField f = fieldOf(column);
    switch (f.kind) {
    case TextColumn: {
        // Bytes of UTF-8 order as their characters do.
        const QByteArrayView x = a.utf8(ListRecord::Text(f.field));
        const QByteArrayView y = b.utf8(ListRecord::Text(f.field));
        const int common = memcmp(x.data(), y.data(), size_t(qMin(x.size(), y.size())));
        return common != 0 ? common : int(x.size() > y.size()) - int(x.size() < y.size());
    }
    case DateColumn: {
        const qint64 x = a.dateKey(ListRecord::Date(f.field));
        const qint64 y = b.dateKey(ListRecord::Date(f.field));
        const qint64 xs = x == ListRecord::ZeroKey ? std::numeric_limits<qint64>::max() : x;
        const qint64 ys = y == ListRecord::ZeroKey ? std::numeric_limits<qint64>::max() : y;
        return int(xs > ys) - int(xs < ys);
    }
    default: {
        const qint64 x = numberOf(a, column);
        const qint64 y = numberOf(b, column);
        return int(x > y) - int(x < y);
    }
    }
}

} // namespace

const QStringList &RecordModel::Columns()
{
    static const QStringList columns = {QStringLiteral("colMsgID"),
                                        QStringLiteral("colRefID"),
                                        QStringLiteral("colInitID"),
                                        QStringLiteral("colSubject"),
                                        QStringLiteral("colMessage"),
                                        QStringLiteral("colLevel"),
                                        QStringLiteral("colDelivery"),
                                        QStringLiteral("colAttachment"),
                                        QStringLiteral("colAllowReply"),
                                        QStringLiteral("colReceipt"),
                                        QStringLiteral("colCreationDate"),
                                        QStringLiteral("colModificationDate"),
                                        QStringLiteral("colStartDate"),
                                        QStringLiteral("colExpirationDate"),
                                        QStringLiteral("colDeleteAtExpiration"),
                                        QStringLiteral("colRepeatValue"),
                                        QStringLiteral("colRepeatStep"),
                                        QStringLiteral("colUserID"),
                                        QStringLiteral("colUserName"),
                                        QStringLiteral("colMachineID"),
                                        QStringLiteral("colTarget"),
                                        QStringLiteral("colStatus"),
                                        QStringLiteral("colNotify"),
                                        QStringLiteral("colExactTime"),
                                        QStringLiteral("colMsgAction"),
                                        QStringLiteral("colNextRunDate")};
    return columns;
}

int RecordModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_order.size());
}

int RecordModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(Columns().size());
}

QVariant RecordModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_order.size() ||
        (role != Qt::DisplayRole && role != Qt::EditRole && role != GroupedRecords::GroupRole))
        return {};
    const ListRecord &r = record(index.row());
    const ColumnField f = fieldOf(index.column());
    // Rows group by the word shown for a code, and by the day of a date.
    if (role == GroupedRecords::GroupRole)
        return f.kind == DateColumn && r.dateKey(ListRecord::Date(f.field)) != ListRecord::ZeroKey
                   ? r.date(ListRecord::Date(f.field)).date().toString(Qt::ISODate)
                   : cellText(r, index.column(), false);
    switch (f.kind) {
    case TextColumn:
        return r.text(ListRecord::Text(f.field));
    case DateColumn:
        return r.dateKey(ListRecord::Date(f.field)) == ListRecord::ZeroKey
                   ? QVariant()
                   : QVariant(r.date(ListRecord::Date(f.field)));
    default:
        return isFlag(index.column()) ? QVariant(numberOf(r, index.column()) != 0)
                                      : QVariant(int(numberOf(r, index.column())));
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= Columns().size())
        return {};
    return Columns().at(section).mid(3);
}

bool RecordModel::before(const ListRecord &a, const ListRecord &b) const
{
    const int order = compare(a, b, m_sortColumn);
    return m_sortOrder == Qt::AscendingOrder ? order < 0 : order > 0;
}

void RecordModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= Columns().size())
        return;
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList persistent = persistentIndexList();
    QList<int> slotsOf;
    for (const QModelIndex &index : persistent)
        slotsOf << m_order.at(index.row());
    m_sortColumn = column;
    m_sortOrder = order;
    std::stable_sort(m_order.begin(), m_order.end(),
                     [this](int a, int b) { return before(m_rows.at(a), m_rows.at(b)); });
    QList<int> rowOfSlot(m_rows.size(), -1);
    for (int row = 0; row < m_order.size(); ++row)
        rowOfSlot[m_order.at(row)] = row;
    QModelIndexList moved;
    for (qsizetype i = 0; i < persistent.size(); ++i)
        moved << index(rowOfSlot.at(slotsOf.at(i)), persistent.at(i).column());
    changePersistentIndexList(persistent, moved);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void RecordModel::setRecords(QList<ListRecord> records)
{
    beginResetModel();
    m_rows = std::move(records);
    m_slots.clear();
    m_slots.reserve(m_rows.size());
    for (int slot = 0; slot < m_rows.size(); ++slot)
        m_slots.insert(m_rows.at(slot).utf8(ListRecord::MsgID), slot);
    refilter();
    endResetModel();
}

void RecordModel::refilter()
{
    m_order.clear();
    for (int slot = 0; slot < m_rows.size(); ++slot)
        if (accepts(m_rows.at(slot)))
            m_order.append(slot);
    if (m_sortColumn >= 0)
        std::stable_sort(m_order.begin(), m_order.end(),
                         [this](int a, int b) { return before(m_rows.at(a), m_rows.at(b)); });
}

int RecordModel::placeOf(const ListRecord &record) const
{
    if (m_sortColumn < 0)
        return int(m_order.size());
    return int(
        std::upper_bound(m_order.cbegin(), m_order.cend(), record,
                         [this](const ListRecord &r, int slot) { return before(r, m_rows.at(slot)); }) -
        m_order.cbegin());
}

int RecordModel::Locate(const QString &msgID) const
{
    const QByteArray key = msgID.toUtf8();
    const auto slot = m_slots.constFind(QByteArrayView(key));
    return slot == m_slots.cend() ? -1 : int(m_order.indexOf(*slot));
}

void RecordModel::AddRecord(const ListRecord &record)
{
    const auto found = m_slots.constFind(record.utf8(ListRecord::MsgID));
    if (found == m_slots.cend()) {
        m_rows.append(record);
        const int slot = int(m_rows.size()) - 1;
        m_slots.insert(m_rows.at(slot).utf8(ListRecord::MsgID), slot);
        if (accepts(record)) {
            const int row = placeOf(record);
            beginInsertRows(QModelIndex(), row, row);
            m_order.insert(row, slot);
            endInsertRows();
        }
        return;
    }
    const int slot = *found;
    const int row = int(m_order.indexOf(slot));
    // The key views the bytes being replaced.
    m_slots.erase(found);
    m_rows[slot] = record;
    m_slots.insert(m_rows.at(slot).utf8(ListRecord::MsgID), slot);
    const bool shown = accepts(record);
    if (row < 0) {
        if (shown) {
            const int place = placeOf(record);
            beginInsertRows(QModelIndex(), place, place);
            m_order.insert(place, slot);
            endInsertRows();
        }
        return;
    }
    if (!shown) {
        beginRemoveRows(QModelIndex(), row, row);
        m_order.removeAt(row);
        endRemoveRows();
        return;
    }
    const bool inPlace =
        m_sortColumn < 0 || ((row == 0 || !before(record, m_rows.at(m_order.at(row - 1)))) &&
                             (row + 1 == m_order.size() || !before(m_rows.at(m_order.at(row + 1)), record)));
    if (!inPlace) {
        m_order.removeAt(row);
        const int place = placeOf(record);
        m_order.insert(row, slot);
        beginMoveRows(QModelIndex(), row, row, QModelIndex(), place <= row ? place : place + 1);
        m_order.move(row, place);
        endMoveRows();
    }
    Q_EMIT dataChanged(index(m_order.indexOf(slot), 0), index(m_order.indexOf(slot), columnCount() - 1));
}

void RecordModel::DelRecord(const QString &msgID)
{
    const QByteArray key = msgID.toUtf8();
    const auto found = m_slots.constFind(QByteArrayView(key));
    if (found == m_slots.cend())
        return;
    const int slot = *found;
    m_slots.erase(found);
    if (const int row = int(m_order.indexOf(slot)); row >= 0) {
        beginRemoveRows(QModelIndex(), row, row);
        m_order.removeAt(row);
        endRemoveRows();
    }
    forget(slot);
}

void RecordModel::forget(int slot)
{
    // The last record takes the freed slot, so that slots stay dense.
    const int last = int(m_rows.size()) - 1;
    if (slot != last) {
        m_rows[slot] = std::move(m_rows[last]);
        m_slots[m_rows.at(slot).utf8(ListRecord::MsgID)] = slot;
        if (const qsizetype row = m_order.indexOf(last); row >= 0)
            m_order[row] = slot;
    }
    m_rows.removeLast();
}

void RecordModel::setQuickFilter(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    beginResetModel();
    refilter();
    endResetModel();
}

void RecordModel::setShownColumns(const QList<int> &columns)
{
    m_shown = columns;
    if (m_text.isEmpty())
        return;
    beginResetModel();
    refilter();
    endResetModel();
}

QString RecordModel::cellText(const ListRecord &record, int column, bool exported)
{
    const ColumnField f = fieldOf(column);
    if (f.kind == TextColumn)
        return record.text(ListRecord::Text(f.field));
    if (f.kind == DateColumn) {
        if (record.dateKey(ListRecord::Date(f.field)) == ListRecord::ZeroKey)
            return {};
        // The store keeps wall times of this machine.
        const QDateTime wall = record.date(ListRecord::Date(f.field));
        if (!exported)
            return QLocale().toString(wall, QLocale::ShortFormat);
        const QString plain = wall.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"));
        const QDateTime local(wall.date(), wall.time(), Qt::LocalTime);
        // A time the clocks skipped has no offset: it stays plain.
        if (!local.isValid() || local.time() != wall.time())
            return plain;
        const int offset = local.offsetFromUtc() / 60;
        return plain + (offset < 0 ? QLatin1Char('-') : QLatin1Char('+')) +
               QStringLiteral("%1:%2")
                   .arg(qAbs(offset) / 60, 2, 10, QLatin1Char('0'))
                   .arg(qAbs(offset) % 60, 2, 10, QLatin1Char('0'));
    }
    const qint64 number = numberOf(record, column);
    if (column == DeliveryColumn)
        return CodeNames::Delivery(int(number));
    if (column == StatusColumn)
        return CodeNames::Status(int(number));
    return QString::number(number);
}

QString RecordModel::shownText(int row, int column) const
{
    return cellText(record(row), column, false);
}

QString RecordModel::exportText(int row, int column) const
{
    return cellText(record(row), column, true);
}

bool RecordModel::accepts(const ListRecord &record) const
{
    if (m_text.isEmpty())
        return true;
    // What the grid shows, in the language in force.
    const int count = m_shown.isEmpty() ? int(Columns().size()) : int(m_shown.size());
    for (int n = 0; n < count; ++n) {
        const int column = m_shown.isEmpty() ? n : m_shown.at(n);
        if (cellText(record, column, false).contains(m_text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}
