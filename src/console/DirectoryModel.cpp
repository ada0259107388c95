#include "console/DirectoryModel.h"

#include "core/StringTable.h"
#include "ui/GridState.h"

#include <QHash>

namespace {

// The title of each field of the directory tables; a field not named here shows as it is called.
int titleOf(const QString &field)
{
    static const QHash<QString, int> titles = {
        {QStringLiteral("UserID"), 1276},       {QStringLiteral("UserName"), 1277},
        {QStringLiteral("GroupName"), 1278},    {QStringLiteral("Description"), 1279},
        {QStringLiteral("MachineID"), 1288},    {QStringLiteral("MachineIP"), 1289},
        {QStringLiteral("LastLogon"), 1290},    {QStringLiteral("Version"), 1291},
        {QStringLiteral("Connected"), 1292},    {QStringLiteral("Language"), 1293},
        {QStringLiteral("Agent"), 1294},        {QStringLiteral("Authority"), 1295},
        {QStringLiteral("CreationDate"), 1296}, {QStringLiteral("Creator"), 1297}};
    return titles.value(field);
}

} // namespace

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
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != GridState::NameRole))
        return {};
    const QString field = m_columns.value(section);
    if (role == GridState::NameRole)
        return field;
    const int title = titleOf(field);
    return title ? ResString(title) : field;
}

void DirectoryModel::retranslate()
{
    if (!m_columns.isEmpty())
        Q_EMIT headerDataChanged(Qt::Horizontal, 0, int(m_columns.size()) - 1);
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
