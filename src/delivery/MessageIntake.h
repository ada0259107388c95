#pragma once

#include <QString>

#include <functional>

class DVMessage;
class Replication;

// Takes the records that the server sends for this client: confirms each,
// decides whether it concerns this user on this machine, and stores it, shows
// it or follows its edit or withdrawal. A record's confirmation leaves only
// once its batch is committed to the store.
class MessageIntake
{
public:
    using Sender = std::function<bool(const QString &payload)>;
    using Address = std::function<QString()>;

    MessageIntake(Sender sendData, Address localIP, Replication &replication);

    void MessageReceived(const QString &payload, bool isLogon);
    void PackageReceived(const QString &payload, bool isLogon);
    void AllMessageReceived(const QString &payload);

    void ConfirmMessage(const QString &msgID);
    void ConfirmPackage(const QString &msgID);

private:
    enum class Kind { Message, Package };
    void receive(Kind kind, const QString &payload, bool isLogon);
    // One record; false when the batch must end here.
    bool handleRecord(Kind kind, DVMessage &msg, bool isLogon);

    Sender m_sendData;
    Address m_localIP;
    Replication &m_replication;
    // Set when a row of the batch could not be written: the batch is then neither kept nor confirmed.
    bool m_storeFailed = false;
};
