#pragma once

#include <QAbstractItemModel>
#include <QList>
#include <QString>

// The rows of a list grouped under the values of one column: a heading per value,
// "value (count)", with that value's rows below it in their order. The grid
// shows this instead of the flat rows while a column is grouped. A source may
// give a cell's group apart from its text (GroupRole): a day for a date.
class GroupedRecords final : public QAbstractItemModel
{
public:
    static constexpr int GroupRole = Qt::UserRole + 10;

    explicit GroupedRecords(QAbstractItemModel *source, QObject *parent = nullptr);

    // -1 for none.
    void setGroupColumn(int column);
    int groupColumn() const { return m_column; }
    // The column a heading's caption stands in: the first the grid shows.
    void setCaptionColumn(int column);
    // The value of a heading.
    QString groupValue(int heading) const { return m_groups.value(heading).value; }
    // Where a source row stands, invalid when it is in no group.
    QModelIndex indexOfSource(int sourceRow, int column = 0) const;
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
    int m_caption = 0;
    QList<Group> m_groups;
};
