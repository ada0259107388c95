#include "delivery/MessageIntake.h"

#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "delivery/Replication.h"
#include "delivery/Scheduler.h"
#include "delivery/Targeting.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/MessageCodes.h"

#include <QStringList>

namespace {

// Console views that hear of rows coming and going.
constexpr int InboxView = 1;
constexpr int AllMessagesView = 4;
constexpr int ReceivedPackagesView = 7;
constexpr int AllPackagesView = 9;

void addRecord(int view, const DVMessage &msg)
{
    if (gProcess().CurrentList == view)
        if (Frontend *frontend = Frontend::current())
            frontend->AddRecord(view, msg);
}

void delRecord(int view, const QString &msgID)
{
    if (gProcess().CurrentList == view)
        if (Frontend *frontend = Frontend::current())
            frontend->DelRecord(view, msgID);
}

// Whatever list is open reads the row anew: the author's Outbox sees its own echo, an edit shows.
void recordChanged(const QString &msgID)
{
    if (gProcess().CurrentList != 0)
        if (Frontend *frontend = Frontend::current())
            frontend->RecordChanged(msgID);
}

} // namespace

MessageIntake::MessageIntake(Sender sendData, Address localIP, Replication &replication)
    : m_sendData(std::move(sendData)), m_localIP(std::move(localIP)), m_replication(replication)
{
}

void MessageIntake::ConfirmMessage(const QString &msgID)
{
    m_sendData(Commands::CMS(msgID, gUserInfos().MachineID()));
}

void MessageIntake::ConfirmPackage(const QString &msgID)
{
    m_sendData(Commands::CPK(msgID, gUserInfos().MachineID()));
}

void MessageIntake::MessageReceived(const QString &payload, bool isLogon)
{
    receive(Kind::Message, payload, isLogon);
}

void MessageIntake::PackageReceived(const QString &payload, bool isLogon)
{
    receive(Kind::Package, payload, isLogon);
}

void MessageIntake::receive(Kind kind, const QString &payload, bool isLogon)
{
    const bool message = kind == Kind::Message;
    const QString name = QStringLiteral("frmKorvanClient:") +
                         (message ? QStringLiteral("MessageReceived") : QStringLiteral("PackageReceived"));
    TraceLog(name);
    // An empty text splits into one empty record, which holds nothing.
    const QStringList records = payload.split(QChar(2), Qt::SkipEmptyParts);
    TraceLog(QString::number(records.size()) +
             (message ? QStringLiteral(" messages") : QStringLiteral(" packages")));

    // The whole batch is one transaction; the confirmations wait for its commit,
    // so a crash in the middle loses nothing the server believes delivered.
    QStringList confirmations;
    m_storeFailed = false;
    {
        Transaction client(ClientDB());
        Transaction temp(TempDB());
        for (const QString &record : records) {
            DVMessage msg;
            msg.ToObject(record);
            // A record without an ID is nothing to confirm, store or show.
            if (msg.MsgID.isEmpty())
                continue;
            TraceLog(name + QStringLiteral(" - Processing ") + msg.MsgID);
            confirmations << (message ? Commands::CMS(msg.MsgID, gUserInfos().MachineID())
                                      : Commands::CPK(msg.MsgID, gUserInfos().MachineID()));
            if (!handleRecord(kind, msg, isLogon) || m_storeFailed)
                break;
        }
        // A record that could not be written must come again: nothing is kept or confirmed.
        if (m_storeFailed)
            return;
        const bool stored = client.commit();
        temp.commit();
        if (!stored) {
            WriteLog(name + QStringLiteral(" - ") + ClientDB().lastError());
            return;
        }
    }
    for (const QString &confirmation : confirmations)
        m_sendData(confirmation);
}

bool MessageIntake::handleRecord(Kind kind, DVMessage &msg, bool isLogon)
{
    const bool message = kind == Kind::Message;
    const QString name = QStringLiteral("frmKorvanClient:") +
                         (message ? QStringLiteral("MessageReceived") : QStringLiteral("PackageReceived"));
    const QString noun = message ? QStringLiteral("message") : QStringLiteral("package");
    const QString table = message ? QStringLiteral("Inbox") : QStringLiteral("InPkg");
    const int view = message ? InboxView : ReceivedPackagesView;
    Database &client = ClientDB();
    Frontend *frontend = Frontend::current();
    const UserInfos &user = gUserInfos();

    if (msg.Status == StatusDeleted) {
        TraceLog(name + QStringLiteral(" - Deleted ") + noun);
        if (message) {
            m_replication.MessagesDeleted(msg.MsgID);
            // The administrators' flag, not the all-messages one: kept so on purpose.
            if (gSession().AdminsLoaded)
                DeleteMessage(TempDB(), QStringLiteral("Outbox"), msg.MsgID);
        } else {
            m_replication.PackagesDeleted(msg.MsgID);
        }
        return true;
    }
    if (msg.Status == StatusResubmitted) {
        TraceLog(name + QStringLiteral(" - Resubmitted ") + noun);
        DeleteMessage(client, table, msg.MsgID);
        msg.Status = StatusActive;
    }
    if (message) {
        if (msg.UserID == user.UserID())
            SaveMessage(client, QStringLiteral("Outbox"), msg, true, false);
    } else if (user.IsPostmaster()) {
        if (SaveMessage(client, QStringLiteral("OutPkg"), msg, true, false))
            addRecord(AllPackagesView, msg);
    }
    // The whole batch belongs to the other agent: the rest is neither handled
    // nor confirmed, and the server relies on that.
    if (!msg.Agent.isEmpty() && msg.Agent != user.Agent) {
        TraceLog(name + QStringLiteral(" - Different Agent: ") + msg.Agent);
        recordChanged(msg.MsgID);
        return false;
    }

    if (!Targeting::MemberOfTarget(msg.Target, m_localIP ? m_localIP() : QString())) {
        if (MessageExist(client, table, msg.MsgID)) {
            TraceLog(name + QStringLiteral(" - Not member anymore - Delete from DB"));
            DeleteMessage(client, table, msg.MsgID);
            delRecord(view, msg.MsgID);
        }
    } else if (!MessageExist(client, table, msg.MsgID)) {
        TraceLog(name + QStringLiteral(" - New"));
        if (!message)
            msg.NextRunDate = msg.StartDate;
        // The banner has the message before its row is written, with what the
        // eligibility test left in it.
        if (Scheduler::NewMsgEligible(msg, isLogon) && frontend)
            frontend->AddMessageToDisplay(msg);
        if (!SaveMessage(client, table, msg, false, false)) {
            m_storeFailed = true;
            WriteLog((message ? QStringLiteral("MessageReceived") : QStringLiteral("PackageReceived")) +
                     QStringLiteral(": Unable to save new message #") + msg.MsgID);
        } else {
            addRecord(view, msg);
        }
    } else {
        TraceLog(name +
                 (message ? QStringLiteral(" - Message exists") : QStringLiteral(" - Package exists")));
        const DVMessage stored = GetMessage(client, table, msg.MsgID);
        if (msg.Status == StatusActive) {
            if (message)
                TraceLog(name + QStringLiteral(" - Keep existing status"));
            msg.Status = stored.Status;
        }
        if (msg.IsEqual(stored)) {
            TraceLog(name + QStringLiteral(" - No diff. - Nothing to do"));
        } else {
            TraceLog(name + (message ? QStringLiteral(" - Edit - Update DB")
                                     : QStringLiteral(" - Diff. - Update DB")));
            // An edit never moves the schedule.
            msg.NextRunDate = stored.NextRunDate;
            if (!SaveMessage(client, table, msg, true, false)) {
                m_storeFailed = true;
                WriteLog(
                    message
                        ? QStringLiteral("MessageReceived: Unable to save existing message #") + msg.MsgID
                        : QStringLiteral("PackageReceived: Unable to save existing package #") + msg.MsgID);
            }
            if (msg.Status != StatusActive) {
                TraceLog(name + QStringLiteral(" - Diff. - Inactive message - Cancel"));
                if (frontend)
                    frontend->DeleteMessageFromDisplay(msg.MsgID);
            } else if (frontend && frontend->IsOnDisplay(msg.MsgID)) {
                // The banner shows the new text at once.
                frontend->DeleteMessageFromDisplay(msg.MsgID);
                frontend->AddMessageToDisplay(msg);
            }
        }
    }

    if (message && gSession().AdminsLoaded) {
        SaveMessage(TempDB(), QStringLiteral("Outbox"), msg, true, false);
        addRecord(AllMessagesView, msg);
    }
    recordChanged(msg.MsgID);
    return true;
}

void MessageIntake::AllMessageReceived(const QString &payload)
{
    TraceLog(QStringLiteral("frmKorvanClient:AllMessageReceived"));
    if (payload.isEmpty())
        return;
    const QStringList records = payload.split(QChar(2), Qt::SkipEmptyParts);
    TraceLog(QString::number(records.size()) + QStringLiteral(" messages"));
    Transaction temp(TempDB());
    for (const QString &record : records) {
        DVMessage msg;
        msg.ToObject(record);
        if (msg.MsgID.isEmpty())
            continue;
        SaveMessage(TempDB(), QStringLiteral("Outbox"), msg, true, true);
    }
    temp.commit();
}
