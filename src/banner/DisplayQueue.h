#pragma once

#include "banner/DisplayMessage.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

class BannerView;

// The banner's queue of due messages and its rotation: each message has the
// strip for one pass of its text, in strict order of arrival, until the reader
// acknowledges it. The window only shows what this decides.
class DisplayQueue
{
public:
    struct Hooks
    {
        // The menu's "Show replies" check mark.
        std::function<bool()> displayReplies;
        std::function<void(DVMessage &)> computeNextRunDate;
        std::function<bool(const QString &payload)> sendData;
    };

    DisplayQueue(BannerView &view, Hooks hooks);

    void AddMessageToDisplay(const DVMessage &lMsg);
    void DeleteMessageFromDisplay(const QString &msgID);
    bool IsOnDisplay(const QString &msgID) const;
    // The turn of the queue.
    void AfficheMessage();
    void AcknowledgeMessage(bool confirm);

    // Events of the strip and of the reader.
    void Looped();
    void Displayed();
    // The button waits for the first pass of a text; the menu acknowledges at any time.
    void cmdOK_Click();
    void mnuAcknowledge_Click();
    // Acknowledges, then asks the server for a reply's ID.
    void mnuReply_Click(bool toAll);
    void dvxDisplay_DblClick();
    // The right button was pressed on the strip: the entry it acted on.
    void rememberDisplayed();

    void ExecuteLink(DisplayMessage &entry);

    const QList<DisplayMessage> &colDisplayMessages() const { return m_queue; }
    int DisplayIndex() const { return m_displayIndex; }
    const std::optional<DisplayMessage> &DisplayedMsg() const { return m_displayedMsg; }

private:
    qsizetype indexOf(const QString &msgID) const;
    void setInboxAction(const DVMessage &msg, qint32 action);

    BannerView &m_view;
    Hooks m_hooks;
    QList<DisplayMessage> m_queue;
    int m_displayIndex = 0;
    std::optional<DisplayMessage> m_displayedMsg;
};
