#include "authoring/SelectionList.h"

#include "authoring/MessageForm.h"
#include "core/Session.h"
#include "link/Commands.h"
#include "netsvc/NetApi.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

#include <QSqlQuery>

#include <algorithm>

QString SelectionList::RequestFor(int kind, const Session &session, QChar requester)
{
    switch (kind) {
    case SelectKorvanGroups:
        return session.GroupsKorvanLoaded ? QString() : Commands::RPI(requester);
    case SelectUsers:
        return session.UsersLoaded ? QString() : Commands::RUS(requester);
    case SelectMachines:
        return session.MachinesLoaded ? QString() : Commands::RMA(requester);
    default:
        return {};
    }
}

QList<SelectionList::Row> SelectionList::LoadRows(int kind, Database &clientDB, Database &tempDB)
{
    QList<Row> rows;
    if (kind == SelectDomainGroups) {
        for (const DirectoryEntry &group : EnumGroups())
            rows.append({group.Name, group.Description});
        return rows;
    }
    static const QHash<int, QString> tables = {{SelectPersonalGroups, QStringLiteral("MyGroups")},
                                               {SelectKorvanGroups, QStringLiteral("KorvaneGroups")},
                                               {SelectUsers, QStringLiteral("Users")},
                                               {SelectMachines, QStringLiteral("Machines")}};
    if (!tables.contains(kind))
        return rows;
    Database &store = kind == SelectPersonalGroups ? clientDB : tempDB;
    // Each table's key and its describing column, in the order the rows came.
    static const QHash<int, QString> columns = {
        {SelectPersonalGroups, QStringLiteral("GroupName, Description")},
        {SelectKorvanGroups, QStringLiteral("GroupName, Description")},
        {SelectUsers, QStringLiteral("UserID, UserName")},
        {SelectMachines, QStringLiteral("MachineID, MachineIP")}};
    QSqlQuery *query =
        store.query(QStringLiteral("SELECT ") + columns.value(kind) + QStringLiteral(" FROM ") +
                    tables.value(kind) + QStringLiteral(" ORDER BY rowid"));
    while (query && query->next())
        rows.append({query->value(0).toString(), query->value(1).toString()});
    return rows;
}

void SelectionList::Initialize(const QList<Row> &rows, const QString &target)
{
    m_rows = rows;
    m_order.clear();
    m_unknown.clear();
    CreateCollection(target);
}

void SelectionList::CreateCollection(const QString &target)
{
    if (target.isEmpty())
        return;
    for (const QString &item : target.split(QLatin1Char(','))) {
        qsizetype match = -1;
        // Exactly: "Bob" does not tick "bob".
        for (qsizetype row = 0; row < m_rows.size() && match < 0; ++row)
            if (m_rows[row].Name == item)
                match = row;
        if (match >= 0)
            setSelected(int(match), true);
        else
            m_unknown.append(item);
    }
}

void SelectionList::setSelected(int row, bool selected)
{
    if (row < 0 || row >= m_rows.size())
        return;
    if (!selected)
        m_order.removeAll(row);
    else if (!m_order.contains(row))
        m_order.append(row);
}

void SelectionList::SelectAll()
{
    for (int row = 0; row < m_rows.size(); ++row)
        setSelected(row, true);
}

void SelectionList::UnselectAll()
{
    m_order.clear();
}

QString SelectionList::SaveSelection() const
{
    // The grid hands over its selected nodes top to bottom: alice before bob
    // however they were ticked.
    QList<int> order = m_order;
    std::sort(order.begin(), order.end());
    QStringList items;
    for (int row : order)
        items.append(m_rows[row].Name);
    items.append(m_unknown);
    return items.join(QLatin1Char(','));
}
