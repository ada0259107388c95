#include "console/TemplateList.h"

#include "core/Globals.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

TemplateList::TemplateList(Kind kind, Context context) : m_kind(kind), m_ctx(std::move(context)) {}

Database &TemplateList::store() const
{
    return m_kind == Shared ? m_ctx.tempDB : m_ctx.clientDB;
}

QString TemplateList::table() const
{
    return m_kind == Shared ? QStringLiteral("SharedTemplates") : QStringLiteral("MyTemplates");
}

QList<ListRecord> TemplateList::LoadData(const QString &msgID) const
{
    return msgID.isEmpty() ? ListRecord::Read(store(), table(), QString(), {})
                           : ListRecord::Read(store(), table(), QStringLiteral("MsgID = ?"), {msgID});
}

QList<TemplateList::Item> TemplateList::Items() const
{
    QList<Item> items = {mnuNew,       mnuCreateFromTemplate, mnuEdit,
                         mnuDuplicate, mnuPersonalTemplate,   mnuSharedTemplate,
                         mnuDelete};
    if (m_kind == Shared)
        items << mnuRefresh;
    return items;
}

bool TemplateList::Enabled(Item item, int selectedRows) const
{
    // Shared templates are everyone's to use and a Postmaster's to change.
    const bool mayChange = m_kind == Personal || m_ctx.user.IsPostmaster();
    switch (item) {
    case mnuDuplicate:
    case mnuEdit:
    case mnuSharedTemplate:
        return selectedRows == 1 && mayChange;
    case mnuPersonalTemplate:
    case mnuCreateFromTemplate:
        return selectedRows == 1;
    case mnuNew:
        return mayChange;
    case mnuDelete:
        return selectedRows >= 1 && mayChange;
    case mnuRefresh:
        return true;
    }
    return false;
}

void TemplateList::New()
{
    m_ctx.sendData(m_kind == Shared ? Commands::STI() : Commands::PTI());
}

void TemplateList::CreateFromTemplate(const QString &focused)
{
    m_ctx.sendData(Commands::MTP(focused));
}

void TemplateList::Duplicate(const QString &focused)
{
    m_ctx.sendData(Commands::MDU(focused));
}

void TemplateList::PersonalTemplate(const QString &focused)
{
    m_ctx.sendData(Commands::PTP(focused));
}

void TemplateList::SharedTemplate(const QString &focused)
{
    m_ctx.sendData(Commands::STR(focused));
}

QStringList TemplateList::Delete(const QString &focused, const QStringList &selected)
{
    if (m_kind == Personal) {
        // At once and without a question; the server keeps no personal template.
        if (focused.isEmpty())
            return {};
        DeleteMessage(m_ctx.clientDB, table(), focused);
        return {focused};
    }
    m_ctx.process.SavedSelection = selected.join(QLatin1Char(','));
    if (selected.isEmpty())
        return {};
    m_ctx.sendData(Commands::TDE(selected));
    for (const QString &id : selected)
        DeleteMessage(m_ctx.tempDB, table(), id);
    return selected;
}

void TemplateList::Refresh()
{
    if (m_kind != Shared)
        return;
    m_ctx.session.SharedTemplatesLoaded = false;
    m_ctx.tempDB.exec(QStringLiteral("DELETE FROM SharedTemplates"));
    m_ctx.sendData(Commands::TMP());
}
