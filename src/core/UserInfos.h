#pragma once

#include <QString>

// Who the client is for: the user, the machine and the role.
class UserInfos
{
public:
    enum Authority : qint16 { RoleUser = 0, RolePostmaster = 1, RolePackager = 2, RoleAdministrator = 3 };

    // Reads the login name of the process owner.
    UserInfos();
    // For tests and tools that speak for another login.
    explicit UserInfos(const QString &loginName);

    QString UserName;
    QString MachineIP;
    QString Agent;
    qint16 Language = 0;

    const QString &UserID() const { return m_userID; }
    const QString &MachineID() const { return m_machineID; }
    void setMachineID(const QString &machineID) { m_machineID = machineID.toLower(); }
    qint16 MyAuthority() const { return m_authority; }
    void setMyAuthority(qint16 authority) { m_authority = authority; }

    // Each role holds the rights of the one below it.
    bool IsUser() const { return m_authority == RoleUser; }
    bool IsPostmaster() const { return m_authority >= RolePostmaster; }
    bool IsPackager() const { return m_authority >= RolePackager; }
    bool IsAdministrator() const { return m_authority == RoleAdministrator; }

    // The identity sent with USR.
    QString ToString() const;

    // The login name of the process owner, or "unknown" when the system has none.
    static QString LoginName();

private:
    QString m_userID;
    QString m_machineID = QStringLiteral("anon");
    qint16 m_authority = RoleUser;
};
