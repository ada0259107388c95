#include "console/DirectoryModel.h"

void DirectoryModel::setRows(const QStringList &columns, QList<QStringList> rows)
{
    beginResetModel();
    m_columns = columns;
    m_rows = std::move(rows);
    endResetModel();
}

int DirectoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int DirectoryModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant DirectoryModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole) || index.row() >= m_rows.size())
        return {};
    // A row shorter than the header shows empty cells.
    return m_rows.at(index.row()).value(index.column());
}

QVariant DirectoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return m_columns.value(section);
}

bool DirectoryModel::removeRows(int row, int count, const QModelIndex &parent)
{
    if (parent.isValid() || row < 0 || count <= 0 || row + count > m_rows.size())
        return false;
    beginRemoveRows(parent, row, row + count - 1);
    m_rows.remove(row, count);
    endRemoveRows();
    return true;
}
