#include "console/RecordModel.h"

#include "store/DateText.h"

namespace {

QVariant date(const QDateTime &value)
{
    return DateText::IsZeroDate(value) ? QVariant() : QVariant(value);
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
    return parent.isValid() ? 0 : int(m_rows.size());
}

int RecordModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(Columns().size());
}

QVariant RecordModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    const DVMessage &m = m_rows.at(index.row());
    switch (index.column()) {
    case 0:
        return m.MsgID;
    case 1:
        return m.RefID;
    case 2:
        return m.InitID;
    case 3:
        return m.Subject;
    case 4:
        return m.Message;
    case 5:
        return m.MsgLevel;
    case 6:
        return m.MsgDelivery;
    case 7:
        return m.Attachment;
    case 8:
        return m.AllowReply;
    case 9:
        return m.ReceiptRequired;
    case 10:
        return date(m.CreationDate);
    case 11:
        return date(m.ModificationDate);
    case 12:
        return date(m.StartDate);
    case 13:
        return date(m.ExpirationDate);
    case 14:
        return m.DeleteAtExpiration;
    case 15:
        return m.RepeatValue;
    case 16:
        return m.RepeatStep;
    case 17:
        return m.UserID;
    case 18:
        return m.UserName;
    case 19:
        return m.MachineID;
    case 20:
        return m.Target;
    case 21:
        return m.Status;
    case 22:
        return m.Notify;
    case 23:
        return m.ExactTime;
    case 24:
        return m.MsgAction;
    case 25:
        return date(m.NextRunDate);
    default:
        return {};
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= Columns().size())
        return {};
    return Columns().at(section).mid(3);
}

void RecordModel::setRecords(const QList<DVMessage> &records)
{
    beginResetModel();
    m_rows = records;
    m_index.clear();
    reindex(0);
    endResetModel();
}

void RecordModel::reindex(int from)
{
    for (int row = from; row < m_rows.size(); ++row)
        m_index.insert(m_rows.at(row).MsgID, row);
}

int RecordModel::Locate(const QString &msgID) const
{
    return m_index.value(msgID, -1);
}

void RecordModel::AddRecord(const DVMessage &msg)
{
    const int row = Locate(msg.MsgID);
    if (row >= 0) {
        m_rows[row] = msg;
        Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
        return;
    }
    const int end = int(m_rows.size());
    beginInsertRows(QModelIndex(), end, end);
    m_rows.append(msg);
    m_index.insert(msg.MsgID, end);
    endInsertRows();
}

void RecordModel::DelRecord(const QString &msgID)
{
    const int row = Locate(msgID);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.removeAt(row);
    m_index.remove(msgID);
    reindex(row);
    endRemoveRows();
}

void RecordFilter::setSourceModel(QAbstractItemModel *model)
{
    m_records = dynamic_cast<const RecordModel *>(model);
    QSortFilterProxyModel::setSourceModel(model);
}

bool RecordFilter::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    // The text and date columns compared on the records themselves, as the base
    // compares their cells, without two cells built for each of a sort's
    // comparisons; a sort of 100,000 rows makes 1.7 million of them.
    static const QHash<int, QString DVMessage::*> texts = {
        {0, &DVMessage::MsgID},      {1, &DVMessage::RefID},   {2, &DVMessage::InitID},
        {3, &DVMessage::Subject},    {4, &DVMessage::Message}, {5, &DVMessage::MsgLevel},
        {7, &DVMessage::Attachment}, {17, &DVMessage::UserID}, {18, &DVMessage::UserName},
        {19, &DVMessage::MachineID}, {20, &DVMessage::Target}};
    static const QHash<int, QDateTime DVMessage::*> dates = {{10, &DVMessage::CreationDate},
                                                             {11, &DVMessage::ModificationDate},
                                                             {12, &DVMessage::StartDate},
                                                             {13, &DVMessage::ExpirationDate},
                                                             {25, &DVMessage::NextRunDate}};
    const int column = left.column();
    if (!m_records || left.model() != m_records || right.model() != m_records || column != right.column() ||
        (sortRole() != Qt::DisplayRole && sortRole() != Qt::EditRole) || isSortLocaleAware())
        return QSortFilterProxyModel::lessThan(left, right);
    const DVMessage &a = m_records->record(left.row());
    const DVMessage &b = m_records->record(right.row());
    if (const auto text = texts.constFind(column); text != texts.cend())
        return (a.*(*text)).compare(b.*(*text), sortCaseSensitivity()) < 0;
    if (const auto date = dates.constFind(column); date != dates.cend()) {
        // A zero date shows an empty cell, which sorts after every date.
        if (DateText::IsZeroDate(a.*(*date)))
            return false;
        if (DateText::IsZeroDate(b.*(*date)))
            return true;
        return a.*(*date) < b.*(*date);
    }
    return QSortFilterProxyModel::lessThan(left, right);
}

void RecordFilter::setQuickFilter(const QString &text)
{
    m_text = text;
    invalidateFilter();
}

void RecordFilter::setShownColumns(const QList<int> &columns)
{
    m_shown = columns;
    invalidateFilter();
}

bool RecordFilter::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    if (m_text.isEmpty())
        return true;
    const QAbstractItemModel *model = sourceModel();
    QList<int> columns = m_shown;
    if (columns.isEmpty())
        for (int column = 0; column < model->columnCount(sourceParent); ++column)
            columns << column;
    for (int column : columns)
        if (model->index(sourceRow, column, sourceParent)
                .data()
                .toString()
                .contains(m_text, Qt::CaseInsensitive))
            return true;
    return false;
}
