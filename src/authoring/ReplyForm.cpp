#include "authoring/ReplyForm.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/MessageForm.h"
#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "store/MessageCodes.h"

#include <QStringList>

ReplyForm::ReplyForm(AuthoringContext context) : m_ctx(std::move(context)) {}

void ReplyForm::Load()
{
    Fields = ReplyFields();
    const QDateTime now = m_ctx.clock.currentDateTime();
    Fields.dateNextRun = now.date();
    Fields.timeNextRun = QTime(now.time().hour(), now.time().minute());
    m_enabling = ReplyEnabling();
    m_enabling.txtLinkVisible = m_ctx.policies.CanLinkDocument;
    m_enabling.chkNotify = m_ctx.policies.CanRequestNotification;
    m_reply = DVMessage();
}

void ReplyForm::Original(const DVMessage &msg, const QString &newID)
{
    DVMessage reply;
    reply.MsgID = newID;
    reply.RefID = msg.MsgID;
    // The whole exchange shares the history of the first message.
    reply.InitID = msg.InitID;
    reply.MsgAction = ActionWaiting;
    reply.CreationDate = m_ctx.clock.currentDateTime();
    reply.DeleteAtExpiration = true;
    reply.ExactTime = false;
    reply.ExpirationDate = msg.ExpirationDate;
    reply.ModificationDate = reply.CreationDate;
    reply.MsgLevel = QStringLiteral("sysKVReply");
    reply.RepeatValue = 0;
    reply.StartDate = msg.StartDate;
    reply.Status = StatusActive;
    reply.Subject = msg.Subject;
    // A reply goes to its sender.
    reply.Target = msg.UserID;
    reply.MachineID = m_ctx.user.MachineID();
    reply.UserID = m_ctx.user.UserID();
    reply.UserName = m_ctx.user.UserName;
    reply.AllowReply = false;
    reply.Agent = msg.Agent;
    reply.Attachment.clear();
    m_reply = reply;
    m_toAll = false;
    Fields.txtOriginal = msg.Message;
    Fields.txtSubject = msg.Subject;
}

void ReplyForm::ReplyToAll(const QString &targets)
{
    if (targets.isEmpty() || targets == m_reply.Target)
        return;
    m_toAll = true;
    // Exact comparison: the sender already in the list is not added twice.
    if (targets.split(QLatin1Char(',')).contains(m_reply.Target))
        m_reply.Target = targets;
    else
        m_reply.Target = m_reply.Target + QLatin1Char(',') + targets;
}

QString ReplyForm::Caption() const
{
    return ResString(AuthoringTexts::ReplyCaption) + m_reply.Target;
}

void ReplyForm::EnableFields()
{
    m_enabling.nextRun = Fields.cboDelivery == DeliveryScheduled;
}

void ReplyForm::cboDelivery_Click(int index)
{
    Fields.cboDelivery = qBound(0, index, 3);
    EnableFields();
}

void ReplyForm::chkReceipt_Click(bool checked)
{
    Fields.chkReceipt = checked;
    m_enabling.chkNotify = checked && m_ctx.policies.CanRequestNotification;
}

void ReplyForm::TextChanged()
{
    // The target comes from the message answered: only the text is needed.
    m_enabling.OKButton = !Fields.txtText.isEmpty();
}

void ReplyForm::cmdVariable_Click()
{
    if (MessageForm::AppendVariable(m_ctx.frontend, Fields.txtText))
        TextChanged();
}

bool ReplyForm::OKButton()
{
    TraceLog(QStringLiteral("frmReply:OKButton"));
    Fields.txtText.replace(QLatin1Char('"'), QLatin1Char('\''));
    Fields.txtSubject.replace(QLatin1Char('"'), QLatin1Char('\''));
    // The subject is not sent, so only what is gets checked.
    if (!OutgoingText::Admit(m_ctx.frontend, {&Fields.txtText, &Fields.txtLink}))
        return false;
    // Five fields and no more: the subject and the start stay those of the message answered.
    m_reply.Attachment = Fields.txtLink;
    m_reply.Message = Fields.txtText;
    m_reply.MsgDelivery = qint16(Fields.cboDelivery);
    m_reply.Notify = Fields.chkNotify;
    m_reply.ReceiptRequired = Fields.chkReceipt;
    return OutgoingText::Told(m_ctx.frontend, m_ctx.senders.ReplyNew(m_reply, m_toAll));
}
