#include "core/UserInfos.h"

#include "core/StringTable.h"

#include <pwd.h>
#include <unistd.h>

UserInfos::UserInfos() : UserInfos(LoginName()) {}

UserInfos::UserInfos(const QString &loginName) : m_userID(loginName.trimmed().toLower()) {}

QString UserInfos::ToString() const
{
    return QStringLiteral("UID=") + m_userID + QStringLiteral("|MID=") + m_machineID +
           QStringLiteral("|USN=") + UserName + QStringLiteral("|MIP=") + MachineIP +
           QStringLiteral("|AGN=") + Agent + QStringLiteral("|LNG=") + QString::number(Language);
}

QString UserInfos::LoginName()
{
    const passwd *entry = getpwuid(geteuid());
    if (entry && entry->pw_name && *entry->pw_name) {
        QString name = QString::fromLocal8Bit(entry->pw_name).left(255);
        return name.trimmed().toLower();
    }
    return ResString(8336).toLower();
}
