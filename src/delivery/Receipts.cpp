#include "delivery/Receipts.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
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

void Receipts::MsgNew(DVMessage msg)
{
    TraceLog(Form + QStringLiteral("MsgNew"));
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    m_sendData(Commands::MSG(msg));
}

void Receipts::PkgNew(DVMessage msg)
{
    // The same log text as for messages: it has always said so.
    TraceLog(Form + QStringLiteral("MsgNew"));
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    m_sendData(Commands::PKG(msg));
}

void Receipts::edit(DVMessage &msg, const QString &logName)
{
    TraceLog(Form + logName);
    msg.Target = Targeting::ReplaceMyGroupsInTarget(msg.Target);
    Frontend *frontend = Frontend::current();
    if (frontend &&
        frontend->MessageBoxShow(QStringLiteral("Do you wish to repost the mesage?"),
                                 QStringLiteral("Message edited"), IconQuestion, ButtonsYesNo) == ResultYes)
        msg.Status = StatusResubmitted;
}

void Receipts::MsgEdit(DVMessage msg)
{
    edit(msg, QStringLiteral("MsgEdit"));
    m_sendData(Commands::MSG(msg));
}

void Receipts::PkgEdit(DVMessage msg)
{
    edit(msg, QStringLiteral("PkgEdit"));
    m_sendData(Commands::PKG(msg));
}

void Receipts::ReplyNew(const DVMessage &msg, bool toAll)
{
    TraceLog(Form + QStringLiteral("ReplyNew"));
    if (!SaveMessage(ClientDB(), QStringLiteral("Outbox"), msg, true, false)) {
        WriteLog(Form + QStringLiteral("ReplyNew - Unable to save message #") + msg.MsgID);
        return;
    }
    m_sendData(toAll ? Commands::RPA(msg) : Commands::RPL(msg));
}

void Receipts::SharedTemplate(const DVMessage &msg)
{
    TraceLog(Form + QStringLiteral("SharedTemplate - ") + msg.MsgID);
    m_sendData(Commands::STP(msg));
    if (gProcess().CurrentList == SharedTemplatesView)
        if (Frontend *frontend = Frontend::current())
            frontend->AddRecord(SharedTemplatesView, msg);
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
