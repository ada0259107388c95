#include "console/DirectoryList.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Session.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "netsvc/NetApi.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

#include <QSqlQuery>
#include <QSqlRecord>

namespace {

struct Source
{
    bool local;
    const char *table;
    const char *members;
};

Source sourceOf(DirectoryList::Kind kind)
{
    switch (kind) {
    case DirectoryList::KorvaneGroups:
        return {false, "KorvaneGroups", "KorvaneGroupUsers"};
    case DirectoryList::MyGroups:
        return {true, "MyGroups", "MyGroupUsers"};
    case DirectoryList::Users:
        return {false, "Users", nullptr};
    case DirectoryList::Machines:
        return {false, "Machines", nullptr};
    default:
        return {false, "Administrators", nullptr};
    }
}

} // namespace

DirectoryList::DirectoryList(Kind kind, Context context) : m_kind(kind), m_ctx(std::move(context)) {}

QList<QStringList> DirectoryList::LoadData(QStringList *columns) const
{
    QList<QStringList> rows;
    if (m_kind == DomainGroups) {
        if (columns)
            *columns = {QStringLiteral("GroupName"), QStringLiteral("Description")};
        for (const DirectoryEntry &group : EnumGroups())
            rows.append({group.Name, group.Description});
        m_ctx.session.GroupsDomainLoaded = true;
        return rows;
    }
    const Source source = sourceOf(m_kind);
    Database &store = source.local ? m_ctx.clientDB : m_ctx.tempDB;
    QSqlQuery *query = store.query(QStringLiteral("SELECT * FROM ") + QLatin1String(source.table) +
                                   QStringLiteral(" ORDER BY rowid"));
    if (!query)
        return rows;
    const QSqlRecord record = query->record();
    if (columns) {
        columns->clear();
        for (int column = 0; column < record.count(); ++column)
            *columns << record.fieldName(column);
    }
    while (query->next()) {
        QStringList row;
        for (int column = 0; column < record.count(); ++column)
            row << query->value(column).toString();
        // The role as its word, resolved while loading; an unknown number stays a number.
        if (m_kind == Administrators && row.size() > 1) {
            bool ok = false;
            const int authority = row[1].toInt(&ok);
            if (ok && authority >= UserInfos::RoleUser && authority <= UserInfos::RoleAdministrator)
                row[1] = ResString(1268 + authority);
        }
        rows << row;
    }
    return rows;
}

QStringList DirectoryList::Members(const QString &groupName) const
{
    if (m_kind == DomainGroups)
        return EnumUsersFromGroup(groupName);
    const Source source = sourceOf(m_kind);
    if (!source.members)
        return {};
    Database &store = source.local ? m_ctx.clientDB : m_ctx.tempDB;
    QStringList members;
    QSqlQuery *query = store.query(QStringLiteral("SELECT UserID FROM ") + QLatin1String(source.members) +
                                       QStringLiteral(" WHERE GroupName = ? ORDER BY rowid"),
                                   {groupName});
    while (query && query->next())
        members << query->value(0).toString();
    return members;
}

QList<DirectoryList::Item> DirectoryList::Items() const
{
    switch (m_kind) {
    case Users:
        return {mnuSend, mnuDelete, mnuChangeName, mnuChangeLanguage, mnuChangeAgent, mnuRefresh};
    case Machines:
        return {mnuSend, mnuDelete, mnuRefresh};
    case KorvaneGroups:
        return {mnuNew, mnuEdit, mnuDuplicate, mnuDelete, mnuSend, mnuRefresh};
    case MyGroups:
        return {mnuNew, mnuEdit, mnuDuplicate, mnuDelete, mnuSend};
    case DomainGroups:
        return {mnuSend, mnuRefresh};
    case Administrators:
        return {mnuNew, mnuEdit, mnuRefresh};
    }
    return {};
}

bool DirectoryList::Enabled(Item item, int selected) const
{
    const bool postmaster = m_ctx.user.IsPostmaster();
    const bool administrator = m_ctx.user.IsAdministrator();
    switch (item) {
    case mnuSend:
        return selected >= 1;
    case mnuDelete:
        switch (m_kind) {
        case Users:
            return selected >= 1 && administrator;
        case Machines:
            return selected >= 1 && postmaster;
        case KorvaneGroups:
            return selected == 1 && postmaster;
        default:
            return selected == 1;
        }
    case mnuChangeName:
    case mnuChangeLanguage:
    case mnuChangeAgent:
        return selected == 1 && administrator;
    case mnuRefresh:
        return (m_kind != Users && m_kind != Machines) || postmaster;
    case mnuNew:
        return m_kind == MyGroups || m_kind == Administrators || postmaster;
    case mnuEdit:
    case mnuDuplicate:
        return selected == 1 && (m_kind == MyGroups || m_kind == Administrators || postmaster);
    }
    return false;
}

void DirectoryList::Send(const QStringList &selected)
{
    m_ctx.process.SavedSelection = selected.join(QLatin1Char(','));
    m_ctx.sendData(Commands::MID());
}

bool DirectoryList::Delete(const QString &focused)
{
    if (focused.isEmpty())
        return false;
    // A user or a machine goes for the whole organisation: asked first.
    if ((m_kind == Users || m_kind == Machines) &&
        m_ctx.frontend.MessageBoxShow(ResString(1254).arg(1), ResString(1255), IconQuestion, ButtonsYesNo) !=
            ResultYes)
        return false;
    switch (m_kind) {
    case Users:
        DeleteUser(m_ctx.tempDB, QStringLiteral("Users"), focused);
        m_ctx.sendData(Commands::USD({focused}));
        return true;
    case Machines:
        DeleteMachine(m_ctx.tempDB, QStringLiteral("Machines"), focused);
        m_ctx.sendData(Commands::MAD({focused}));
        return true;
    case MyGroups:
        if (m_ctx.frontend.MessageBoxShow(ResString(1264).arg(focused), ResString(1265), IconQuestion,
                                          ButtonsYesNo) != ResultYes)
            return false;
        // The members go with it by the store's cascade.
        DeleteRows(m_ctx.clientDB, QStringLiteral("MyGroups"),
                   Filter::equals(QStringLiteral("GroupName"), focused));
        return true;
    case KorvaneGroups:
        if (m_ctx.frontend.MessageBoxShow(ResString(1266).arg(focused), ResString(1267), IconQuestion,
                                          ButtonsYesNo) != ResultYes)
            return false;
        m_ctx.sendData(Commands::KVG(focused));
        DeleteRows(m_ctx.tempDB, QStringLiteral("KorvaneGroups"),
                   Filter::equals(QStringLiteral("GroupName"), focused));
        return true;
    default:
        return false;
    }
}

void DirectoryList::ChangeName()
{
    // The item has only ever traced; what it should change was never said.
    TraceLog(QStringLiteral("frmUsers:mnuChangeName_Click"));
}

int DirectoryList::GroupAction(Item item) const
{
    if (m_kind != MyGroups && m_kind != KorvaneGroups)
        return -1;
    // 0 and 1 edit a personal group, 2 and 3 a shared one; a duplicate is a new group.
    const int base = m_kind == MyGroups ? 0 : 2;
    return item == mnuEdit ? base + 1 : base;
}

bool DirectoryList::Refresh()
{
    switch (m_kind) {
    case DomainGroups:
        return true;
    case Users:
        m_ctx.session.UsersLoaded = false;
        DeleteRows(m_ctx.tempDB, QStringLiteral("Users"), Filter{});
        m_ctx.sendData(Commands::RUS(QLatin1Char('A')));
        return false;
    case Machines:
        m_ctx.session.MachinesLoaded = false;
        DeleteRows(m_ctx.tempDB, QStringLiteral("Machines"), Filter{});
        m_ctx.sendData(Commands::RMA(QLatin1Char('A')));
        return false;
    case KorvaneGroups:
        m_ctx.session.GroupsKorvanLoaded = false;
        DeleteRows(m_ctx.tempDB, QStringLiteral("KorvaneGroups"), Filter{});
        m_ctx.sendData(Commands::RPI(QLatin1Char('A')));
        return false;
    case Administrators:
        m_ctx.session.AdminsLoaded = false;
        DeleteRows(m_ctx.tempDB, QStringLiteral("Administrators"), Filter{});
        m_ctx.sendData(Commands::RAD());
        return false;
    case MyGroups:
        return true;
    }
    return true;
}
