#pragma once

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

    void MsgNew(DVMessage msg);
    // Asks whether to repost; Yes sends the message as new to every reader.
    void MsgEdit(DVMessage msg);
    void PkgNew(DVMessage msg);
    void PkgEdit(DVMessage msg);
    void ReplyNew(const DVMessage &msg, bool toAll);
    void SharedTemplate(const DVMessage &msg);

    void GetReceipt(const QString &payload);
    void GetAdminReceipt(const QString &payload);

private:
    void edit(DVMessage &msg, const QString &logName);

    Sender m_sendData;
    QString m_popupText;
};
