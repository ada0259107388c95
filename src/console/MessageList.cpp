#include "console/MessageList.h"

#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QSet>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

const QString OutboxTable = QStringLiteral("Outbox");

// Every row of a query as a record, field for field as the store reads one, with
// the columns found once for all the rows: a list of 100,000 rows read them by
// name 26 times a row. The values a list repeats from row to row (the sender,
// the level, the target) share one string rather than holding a copy each.
QList<DVMessage> readRecords(QSqlQuery &query)
{
    enum Field {
        MsgID,
        RefID,
        InitID,
        Subject,
        Message,
        MsgLevel,
        MsgDelivery,
        Attachment,
        AllowReply,
        ReceiptRequired,
        CreationDate,
        ModificationDate,
        StartDate,
        ExpirationDate,
        RepeatValue,
        RepeatStep,
        UserID,
        UserName,
        MachineID,
        Target,
        Status,
        Notify,
        ExactTime,
        MsgAction,
        NextRunDate,
        Fields
    };
    static const char *const names[Fields] = {
        "MsgID",       "RefID",          "InitID",      "Subject",         "Message",      "MsgLevel",
        "MsgDelivery", "Attachment",     "AllowReply",  "ReceiptRequired", "CreationDate", "ModificationDate",
        "StartDate",   "ExpirationDate", "RepeatValue", "RepeatStep",      "UserID",       "UserName",
        "MachineID",   "Target",         "Status",      "Notify",          "ExactTime",    "MsgAction",
        "NextRunDate"};
    const QSqlRecord record = query.record();
    int at[Fields];
    for (int field = 0; field < Fields; ++field)
        at[field] = record.indexOf(QLatin1String(names[field]));
    QSet<QString> seen;
    const auto shared = [&seen](const QVariant &value) {
        const QString text = value.toString();
        const auto found = seen.constFind(text);
        return found != seen.cend() ? *found : *seen.insert(text);
    };
    // Read in blocks and moved once into a list of the right size: a list grown
    // row by row moves and touches its earlier rows again at every doubling.
    constexpr qsizetype Block = 4096;
    QList<QList<DVMessage>> blocks;
    while (query.next()) {
        if (blocks.isEmpty() || blocks.last().size() == Block) {
            blocks.append(QList<DVMessage>());
            blocks.last().reserve(Block);
        }
        DVMessage m;
        const auto value = [&query, &at](Field field) { return query.value(at[field]); };
        m.MsgID = value(MsgID).toString();
        m.RefID = value(RefID).toString();
        m.InitID = value(InitID).toString();
        m.Subject = value(Subject).toString();
        m.Message = value(Message).toString();
        m.MsgLevel = shared(value(MsgLevel));
        m.MsgDelivery = static_cast<qint16>(value(MsgDelivery).toInt());
        m.Attachment = shared(value(Attachment));
        m.AllowReply = value(AllowReply).toBool();
        m.ReceiptRequired = value(ReceiptRequired).toBool();
        m.CreationDate = DateFromStore(value(CreationDate));
        m.ModificationDate = DateFromStore(value(ModificationDate));
        m.StartDate = DateFromStore(value(StartDate));
        m.ExpirationDate = DateFromStore(value(ExpirationDate));
        // As the store reads it: never read, always true.
        m.DeleteAtExpiration = true;
        m.RepeatValue = static_cast<qint16>(value(RepeatValue).toInt());
        m.RepeatStep = value(RepeatStep).toInt();
        m.UserID = shared(value(UserID));
        m.UserName = shared(value(UserName));
        m.MachineID = shared(value(MachineID));
        m.Target = shared(value(Target));
        m.Status = value(Status).toInt();
        m.Notify = value(Notify).toBool();
        m.ExactTime = value(ExactTime).toBool();
        m.MsgAction = value(MsgAction).toInt();
        m.NextRunDate = DateFromStore(value(NextRunDate));
        blocks.last().append(std::move(m));
    }
    QList<DVMessage> rows;
    rows.reserve(blocks.isEmpty() ? 0 : (blocks.size() - 1) * Block + blocks.last().size());
    for (QList<DVMessage> &block : blocks) {
        for (DVMessage &m : block)
            rows.append(std::move(m));
        block = QList<DVMessage>();
    }
    return rows;
}

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

QList<DVMessage> MessageList::LoadData(const QString &msgID) const
{
    QStringList where;
    QVariantList values;
    if (!msgID.isEmpty()) {
        where << QStringLiteral("MsgID = ?");
        values << msgID;
    }
    if (!RowFilter().isEmpty())
        where << QLatin1Char('(') + RowFilter() + QLatin1Char(')');
    QString sql = QStringLiteral("SELECT * FROM ") + table();
    if (!where.isEmpty())
        sql += QStringLiteral(" WHERE ") + where.join(QStringLiteral(" AND "));
    QSqlQuery *query = store().query(sql + QStringLiteral(" ORDER BY rowid"), values);
    return query ? readRecords(*query) : QList<DVMessage>();
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
        rows << QStringList{QStringLiteral("No history")};
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
