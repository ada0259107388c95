#include "console/GroupedRecords.h"

#include <QMap>

GroupedRecords::GroupedRecords(QAbstractItemModel *source, QObject *parent)
    : QAbstractItemModel(parent), m_source(source)
{
    // Any change of the rows below regroups them; a list is small enough for that.
    connect(source, &QAbstractItemModel::modelReset, this, &GroupedRecords::rebuild);
    connect(source, &QAbstractItemModel::layoutChanged, this, &GroupedRecords::rebuild);
    connect(source, &QAbstractItemModel::rowsInserted, this, &GroupedRecords::rebuild);
    connect(source, &QAbstractItemModel::rowsRemoved, this, &GroupedRecords::rebuild);
    connect(source, &QAbstractItemModel::dataChanged, this, &GroupedRecords::rebuild);
}

void GroupedRecords::setGroupColumn(int column)
{
    m_column = column;
    rebuild();
}

void GroupedRecords::setCaptionColumn(int column)
{
    if (column == m_caption)
        return;
    m_caption = column;
    if (!m_groups.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(int(m_groups.size()) - 1, columnCount() - 1));
}

QModelIndex GroupedRecords::indexOfSource(int sourceRow, int column) const
{
    for (int heading = 0; heading < m_groups.size(); ++heading)
        if (const qsizetype row = m_groups.at(heading).rows.indexOf(sourceRow); row >= 0)
            return createIndex(int(row), column, quintptr(heading + 1));
    return {};
}

void GroupedRecords::rebuild()
{
    // Ungrouped, the tree shows nothing and has nothing to redo.
    if (m_column < 0 && m_groups.isEmpty())
        return;
    beginResetModel();
    m_groups.clear();
    if (m_column >= 0) {
        QMap<QString, QList<int>> byValue;
        for (int row = 0; row < m_source->rowCount(); ++row) {
            const QModelIndex cell = m_source->index(row, m_column);
            const QVariant group = cell.data(GroupRole);
            byValue[(group.isValid() ? group : cell.data()).toString()].append(row);
        }
        for (auto it = byValue.cbegin(); it != byValue.cend(); ++it)
            m_groups.append({it.key(), it.value()});
    }
    endResetModel();
}

int GroupedRecords::sourceRow(const QModelIndex &index) const
{
    if (!index.isValid() || index.internalId() == 0)
        return -1;
    const Group &group = m_groups.at(int(index.internalId()) - 1);
    return group.rows.value(index.row(), -1);
}

QModelIndex GroupedRecords::index(int row, int column, const QModelIndex &parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    // A group's rows carry their group's number plus one; the groups carry 0.
    return createIndex(row, column, parent.isValid() ? quintptr(parent.row() + 1) : quintptr(0));
}

QModelIndex GroupedRecords::parent(const QModelIndex &child) const
{
    if (!child.isValid() || child.internalId() == 0)
        return {};
    return createIndex(int(child.internalId()) - 1, 0, quintptr(0));
}

int GroupedRecords::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return int(m_groups.size());
    if (parent.internalId() == 0 && parent.column() == 0)
        return int(m_groups.at(parent.row()).rows.size());
    return 0;
}

int GroupedRecords::columnCount(const QModelIndex &) const
{
    return m_source->columnCount();
}

QVariant GroupedRecords::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (index.internalId() == 0) {
        // A heading has no cells of its own: only its caption.
        if (index.column() != m_caption || role != Qt::DisplayRole)
            return {};
        const Group &group = m_groups.at(index.row());
        return QStringLiteral("%1 (%2)").arg(group.value).arg(group.rows.size());
    }
    return m_source->index(sourceRow(index), index.column()).data(role);
}

QVariant GroupedRecords::headerData(int section, Qt::Orientation orientation, int role) const
{
    return m_source->headerData(section, orientation, role);
}
