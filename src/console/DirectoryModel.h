#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QStringList>

// The rows of a directory list as the grid shows them: one text per cell,
// the key first. Tens of thousands of users cost a list of strings each, not
// an item object per cell.
class DirectoryModel final : public QAbstractTableModel
{
public:
    using QAbstractTableModel::QAbstractTableModel;

    // The columns by their field names, which the layout files keep (GridState::NameRole); the
    // header shows their titles.
    void setRows(const QStringList &columns, QList<QStringList> rows);
    // The titles follow the language now in force.
    void retranslate();
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool removeRows(int row, int count, const QModelIndex &parent = QModelIndex()) override;

private:
    QStringList m_columns;
    QList<QStringList> m_rows;
};
