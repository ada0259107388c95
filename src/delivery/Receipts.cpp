#include "delivery/Receipts.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "delivery/BooleanText.h"
#include "delivery/Targeting.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QStringList>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");
constexpr int SharedTemplatesView = 5;

// A receipt row as received: ReceiptID, MsgID, UserID, UserName, MachineID, ReceiptDate.
bool insertReceipt(Database &database, const QStringList &fields)
{
    return database.exec(QStringLiteral("INSERT INTO Receipt (ReceiptID, MsgID, UserID, UserName, MachineID, "
                                        "ReceiptDate) VALUES (?, ?, ?, ?, ?, ?)"),
                         {fields.value(0), fields.value(1), fields.value(2), fields.value(3), fields.value(4),
                          StoredDate(DateText::TextToDate(fields.value(5)))});
}

} // namespace

Receipts::Sending Receipts::send(const QString &payload) const
{
    return OutgoingText::Send(payload, gUserInfos().UserID(), m_sendData);
}

Receipts::Sending Receipts::MsgNew(DVMessage msg)
{
    TraceLog(Form + QStringLiteral("MsgNew"));
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    return send(Commands::MSG(msg));
}

Receipts::Sending Receipts::PkgNew(DVMessage msg)
{
    // The same log text as for messages: it has always said so.
    TraceLog(Form + QStringLiteral("MsgNew"));
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    return send(Commands::PKG(msg));
}

Receipts::Sending Receipts::edit(DVMessage msg, const QString &logName, QString (*command)(const DVMessage &))
{
    TraceLog(Form + logName);
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    // A record that cannot go is said so before the repost question, not after it.
    if (const qsizetype excess = OutgoingText::Excess(command(msg), gUserInfos().UserID()))
        return {Sending::TooLong, excess};
    Frontend *frontend = Frontend::current();
    if (frontend &&
        frontend->MessageBoxShow(QStringLiteral("Do you wish to repost the mesage?"),
                                 QStringLiteral("Message edited"), IconQuestion, ButtonsYesNo) == ResultYes)
        msg.Status = StatusResubmitted;
    return send(command(msg));
}

Receipts::Sending Receipts::MsgEdit(DVMessage msg)
{
    return edit(std::move(msg), QStringLiteral("MsgEdit"), &Commands::MSG);
}

Receipts::Sending Receipts::PkgEdit(DVMessage msg)
{
    return edit(std::move(msg), QStringLiteral("PkgEdit"), &Commands::PKG);
}

Receipts::Sending Receipts::ReplyNew(const DVMessage &msg, bool toAll)
{
    TraceLog(Form + QStringLiteral("ReplyNew"));
    const QString payload = toAll ? Commands::RPA(msg) : Commands::RPL(msg);
    if (const qsizetype excess = OutgoingText::Excess(payload, gUserInfos().UserID()))
        return {Sending::TooLong, excess};
    if (!SaveMessage(ClientDB(), QStringLiteral("Outbox"), msg, true, false)) {
        WriteLog(Form + QStringLiteral("ReplyNew - Unable to save message #") + msg.MsgID);
        return {Sending::NotSent, 0};
    }
    const Sending sent = send(payload);
    // A reply that did not leave is not shown in the Outbox as if it had.
    if (sent.result != Sending::Sent)
        DeleteMessage(ClientDB(), QStringLiteral("Outbox"), msg.MsgID);
    return sent;
}

Receipts::Sending Receipts::SharedTemplate(const DVMessage &msg)
{
    TraceLog(Form + QStringLiteral("SharedTemplate - ") + msg.MsgID);
    const Sending sent = send(Commands::STP(msg));
    if (sent.result == Sending::Sent && gProcess().CurrentList == SharedTemplatesView)
        if (Frontend *frontend = Frontend::current())
            frontend->AddRecord(SharedTemplatesView, msg);
    return sent;
}

void Receipts::GetReceipt(const QString &payload)
{
    TraceLog(Form + QStringLiteral("GetReceipt"));
    // An empty text splits into one empty record; it holds nothing.
    const QStringList records = payload.split(QChar(3), Qt::SkipEmptyParts);
    TraceLog(QString::number(records.size()) + QStringLiteral(" receipts to process"));
    Database &client = ClientDB();
    Frontend *frontend = Frontend::current();
    QStringList confirmations;
    QString last;
    {
        Transaction batch(client);
        for (const QString &record : records) {
            last = record;
            const QStringList fields = record.split(QChar(2));
            // A receipt of a message that is not here is neither stored nor
            // confirmed, so that the server offers it again.
            if (fields.size() < 2 || !MessageExist(client, QStringLiteral("Outbox"), fields[1]))
                continue;
            if (!insertReceipt(client, fields)) {
                WriteLog(Form + QStringLiteral("GetReceipt - ") + client.lastError());
                continue;
            }
            confirmations << fields[0];
            if (!IsTrueText(fields.value(7)) || !frontend)
                continue;
            const QString name = fields.value(3).isEmpty() ? fields.value(2) : fields.value(3);
            // One popup gathers the readers, a line each.
            if (frontend->ReceiptPopupShown())
                m_popupText = m_popupText + QLatin1Char('\n') + name;
            else
                m_popupText = QStringLiteral("Message read by:\n") + name;
            frontend->ShowReceiptPopup(m_popupText);
        }
        // What is confirmed must be stored first.
        if (!batch.commit()) {
            WriteLog(Form + QStringLiteral("GetReceipt - ") + client.lastError());
            return;
        }
    }
    if (!confirmations.isEmpty())
        m_sendData(Commands::CRC(confirmations));
    if (gSession().AllMessagesLoaded && !last.isEmpty())
        GetAdminReceipt(last);
}

void Receipts::GetAdminReceipt(const QString &payload)
{
    TraceLog(Form + QStringLiteral("GetAdminReceipt"));
    const QStringList records = payload.split(QChar(3), Qt::SkipEmptyParts);
    TraceLog(QString::number(records.size()) + QStringLiteral(" receipts to process"));
    Database &temp = TempDB();
    for (const QString &record : records)
        if (!insertReceipt(temp, record.split(QChar(2))))
            WriteLog(Form + QStringLiteral("GetAdminReceipt - ") + temp.lastError());
}
