#include "console/MessageList.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QSqlQuery>

namespace {

const QString OutboxTable = QStringLiteral("Outbox");

} // namespace

MessageList::MessageList(Kind kind, Context context) : m_kind(kind), m_ctx(std::move(context)) {}

Database &MessageList::store() const
{
    return m_kind == AllMsgs ? m_ctx.tempDB : m_ctx.clientDB;
}

QString MessageList::table() const
{
    switch (m_kind) {
    case Inbox:
        return QStringLiteral("Inbox");
    case Received:
        return QStringLiteral("InPkg");
    case AllPkgs:
        return QStringLiteral("OutPkg");
    default:
        return OutboxTable;
    }
}

QString MessageList::RowFilter() const
{
    switch (m_kind) {
    case Outbox:
        return ViewMyReplies ? QStringLiteral("Status<>3")
                             : QStringLiteral("Status<>3 and MsgLevel<>'sysKVReply'");
    case DeletedMsg:
        return QStringLiteral("Status=3");
    case AllMsgs:
        return QStringLiteral("Status<>3");
    default:
        return QString();
    }
}

QList<ListRecord> MessageList::LoadData(const QString &msgID) const
{
    QStringList where;
    QVariantList values;
    if (!msgID.isEmpty()) {
        where << QStringLiteral("MsgID = ?");
        values << msgID;
    }
    if (!RowFilter().isEmpty())
        where << QLatin1Char('(') + RowFilter() + QLatin1Char(')');
    return ListRecord::Read(store(), table(), where.join(QStringLiteral(" AND ")), values);
}

namespace {

// The rows of a detail grid, the stored date of one column written as the system writes dates.
QList<QStringList> rowsOf(Database &database, const QString &sql, const QString &key, int columns,
                          int dateColumn)
{
    QList<QStringList> rows;
    QSqlQuery *query = database.query(sql, {key});
    while (query && query->next()) {
        QStringList row;
        for (int column = 0; column < columns; ++column)
            row << (column == dateColumn ? DateText::DateToText(DateFromStore(query->value(column)))
                                         : query->value(column).toString());
        rows << row;
    }
    return rows;
}

} // namespace

QList<QStringList> MessageList::Receipts(const QString &msgID) const
{
    // Receipts of one's own messages are kept here, whichever list shows them.
    return rowsOf(
        m_ctx.clientDB,
        QStringLiteral("SELECT ReceiptID, UserID, ReceiptDate FROM Receipt WHERE MsgID = ? ORDER BY rowid"),
        msgID, 3, 2);
}

QList<QStringList> MessageList::History(const QString &initID) const
{
    QList<QStringList> rows =
        rowsOf(m_ctx.clientDB,
               QStringLiteral("SELECT MsgID, UserID, UserName, Message, CreationDate, Mailbox "
                              "FROM History WHERE InitID = ? ORDER BY rowid"),
               initID, 6, 4);
    if (rows.isEmpty())
        rows << QStringList{ResString(1256)};
    return rows;
}

QList<MessageList::Item> MessageList::Items() const
{
    switch (m_kind) {
    case Inbox:
        return {mnuNew, mnuDuplicate, mnuPersonalTemplate, mnuSharedTemplate, mnuDelete, mnuRepost};
    case Outbox:
        return {mnuNew,          mnuEdit,      mnuCancel,           mnuResubmit,
                mnuDelete,       mnuDuplicate, mnuPersonalTemplate, mnuSharedTemplate,
                mnuViewMyReplies};
    case AllMsgs:
        return {mnuNew,    mnuEdit,      mnuCancel,           mnuResubmit,
                mnuDelete, mnuDuplicate, mnuPersonalTemplate, mnuSharedTemplate,
                mnuRefresh};
    case DeletedMsg:
        return {mnuNew, mnuDuplicate, mnuPersonalTemplate, mnuSharedTemplate, mnuUndelete, mnuDelete};
    case AllPkgs:
        // Its Refresh is on the menu and does nothing.
        return {mnuNew, mnuEdit, mnuCancel, mnuResubmit, mnuDelete, mnuDuplicate, mnuRefresh};
    case Received:
        return {};
    }
    return {};
}

bool MessageList::Enabled(Item item, int selectedRows) const
{
    switch (item) {
    case mnuDelete:
        return selectedRows >= 1;
    case mnuDuplicate:
    case mnuEdit:
    case mnuPersonalTemplate:
    case mnuSharedTemplate:
    case mnuResubmit:
    case mnuCancel:
    case mnuUndelete:
        return selectedRows == 1;
    default:
        return true;
    }
}

void MessageList::New()
{
    m_ctx.process.SavedSelection.clear();
    m_ctx.sendData(packages() ? Commands::PID() : Commands::MID());
}

void MessageList::Duplicate(const QString &focused)
{
    m_ctx.sendData(packages() ? Commands::PDU(focused) : Commands::MDU(focused));
}

void MessageList::PersonalTemplate(const QString &focused)
{
    m_ctx.sendData(Commands::PTP(focused));
}

void MessageList::SharedTemplate(const QString &focused)
{
    m_ctx.sendData(Commands::STR(focused));
}

std::optional<qint32> MessageList::Cancel(const QString &focused)
{
    m_ctx.sendData(packages() ? Commands::PCA(focused) : Commands::MCA(focused));
    // Packages too are marked in "Outbox", not "OutPkg": a package is not found
    // there and its cell stays as it was. Kept as the lists have always done.
    Database &database = store();
    if (!MessageExist(database, OutboxTable, focused) ||
        !ChangeMessageStatus(database, focused, StatusCancelled, OutboxTable))
        return std::nullopt;
    return StatusCancelled;
}

std::optional<qint32> MessageList::Resubmit(const QString &focused)
{
    DVMessage msg = GetMessage(store(), table(), focused);
    if (msg.MsgID.isEmpty()) {
        WriteLog(QStringLiteral("frmOutbox:mnuResubmit - #") + focused + QStringLiteral(" not found"));
        return std::nullopt;
    }
    bool changed = false;
    std::optional<qint32> cell;
    if (msg.Status != StatusActive) {
        msg.Status = StatusActive;
        cell = StatusActive;
        changed = true;
    }
    // All messages compare with the minute, the others with the moment.
    const QDateTime now = m_kind == AllMsgs ? DateText::TruncateToMinute(m_ctx.clock.currentDateTime())
                                            : m_ctx.clock.currentDateTime();
    if (msg.ExpirationDate < now) {
        msg.ExpirationDate = now.addDays(1);
        changed = true;
    }
    const auto send = [this](DVMessage record) {
        // Sent as resubmitted; the stored copy stays active.
        record.Status = StatusResubmitted;
        m_ctx.sendData(packages() ? Commands::PKG(record) : Commands::MSG(record));
    };
    if (changed) {
        SaveMessage(store(), table(), msg, true, false);
        if (m_kind == AllMsgs) {
            // The organisation's copy goes out, then the author's own is kept in step.
            send(msg);
            if (MessageExist(m_ctx.clientDB, OutboxTable, msg.MsgID))
                SaveMessage(m_ctx.clientDB, OutboxTable, msg, true, false);
        }
    }
    // A changed record of all messages thus goes out twice, as it always has.
    send(msg);
    return cell;
}

QStringList MessageList::Delete(const QString &focused, const QStringList &selected)
{
    if (m_kind == Inbox || m_kind == DeletedMsg) {
        // Only the focused row goes, whatever else is selected; the server is not told.
        if (focused.isEmpty())
            return {};
        DeleteMessage(store(), table(), focused);
        return {focused};
    }
    m_ctx.process.SavedSelection = selected.join(QLatin1Char(','));
    if (selected.isEmpty())
        return {};
    // What goes for the whole organisation, or several rows at once, is asked first, with the count.
    const bool everyone = m_kind == AllMsgs || m_kind == AllPkgs;
    if ((everyone || selected.size() > 1) &&
        m_ctx.frontend.MessageBoxShow(ResString(everyone ? 1254 : 1253).arg(selected.size()), ResString(1255),
                                      IconQuestion, ButtonsYesNo) != ResultYes)
        return {};
    for (const QString &id : selected) {
        DVMessage msg = GetMessage(store(), table(), id);
        if (msg.MsgID.isEmpty())
            continue;
        msg.Status = StatusDeleted;
        m_ctx.sendData(packages() ? Commands::PUP(msg) : Commands::MUP(msg));
        ChangeMessageStatus(store(), id, StatusDeleted, table());
    }
    m_ctx.sendData(packages() ? Commands::PDE(selected) : Commands::MDE(selected));
    return selected;
}

bool MessageList::Undelete(const QString &focused)
{
    // Local only: the server's record stays deleted.
    return MessageExist(store(), table(), focused) &&
           ChangeMessageStatus(store(), focused, StatusActive, table());
}

void MessageList::Repost(const QString &focused)
{
    const DVMessage msg = GetMessage(store(), table(), focused);
    if (!msg.MsgID.isEmpty())
        m_ctx.frontend.AddMessageToDisplay(msg);
}

void MessageList::Refresh()
{
    if (m_kind != AllMsgs)
        return;
    m_ctx.session.AllMessagesLoaded = false;
    m_ctx.tempDB.exec(QStringLiteral("DELETE FROM Outbox"));
    m_ctx.sendData(Commands::ALM());
}
