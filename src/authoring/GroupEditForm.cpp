#include "authoring/GroupEditForm.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/SelectionList.h"
#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Session.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "link/OutgoingText.h"
#include "link/Policies.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

namespace {

QString withoutQuotes(const QString &text)
{
    return QString(text).remove(QLatin1Char('"'));
}

} // namespace

GroupEditForm::GroupEditForm(Context context) : m_ctx(std::move(context)) {}

void GroupEditForm::setAction(Action action)
{
    m_action = action;
    // A shared group's members are users and machines only: the group buttons
    // hide after the policies did their part, and showing them overrides them.
    const bool personal = action == NewPersonal || action == EditPersonal;
    m_buttons.domain = m_buttons.korvan = m_buttons.myGroups = personal;
}

QString GroupEditForm::Caption() const
{
    return ResString(AuthoringTexts::GroupTitleFirst + int(m_action)) + Tag;
}

void GroupEditForm::EditGroup(const QString &name, const QString &description, const QString &members)
{
    // A group's name is its key.
    fields = {name, description, members, false};
}

void GroupEditForm::DuplicateGroup(const QString &description, const QString &members)
{
    fields = {QString(), description, members, true};
}

void GroupEditForm::OpenOn(const QString &name, const QString &description, const QString &members)
{
    if (m_action == EditPersonal || m_action == EditShared)
        EditGroup(name, description, members);
    else
        DuplicateGroup(description, members);
}

bool GroupEditForm::OKEnabled() const
{
    return !fields.txtGroupName.isEmpty() && !fields.txtTarget.isEmpty();
}

void GroupEditForm::RecipientsButton(int kind)
{
    const QString request = SelectionList::RequestFor(kind, m_ctx.session, QLatin1Char('G'));
    request.isEmpty() ? select(kind) : (void)m_ctx.sendData(request);
}

void GroupEditForm::select(int kind)
{
    if (getSelection)
        fields.txtTarget = getSelection(kind, fields.txtTarget);
}

bool GroupEditForm::exists(Database &store, const QString &table) const
{
    return store.exists(QStringLiteral("SELECT 1 FROM ") + table + QStringLiteral(" WHERE GroupName = ?"),
                        {fields.txtGroupName});
}

GroupEditForm::Outcome GroupEditForm::OKButton()
{
    using namespace AuthoringTexts;
    const QDateTime now = m_ctx.clock.currentDateTime();
    fields.txtGroupName = withoutQuotes(fields.txtGroupName);
    fields.txtDescription = withoutQuotes(fields.txtDescription);
    fields.txtTarget = withoutQuotes(fields.txtTarget);
    if (!OutgoingText::Admit(m_ctx.frontend,
                             {&fields.txtGroupName, &fields.txtDescription, &fields.txtTarget}))
        return StayOpen;
    const QStringList members = OutgoingText::Entries(fields.txtTarget);
    const auto refused = [this](int title) {
        m_ctx.frontend.MessageBoxShow(ResString(GroupExists), ResString(title), IconExclamation, ButtonsOk);
        return StayOpen;
    };
    // A personal group lives only here: one the store could not keep stays in the form.
    const auto save = [&](Database &store, const QString &groups, const QString &groupMembers) {
        if (saveGroup(store, groups, groupMembers, members, StoredDate(now)))
            return true;
        m_ctx.frontend.MessageBoxShow(ResString(GroupNotSaved), ResString(GroupNotSavedTitle),
                                      IconExclamation, ButtonsOk);
        return false;
    };
    // The server has the group before the mirror does: what did not leave is not kept.
    const auto sendGroup = [&] {
        const QString payload = Commands::KVG(fields.txtGroupName, fields.txtDescription, now,
                                              m_ctx.user.UserID(), members.join(QLatin1Char(',')));
        return OutgoingText::Told(m_ctx.frontend,
                                  OutgoingText::Send(payload, m_ctx.user.UserID(), m_ctx.sendData));
    };
    switch (m_action) {
    case NewPersonal:
        if (exists(m_ctx.clientDB, QStringLiteral("MyGroups")))
            return refused(GroupExistsPersonal);
        [[fallthrough]];
    case EditPersonal:
        if (!save(m_ctx.clientDB, QStringLiteral("MyGroups"), QStringLiteral("MyGroupUsers")))
            return StayOpen;
        if (m_ctx.process.CurrentList == 12)
            m_refresh = 12;
        break;
    case NewShared:
        if (exists(m_ctx.tempDB, QStringLiteral("KorvaneGroups")))
            return refused(GroupExistsShared);
        if (!sendGroup())
            return StayOpen;
        // The server keeps it and sends the list again: the form's work is done.
        save(m_ctx.tempDB, QStringLiteral("KorvaneGroups"), QStringLiteral("KorvaneGroupUsers"));
        if (m_ctx.process.CurrentList == 11)
            m_refresh = 11;
        break;
    case EditShared:
        if (!sendGroup())
            return StayOpen;
        // The server keeps it and sends the list again: the form's work is done.
        save(m_ctx.tempDB, QStringLiteral("KorvaneGroups"), QStringLiteral("KorvaneGroupUsers"));
        break;
    }
    return Close;
}

bool GroupEditForm::saveGroup(Database &store, const QString &groups, const QString &members,
                              const QStringList &memberIDs, const QString &now)
{
    const QString step = groups == QLatin1String("MyGroups")
                             ? QStringLiteral("frmGroupEdit:SaveMyGroup - ")
                             : QStringLiteral("frmGroupEdit:SaveKorvaneGroup - ");
    const QString &name = fields.txtGroupName;
    // All of it or none: a failed save keeps the members it found.
    Transaction batch(store);
    const auto failed = [&] {
        WriteLog(step + store.lastError());
        return false;
    };
    if (!store.exec(QStringLiteral("DELETE FROM ") + members + QStringLiteral(" WHERE GroupName = ?"),
                    {name}))
        return failed();
    // A group without members does not exist.
    if (memberIDs.isEmpty()) {
        if (!store.exec(QStringLiteral("DELETE FROM ") + groups + QStringLiteral(" WHERE GroupName = ?"),
                        {name}))
            return failed();
        return batch.commit() || failed();
    }
    if (!store.exec(
            QStringLiteral("INSERT INTO ") + groups +
                QStringLiteral(" (GroupName, Description, CreationDate, Creator) VALUES (?, ?, ?, ?) "
                               "ON CONFLICT (GroupName) DO UPDATE SET Description = excluded.Description, "
                               "CreationDate = excluded.CreationDate, Creator = excluded.Creator"),
            {name, fields.txtDescription, now, m_ctx.user.UserID()}))
        return failed();
    // SaveMembers: every member a row under UserID, whatever it names.
    for (const QString &item : memberIDs) {
        if (!store.exec(QStringLiteral("INSERT OR IGNORE INTO ") + members +
                            QStringLiteral(" (GroupName, UserID) VALUES (?, ?)"),
                        {name, item}))
            return failed();
    }
    return batch.commit() || failed();
}
