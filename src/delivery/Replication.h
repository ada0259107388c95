#pragma once

#include <QString>

#include <functional>

struct Failure;

// What the server sends to keep this client's stores in step with its own:
// deletions and status changes of messages, the user's groups, the levels,
// and the directory lists that the console shows.
class Replication
{
public:
    using Sender = std::function<bool(const QString &payload)>;

    explicit Replication(Sender sendData) : m_sendData(std::move(sendData)) {}

    void MessagesDeleted(const QString &list);
    void PackagesDeleted(const QString &list);
    // MSC and PSC: status, Chr(2), MsgID.
    void MessageStatusChanged(const QString &data, Failure &failure);
    void PackageStatusChanged(const QString &data, Failure &failure);
    void UserGroupsReceived(const QString &payload);
    // LVL: the old levels go, the new ones are stored and read again.
    void LevelsReceived(const QString &payload);
    void StoreLevels(const QString &payload);

    void GroupsReceived(const QString &payload);
    void UsersGroupReceived(const QString &payload);
    void UsersReceived(const QString &payload);
    void MachinesReceived(const QString &payload);
    void StoreAdministrator(const QString &data, Failure &failure);
    void TemplateReceived(const QString &payload);
    void TemplatesReceived(const QString &payload);

private:
    Sender m_sendData;
};
