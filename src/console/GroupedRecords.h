#pragma once

#include <QAbstractItemModel>
#include <QList>
#include <QString>

// The rows of a list grouped under the values of one column: a row per value,
// "value (count)", with that value's rows below it in their order. The grid
// shows this instead of the flat rows while a column is grouped.
class GroupedRecords final : public QAbstractItemModel
{
public:
    explicit GroupedRecords(QAbstractItemModel *source, QObject *parent = nullptr);

    // -1 for none.
    void setGroupColumn(int column);
    int groupColumn() const { return m_column; }
    // The source row of a shown row; -1 for a group's own row.
    int sourceRow(const QModelIndex &index) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    void rebuild();

    struct Group
    {
        QString value;
        QList<int> rows;
    };
    QAbstractItemModel *m_source;
    int m_column = -1;
    QList<Group> m_groups;
};
