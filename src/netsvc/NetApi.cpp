#include "netsvc/NetApi.h"

#include <pwd.h>
#include <vector>

QString GetUserFullName(const QString &userID)
{
    passwd entry{};
    passwd *found = nullptr;
    std::vector<char> buffer(16384);
    const QByteArray name = userID.toLocal8Bit();
    if (getpwnam_r(name.constData(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found ||
        !found->pw_gecos)
        return {};
    return QString::fromLocal8Bit(found->pw_gecos).section(QLatin1Char(','), 0, 0).trimmed();
}
