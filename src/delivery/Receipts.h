#pragma once

#include "link/OutgoingText.h"

#include <QString>

#include <functional>

class DVMessage;

// What leaves the client on the user's behalf (messages, packages, replies,
// shared templates) and the receipts that come back for the user's own
// messages: stored, confirmed and announced.
class Receipts
{
public:
    using Sender = std::function<bool(const QString &payload)>;

    explicit Receipts(Sender sendData) : m_sendData(std::move(sendData)) {}

    // Each tells whether its record left; one too long for a frame is not sent.
    using Sending = OutgoingText::Sending;
    Sending MsgNew(DVMessage msg);
    // Asks whether to repost; Yes sends the message as new to every reader.
    Sending MsgEdit(DVMessage msg);
    Sending PkgNew(DVMessage msg);
    Sending PkgEdit(DVMessage msg);
    // The reply stands in the Outbox only once it has left.
    Sending ReplyNew(const DVMessage &msg, bool toAll);
    Sending SharedTemplate(const DVMessage &msg);

    void GetReceipt(const QString &payload);
    void GetAdminReceipt(const QString &payload);

private:
    Sending edit(DVMessage msg, const QString &logName, QString (*command)(const DVMessage &));
    Sending send(const QString &payload) const;

    Sender m_sendData;
    QString m_popupText;
};
