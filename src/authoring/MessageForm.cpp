#include "authoring/MessageForm.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/SelectionList.h"
#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "link/Commands.h"
#include "link/Policies.h"
#include "netsvc/NetworkPaths.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"

#include <QFileInfo>

namespace {

constexpr int OutboxList = 2;
constexpr int PersonalTemplatesList = 6;

// The date of one control and the time of its neighbour, to the minute.
QDateTime joined(const QDate &date, const QTime &time)
{
    return QDateTime(date, QTime(time.hour(), time.minute()), Qt::UTC);
}

QTime toMinute(const QDateTime &value)
{
    return QTime(value.time().hour(), value.time().minute());
}

// Double quotes would break the SQL and tag forms the record passes through.
void unquote(QString &text)
{
    text.replace(QLatin1Char('"'), QLatin1Char('\''));
}

} // namespace

MessageForm::MessageForm(AuthoringContext context, bool package)
    : m_ctx(std::move(context)), m_package(package)
{
}

QString MessageForm::VariableList()
{
    return QStringLiteral("%DAYOFWEEK%|%DATE%|%LONGDATE%|%TIME%|%LONGTIME%|%USERID%|%USERNAME%|%MACHINEID%");
}

QString MessageForm::tracePrefix() const
{
    return m_package ? QStringLiteral("frmPackage:") : QStringLiteral("frmMessage:");
}

QString MessageForm::Caption() const
{
    // The package titles have no trailing blank: the ID follows directly.
    if (m_package)
        return ResString(AuthoringTexts::PackageTitleFirst + qBound(0, m_action, 2)) + Tag;
    return ResString(AuthoringTexts::TitleNewMessage + qBound(0, m_action, 8)) + Tag;
}

void MessageForm::Load()
{
    Fields = MessageFields();
    const QDate today = m_ctx.clock.currentDateTime().date();
    Fields.dateNextRun = today;
    // The lifetime is the one policy that gives a value rather than a right.
    Fields.dateExpiration = today.addDays(m_ctx.policies.Lifetime);
    Fields.timeNextRun = toMinute(m_ctx.clock.currentDateTime());
    Fields.timeExpiration = Fields.timeNextRun;
    m_levels.clear();
    // A package carries the reserved level: there is none to choose.
    for (const level &row : m_package ? QList<level>() : m_ctx.levels.items()) {
        if (row.Authority > m_ctx.user.MyAuthority())
            continue;
        m_levels.append({row.LevelName, row.Description, quint32(qint64(row.BackColor)),
                         quint32(qint64(row.ForeColor)), quint32(qint64(row.ShadowColor)), row.DrawShadow});
    }
    if (!m_levels.isEmpty())
        Fields.cboLevel = m_levels.first().Name;
    m_base.reset();
    m_enabling = MessageEnabling();
    TextChanged();
}

void MessageForm::OpenNew(int action, const QString &msgID, const QString &target)
{
    Load();
    m_action = action;
    Tag = msgID;
    Fields.txtTarget = target;
    EnableFields();
    TextChanged();
    opened();
}

void MessageForm::EditMessage(const DVMessage &msg, int action)
{
    m_base = msg;
    Msg2Fields(true);
    m_action = action;
    EnableFields();
    TextChanged();
    opened();
}

void MessageForm::ViewMessage(const DVMessage &msg)
{
    EditMessage(msg, ViewMessageAction);
    m_enabling.viewOnly = true;
}

bool MessageForm::DuplicateMessage(Database &store, const QString &table, const QString &oldID,
                                   const QString &newID)
{
    // The package composer has the same method under its own name.
    const QString method =
        tracePrefix() + (m_package ? QStringLiteral("DuplicatePackage") : QStringLiteral("DuplicateMessage"));
    TraceLog(method);
    DVMessage msg = GetMessage(store, table, oldID);
    if (msg.MsgID.isEmpty()) {
        WriteLog(method + QStringLiteral(" - ") + table + QStringLiteral(" #") + oldID);
        return false;
    }
    const QDateTime now = m_ctx.clock.currentDateTime();
    msg.Status = StatusActive;
    msg.CreationDate = now;
    msg.ExpirationDate = now.addDays(m_ctx.policies.Lifetime);
    msg.ModificationDate = now;
    msg.MsgAction = ActionWaiting;
    msg.InitID.clear();
    msg.MachineID = m_ctx.user.MachineID();
    msg.UserID = m_ctx.user.UserID();
    m_base = msg;
    // The dates stay as the form was loaded: the copy starts afresh.
    Msg2Fields(false);
    Tag = newID;
    EnableFields();
    TextChanged();
    opened();
    return true;
}

void MessageForm::Msg2Fields(bool full)
{
    if (!m_base)
        return;
    const DVMessage &msg = *m_base;
    if (full)
        Tag = msg.MsgID;
    if (!m_package)
        Fields.chkReply = msg.AllowReply;
    Fields.txtLink = msg.Attachment;
    Fields.chkBroadcast = msg.Agent.isEmpty();
    Fields.chkExactTime = msg.ExactTime;
    if (full) {
        Fields.dateExpiration = msg.ExpirationDate.date();
        Fields.timeExpiration = toMinute(msg.ExpirationDate);
    }
    Fields.txtText = msg.Message;
    Fields.cboDelivery = qBound(0, int(msg.MsgDelivery), 3);
    if (!m_package)
        Fields.cboLevel = msg.MsgLevel;
    Fields.chkNotify = msg.Notify;
    Fields.chkReceipt = msg.ReceiptRequired;
    Fields.cboRepeat = qBound(0, int(msg.RepeatStep), int(RepeatLogon));
    Fields.numRepeat = qMax(0, int(msg.RepeatValue));
    if (full) {
        Fields.dateNextRun = msg.StartDate.date();
        Fields.timeNextRun = toMinute(msg.StartDate);
    }
    Fields.txtSubject = msg.Subject;
    Fields.txtTarget = msg.Target;
}

DVMessage MessageForm::Fields2Msg() const
{
    DVMessage msg;
    msg.AllowReply = !m_package && Fields.chkReply;
    msg.Attachment = Fields.txtLink;
    // An empty agent sends to the whole network, the agent's name only to its clients.
    msg.Agent = Fields.chkBroadcast ? QString() : m_ctx.user.Agent;
    msg.ExactTime = Fields.chkExactTime;
    msg.ExpirationDate = joined(Fields.dateExpiration, Fields.timeExpiration);
    msg.MachineID = m_ctx.user.MachineID();
    msg.Message = Fields.txtText;
    msg.ModificationDate = m_ctx.clock.currentDateTime();
    msg.MsgDelivery = qint16(Fields.cboDelivery);
    msg.MsgID = Tag;
    msg.MsgLevel = m_package ? QStringLiteral("sysKVPackage") : Fields.cboLevel;
    msg.Notify = Fields.chkNotify;
    msg.ReceiptRequired = Fields.chkReceipt;
    msg.RepeatStep = Fields.cboRepeat;
    msg.RepeatValue = qint16(Fields.numRepeat);
    msg.StartDate = joined(Fields.dateNextRun, Fields.timeNextRun);
    msg.Subject = Fields.txtSubject.isEmpty() ? Fields.txtText.left(30) : Fields.txtSubject;
    msg.Target = Fields.txtTarget;
    msg.UserID = m_ctx.user.UserID();
    msg.UserName = m_ctx.user.UserName;
    return msg;
}

void MessageForm::EnableFields()
{
    const Policies &p = m_ctx.policies;
    MessageEnabling &e = m_enabling;
    const bool hasAgent = !m_ctx.user.Agent.isEmpty();
    const bool logon = Fields.cboRepeat == RepeatLogon;
    const int delivery = Fields.cboDelivery;
    e.chkBroadcastVisible = hasAgent;
    e.numRepeat = !logon && delivery != DeliveryCertified && p.CanCreateRepeating;
    e.cboRepeat = e.numRepeat;
    e.nextRun =
        delivery == DeliveryScheduled || (delivery != DeliveryCertified && Fields.numRepeat > 0 && !logon);
    // An Immediate message that does not repeat has no expiration to edit.
    e.expiration = delivery > 0 || Fields.numRepeat > 0;
    e.cboRepeat = Fields.numRepeat > 0;
    if (m_package) {
        // A package always has its link and its broadcast choice; only the group policies count.
        e.cmdDomainVisible = p.UseDomainGroups;
        e.cmdKorvanVisible = p.UseKorvanGroups;
        e.cmdDomainInKorvanPlace = p.UseDomainGroups && !p.UseKorvanGroups;
        e.txtLinkVisible = true;
        return;
    }
    if (m_action != ViewMessageAction) {
        e.txtLinkVisible = p.CanLinkDocument;
        e.cmdDomainVisible = p.UseDomainGroups;
        e.cmdKorvanVisible = p.UseKorvanGroups;
        e.chkBroadcastVisible = p.CanBroadcast && hasAgent;
        // The right alone decides here, whatever the delivery and the repeat step
        // said above; the composer has always let a Logon repeat be edited so.
        e.numRepeat = p.CanCreateRepeating;
        e.cmdDomainInKorvanPlace = p.UseDomainGroups && !p.UseKorvanGroups;
        // Not tied to chkReceipt here, unlike its click: kept as it always was.
        e.chkNotify = p.CanRequestNotification;
    }
}

void MessageForm::cboDelivery_Click(int index)
{
    Fields.cboDelivery = qBound(0, index, 3);
    if (Fields.cboDelivery == DeliveryLogon)
        Fields.cboRepeat = RepeatLogon;
    else if (Fields.cboDelivery == DeliveryCertified)
        Fields.numRepeat = 0;
    EnableFields();
}

void MessageForm::chkReceipt_Click(bool checked)
{
    Fields.chkReceipt = checked;
    m_enabling.chkNotify = checked && m_ctx.policies.CanRequestNotification;
}

void MessageForm::TextChanged()
{
    // A package is its document: the text and the link, whatever SEND says of the target.
    if (m_package) {
        m_enabling.OKButton = !Fields.txtText.isEmpty() && !Fields.txtLink.isEmpty();
        return;
    }
    // Only a user who may send to all may leave the recipients empty: it means everybody.
    m_enabling.OKButton = m_ctx.policies.CanSendToAll
                              ? !Fields.txtText.isEmpty()
                              : !Fields.txtText.isEmpty() && !Fields.txtTarget.isEmpty();
}

bool MessageForm::AppendVariable(Frontend &frontend, QString &text)
{
    const QString variable = frontend.InputChoice(ResString(AuthoringTexts::VariablePrompt),
                                                  ResString(AuthoringTexts::VariableTitle), IconQuestion,
                                                  VariableList(), QStringLiteral("%DATE%"));
    // At the end of the text, whatever the hint says of the cursor.
    if (variable.isEmpty())
        return false;
    text += variable;
    return true;
}

void MessageForm::cmdVariable_Click()
{
    if (AppendVariable(m_ctx.frontend, Fields.txtText))
        TextChanged();
}

void MessageForm::RecipientsButton(int kind)
{
    if (kind < SelectPersonalGroups || kind > SelectMachines)
        return;
    const QString request = SelectionList::RequestFor(kind, m_ctx.session, requester());
    request.isEmpty() ? select(kind) : (void)m_ctx.sendData(request);
}

QChar MessageForm::requester() const
{
    return QLatin1Char(m_package ? 'P' : 'M');
}

void MessageForm::select(int kind)
{
    if (!getSelection)
        return;
    Fields.txtTarget = getSelection(kind, Fields.txtTarget);
    TextChanged();
}

bool MessageForm::VerifyFile(const QString &path)
{
    if (path.isEmpty())
        return true;
    QString network = path;
    // A file on a mount that has vanished since it was chosen is no longer there to share.
    const bool gone = !NetworkPaths::IsNetworkPath(path, {}) && !QFileInfo::exists(path);
    if (gone || !NetworkPaths::PathToUNC(network)) {
        m_ctx.frontend.MessageBoxShow(ResString(AuthoringTexts::WrongLocationText),
                                      ResString(AuthoringTexts::WrongLocationTitle), IconExclamation,
                                      ButtonsOk);
        return false;
    }
    Fields.txtLink = network;
    // The refused extensions are a message's rule: a package may carry an installer.
    if (m_package)
        return true;
    const qsizetype dot = network.lastIndexOf(QLatin1Char('.'));
    const QString extension = dot < 0 ? network : network.mid(dot + 1);
    // Case counts: "EXE" passes a list that refuses "exe", as it always has.
    if (m_ctx.policies.DeniedExtensions.split(QLatin1Char(',')).contains(extension)) {
        m_ctx.frontend.MessageBoxShow(ResString(AuthoringTexts::WrongTypeText),
                                      ResString(AuthoringTexts::WrongTypeTitle), IconCritical, ButtonsOk);
        return false;
    }
    return true;
}

void MessageForm::keepUnshown(DVMessage &msg) const
{
    if (!m_base)
        return;
    // What no control shows stays as stored, so that an edit that changed
    // nothing compares equal and a real one loses nothing of the record.
    msg.CreationDate = m_base->CreationDate;
    msg.NextRunDate = m_base->NextRunDate;
    msg.InitID = m_base->InitID;
    msg.Status = m_base->Status;
    msg.RefID = m_base->RefID;
    msg.DeleteAtExpiration = m_base->DeleteAtExpiration;
}

bool MessageForm::datesAgree(const DVMessage &msg) const
{
    if (msg.MsgDelivery != DeliveryScheduled || msg.StartDate <= msg.ExpirationDate)
        return true;
    m_ctx.frontend.MessageBoxShow(ResString(AuthoringTexts::DatesText), ResString(AuthoringTexts::DatesTitle),
                                  IconExclamation, ButtonsOk);
    return false;
}

MessageForm::Outcome MessageForm::sent(const OutgoingText::Sending &sending) const
{
    return OutgoingText::Told(m_ctx.frontend, sending) ? Close : StayOpen;
}

MessageForm::Outcome MessageForm::OKButton()
{
    TraceLog(tracePrefix() + QStringLiteral("OKButton"));
    unquote(Fields.txtSubject);
    unquote(Fields.txtText);
    unquote(Fields.txtTarget);
    // "bob, alice" reaches alice: the blank would be part of her name.
    Fields.txtTarget = OutgoingText::Entries(Fields.txtTarget).join(QLatin1Char(','));
    if (!OutgoingText::Admit(m_ctx.frontend,
                             {&Fields.txtSubject, &Fields.txtText, &Fields.txtTarget, &Fields.txtLink}))
        return StayOpen;
    if (!VerifyFile(Fields.txtLink))
        return StayOpen;
    DVMessage msg = Fields2Msg();

    const QDateTime now = m_ctx.clock.currentDateTime();
    if (!m_package && msg.ExactTime && msg.StartDate < DateText::TruncateToMinute(now) &&
        msg.RepeatValue == 0) {
        const QString text = ResString(AuthoringTexts::ExactTimeText) + QLatin1Char('\n') +
                             ResString(AuthoringTexts::ExactTimeQuestion);
        if (m_ctx.frontend.MessageBoxShow(text, ResString(AuthoringTexts::ExactTimeTitle), IconQuestion,
                                          ButtonsYesNo) == ResultNo)
            return StayOpen;
    }

    if (m_package) {
        if (m_action != NewMessage && m_action != EditMessageAction)
            return Close;
        if (!datesAgree(msg))
            return StayOpen;
        // The engine's own intake refreshes the packages' list.
        if (m_action == NewMessage) {
            msg.CreationDate = msg.ModificationDate = now;
            msg.Status = StatusActive;
            msg.InitID = msg.MsgID;
            return sent(m_ctx.senders.PkgNew(msg));
        }
        DVMessage compared = msg;
        keepUnshown(compared);
        if (m_base && compared.IsEqual(*m_base))
            return Close;
        // Unlike a message's edit, the creation, the next run and InitID are not carried over.
        msg.ModificationDate = now;
        msg.Status = m_base ? m_base->Status : StatusActive;
        return sent(m_ctx.senders.PkgEdit(msg));
    }
    const int list = m_ctx.process.CurrentList;
    const auto refresh = [this, list](int shown, const DVMessage &record) {
        if (list == shown)
            m_ctx.frontend.AddRecord(shown, record);
    };
    switch (m_action) {
    case NewMessage:
        if (!datesAgree(msg))
            return StayOpen;
        msg.CreationDate = msg.ModificationDate = now;
        msg.Status = StatusActive;
        msg.InitID = msg.MsgID;
        if (sent(m_ctx.senders.MsgNew(msg)) == StayOpen)
            return StayOpen;
        refresh(OutboxList, msg);
        break;
    case EditMessageAction:
        keepUnshown(msg);
        if (m_base && msg.IsEqual(*m_base))
            break;
        if (!datesAgree(msg))
            return StayOpen;
        msg.ModificationDate = now;
        if (sent(m_ctx.senders.MsgEdit(msg)) == StayOpen)
            return StayOpen;
        refresh(OutboxList, msg);
        break;
    case NewSharedTemplate:
    case EditSharedTemplate:
        // No date is touched: the server keeps the template as written.
        return sent(m_ctx.senders.SharedTemplate(msg));
    case NewPersonalTemplate:
        msg.CreationDate = msg.ModificationDate = now;
        msg.Status = StatusActive;
        if (!SaveMessage(m_ctx.clientDB, QStringLiteral("MyTemplates"), msg, false, false))
            WriteLog(tracePrefix() + QStringLiteral("OKButton - ") + m_ctx.clientDB.lastError());
        refresh(PersonalTemplatesList, msg);
        break;
    case EditPersonalTemplate:
        keepUnshown(msg);
        if (m_base && msg.IsEqual(*m_base))
            break;
        msg.ModificationDate = now;
        if (!SaveMessage(m_ctx.clientDB, QStringLiteral("MyTemplates"), msg, true, false))
            WriteLog(tracePrefix() + QStringLiteral("OKButton - ") + m_ctx.clientDB.lastError());
        refresh(PersonalTemplatesList, msg);
        break;
    default:
        break;
    }
    return Close;
}
