#pragma once

#include <QString>

#include <functional>

class CommandDispatcher;
class ConnectionManager;
struct Failure;

// The server's commands that concern the link itself: its acceptance of the
// client, the role, the policies and the configuration, port changes, notices
// to roles, and the end markers of the directory lists.
class LinkCommands
{
public:
    LinkCommands(ConnectionManager &link, std::function<void()> setMenu);

    void registerOn(CommandDispatcher &dispatcher);

    // Set in the run once ALL has gone out: a reconnection sends USR only.
    bool AllRequested = false;

    void CON(const QString &agent);
    void DEC();
    void AUT(const QString &authority);
    void CUL(const QString &path);
    void POL(const QString &policies);
    void GPL(const QString &policies);
    void UPR(const QString &data, Failure &failure);
    void SCR(const QString &config);
    void SCP();
    void PCL(const QString &port);
    // IAD, IPA, IPO and IUS: a notice for those of a role.
    void Information(const QString &logText, bool forThisUser, const QString &text);
    void EndOfList(const QString &code, const QString &letter);

    // The version sent with USR: major.minor.revision.
    static QString Version();

private:
    ConnectionManager &m_link;
    std::function<void()> m_setMenu;
};
