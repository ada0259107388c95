#pragma once

#include "store/DVMessage.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QList>
#include <QSortFilterProxyModel>

// The rows of a message, package or template list: every field of the record
// in its declaration order, found by MsgID. AddRecord inserts or updates, as
// the engine and the composers call it while the list is open.
class RecordModel final : public QAbstractTableModel
{
public:
    // The columns, named as the grids name them.
    static const QStringList &Columns();

    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    void setRecords(const QList<DVMessage> &records);
    // The row of an ID, -1 when there is none.
    int Locate(const QString &msgID) const;
    void AddRecord(const DVMessage &msg);
    // A missing row is no error.
    void DelRecord(const QString &msgID);
    const DVMessage &record(int row) const { return m_rows.at(row); }

private:
    void reindex(int from);

    QList<DVMessage> m_rows;
    QHash<QString, int> m_index;
};

// What the grid shows of a model: sorted by any column, and narrowed by the
// quick filter to the rows whose shown cells hold its text.
class RecordFilter final : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    void setSourceModel(QAbstractItemModel *model) override;
    void setQuickFilter(const QString &text);
    // The columns the layout shows; the quick filter looks only at them.
    void setShownColumns(const QList<int> &columns);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    const RecordModel *m_records = nullptr;
    QString m_text;
    QList<int> m_shown;
};
