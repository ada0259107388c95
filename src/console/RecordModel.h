#pragma once

#include "console/ListRecord.h"

#include <QAbstractTableModel>
#include <QByteArrayView>
#include <QHash>
#include <QList>

// The rows of a message, package or template list, as the grid shows them:
// every field of the record in its declaration order, sorted by any column and
// narrowed by the quick filter, found by MsgID. AddRecord inserts or updates,
// as the engine and the composers call it while the list is open; a new row
// goes straight to its sorted place, so the grid never lays out the others.
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
    // Stable: rows that compare equal keep their order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    void setRecords(QList<ListRecord> records);
    // The shown row of an ID, -1 when there is none or the filter hides it.
    int Locate(const QString &msgID) const;
    void AddRecord(const ListRecord &record);
    // A missing row is no error.
    void DelRecord(const QString &msgID);
    // A shown row.
    const ListRecord &record(int row) const { return m_rows.at(m_order.at(row)); }
    // Every record held, the filtered ones included.
    qsizetype heldCount() const { return m_rows.size(); }

    // A cell as the grid shows it: codes by their names, dates in the short local form.
    QString shownText(int row, int column) const;
    // A cell as an export writes it: as shown, but dates as the local times they are, with their
    // offset from UTC where the time exists here.
    QString exportText(int row, int column) const;

    // Keeps the rows whose shown cells hold the text, in any case.
    void setQuickFilter(const QString &text);
    // The columns the layout shows; the quick filter looks only at them.
    void setShownColumns(const QList<int> &columns);

private:
    bool accepts(const ListRecord &record) const;
    static QString cellText(const ListRecord &record, int column, bool exported);
    bool before(const ListRecord &a, const ListRecord &b) const;
    // Where a record goes among the shown rows.
    int placeOf(const ListRecord &record) const;
    void refilter();
    void forget(int slot);

    // The records in the order they came; the shown rows are slots in it.
    QList<ListRecord> m_rows;
    QList<int> m_order;
    // Keys are views of the records' own MsgID bytes.
    QHash<QByteArrayView, int> m_slots;
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    QString m_text;
    QList<int> m_shown;
};
