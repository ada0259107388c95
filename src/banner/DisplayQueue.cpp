#include "banner/DisplayQueue.h"

#include "banner/BannerView.h"
#include "core/Clock.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserInfos.h"
#include "link/Commands.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "ui/BannerText.h"
#include "ui/SoundCodes.h"

#include <QLocale>

namespace {

const QString Banner = QStringLiteral("frmBanner:");

quint32 colour(double value)
{
    return value < 0 ? 0 : static_cast<quint32>(value);
}

} // namespace

DisplayQueue::DisplayQueue(BannerView &view, Hooks hooks) : m_view(view), m_hooks(std::move(hooks)) {}

qsizetype DisplayQueue::indexOf(const QString &msgID) const
{
    for (qsizetype i = 0; i < m_queue.size(); ++i)
        if (m_queue[i].ActualMessage.MsgID == msgID)
            return i;
    return -1;
}

bool DisplayQueue::IsOnDisplay(const QString &msgID) const
{
    return indexOf(msgID) >= 0;
}

void DisplayQueue::setInboxAction(const DVMessage &msg, qint32 action)
{
    ClientDB().exec(QStringLiteral("UPDATE Inbox SET MsgAction = ? WHERE MsgID = ?"), {action, msg.MsgID});
}

void DisplayQueue::AddMessageToDisplay(const DVMessage &lMsg)
{
    TraceLog(Banner + QStringLiteral("AddMessageToDisplay - MsgID: ") + lMsg.MsgID);
    if (lMsg.MsgLevel == QLatin1String("sysKVReply")) {
        TraceLog(Banner + QStringLiteral("AddMessageToDisplay - Reply level"));
        if (m_hooks.displayReplies && !m_hooks.displayReplies()) {
            TraceLog(Banner + QStringLiteral("AddMessageToDisplay - Display Replies menu item unchecked"));
            setInboxAction(lMsg, ActionDone);
            return;
        }
    }
    setInboxAction(lMsg, ActionQueued);

    DisplayMessage entry;
    entry.ActualMessage = lMsg;
    // Variables are fixed when the message joins the queue.
    entry.ActualMessage.Message = BannerText::Expand(lMsg.Message);
    // The same id again goes to the end, and counts and sounds afresh.
    const qsizetype existing = indexOf(lMsg.MsgID);
    if (existing >= 0) {
        m_queue.removeAt(existing);
        if (existing + 1 < m_displayIndex)
            --m_displayIndex;
        else if (existing + 1 == m_displayIndex)
            m_displayIndex = qMax(0, m_displayIndex - 1);
    }
    m_queue.append(entry);
    if (!m_view.isShown())
        AfficheMessage();
}

void DisplayQueue::AfficheMessage()
{
    if (m_queue.isEmpty()) {
        m_displayIndex = 0;
        m_view.stopSound();
        m_view.hideBanner();
        return;
    }
    const int old = m_displayIndex;
    m_displayIndex = m_displayIndex + 1 > m_queue.size() ? 1 : m_displayIndex + 1;
    // Alone on the strip: it keeps scrolling and sounding, nothing is redrawn.
    if (m_displayIndex == old)
        return;

    DisplayMessage &entry = m_queue[m_displayIndex - 1];
    const DVMessage &msg = entry.ActualMessage;
    // The button of a message seen for the first time wakes once its text has passed.
    m_view.setAcknowledgeEnabled(entry.Count > 0);

    LevelCollection &levels = gLevels();
    if (!levels.loaded()) {
        TraceLog(QStringLiteral("Reading existing Levels"));
        GetLevels();
    }
    if (levels.count() == 0) {
        TraceLog(QStringLiteral("DisplayMessage:  No defined Levels"));
        return;
    }
    const level *lvl = levels.find(msg.MsgLevel);
    if (!lvl) {
        // The message waits in the queue; the next pass moves on.
        WriteLog(Banner + QStringLiteral("AfficheMessage - Level ") + msg.MsgLevel +
                 QStringLiteral(" not found"));
        return;
    }

    m_view.stopSound();
    if (!entry.Sounded) {
        if (lvl->SoundType == 1)
            m_view.beep();
        else if (lvl->SoundType == SoundCodes::File && !lvl->LocalSoundFile.isEmpty())
            // A chosen file plays from the copy fetched to this workstation, not from the share.
            m_view.playFile(lvl->SoundType, lvl->LocalSoundFile, lvl->Looping);
        else if (lvl->SoundType != 0)
            m_view.playFile(lvl->SoundType, lvl->SoundFile, lvl->Looping);
    }

    StripLook look;
    look.BackColor = colour(lvl->BackColor);
    look.ForeColor = colour(lvl->ForeColor);
    look.ShadowColor = colour(lvl->ShadowColor);
    look.ShowShadow = lvl->DrawShadow;
    look.HasLink = !msg.Attachment.isEmpty();
    look.AllowReply = msg.AllowReply;
    look.FromInfo = msg.MsgLevel + ResString(148) + msg.UserName + QStringLiteral(" - ") +
                    QLocale::system().toString(msg.CreationDate, QLocale::ShortFormat);
    look.Text = msg.Message;
    entry.Sounded = true;
    ++entry.Count;
    m_view.showStrip(look);
    m_view.ActivateMessages();
}

void DisplayQueue::AcknowledgeMessage(bool confirm)
{
    if (m_displayIndex < 1 || m_displayIndex > m_queue.size())
        return;
    DisplayMessage &entry = m_queue[m_displayIndex - 1];
    // A mandatory document is opened even if the reader never clicked it.
    if (entry.ActualMessage.MsgLevel == QLatin1String("sysKVPackage") && entry.ActualMessage.ExactTime &&
        !entry.LinkExecuted)
        ExecuteLink(entry);
    DVMessage msg = entry.ActualMessage;
    if (m_hooks.computeNextRunDate)
        m_hooks.computeNextRunDate(msg);
    if (confirm && msg.ReceiptRequired) {
        TraceLog(Banner + QStringLiteral("AcknowledgeMessage - Receipt required"));
        if (m_hooks.sendData)
            m_hooks.sendData(Commands::RCP(msg, gUserInfos(), Clock::now()));
    }
    m_queue.removeAt(m_displayIndex - 1);
    m_displayIndex = 0;
    AfficheMessage();
}

void DisplayQueue::DeleteMessageFromDisplay(const QString &msgID)
{
    TraceLog(Banner + QStringLiteral("DeleteMessageFromDisplay - MsgID: ") + msgID);
    if (m_displayIndex >= 1 && m_displayIndex <= m_queue.size() &&
        m_queue[m_displayIndex - 1].ActualMessage.MsgID == msgID) {
        AcknowledgeMessage(false);
        return;
    }
    const qsizetype at = indexOf(msgID);
    if (at < 0)
        return;
    m_queue.removeAt(at);
    if (at + 1 < m_displayIndex)
        --m_displayIndex;
}

void DisplayQueue::Looped()
{
    AfficheMessage();
}

void DisplayQueue::Displayed()
{
    m_view.setAcknowledgeEnabled(true);
}

void DisplayQueue::cmdOK_Click()
{
    TraceLog(Banner + QStringLiteral("cmdOK_Click"));
    AcknowledgeMessage(true);
}

void DisplayQueue::mnuAcknowledge_Click()
{
    TraceLog(Banner + QStringLiteral("mnuAcknowledge_Click"));
    AcknowledgeMessage(true);
}

void DisplayQueue::mnuReply_Click(bool toAll)
{
    TraceLog(Banner + (toAll ? QStringLiteral("mnuReplyToAll_Click") : QStringLiteral("mnuReply_Click")));
    rememberDisplayed();
    AcknowledgeMessage(true);
    if (m_hooks.sendData)
        m_hooks.sendData(toAll ? Commands::RAL() : Commands::RID());
}

void DisplayQueue::rememberDisplayed()
{
    if (m_displayIndex >= 1 && m_displayIndex <= m_queue.size())
        m_displayedMsg = m_queue[m_displayIndex - 1];
}

void DisplayQueue::dvxDisplay_DblClick()
{
    TraceLog(Banner + QStringLiteral("dvxDisplayDblClick"));
    if (m_displayIndex >= 1 && m_displayIndex <= m_queue.size())
        ExecuteLink(m_queue[m_displayIndex - 1]);
}

void DisplayQueue::ExecuteLink(DisplayMessage &entry)
{
    TraceLog(Banner + QStringLiteral("ExecuteLink"));
    entry.LinkExecuted = true;
    const QString path = entry.ActualMessage.Attachment;
    if (path.isEmpty())
        return;
    QString text;
    switch (m_view.openLink(path)) {
    case BannerView::LinkOpened:
        return;
    case BannerView::LinkNotFound:
        text = QStringLiteral("The specified file was not found:\n") + path;
        break;
    case BannerView::LinkAccessDenied:
        text = QStringLiteral("The operating system denied access to the specified file:\n") + path;
        break;
    case BannerView::LinkNoApplication:
    case BannerView::LinkFailed:
        text = QStringLiteral("Undefined error opening file:\n") + path;
        break;
    }
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(text, QStringLiteral("Execute Link Error"), IconCritical, ButtonsOk);
}
