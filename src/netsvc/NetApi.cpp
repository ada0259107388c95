#include "netsvc/NetApi.h"

#include "core/Log.h"
#include "netsvc/JoinedDomain.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

#include <QFile>
#include <QSet>

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace {

const QString Module = QStringLiteral("NetApi:");

void fail(const QString &operation, const QString &text)
{
    WriteLog(Module + operation + QStringLiteral(" - ") + text);
}

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// The reentrant lookups say ERANGE while their buffer is too small.
template <typename Lookup>
int withBuffer(std::vector<char> &buffer, Lookup lookup)
{
    if (buffer.empty())
        buffer.resize(16384);
    for (;;) {
        const int result = lookup(buffer);
        if (result != ERANGE || buffer.size() >= (std::size_t(1) << 26))
            return result;
        buffer.resize(buffer.size() * 2);
    }
}

// The passwd entry of a login. The identity keeps its ID in lower case, so
// the process owner's own entry answers for it whatever the case of its name.
bool findUser(const QString &userID, passwd &entry, std::vector<char> &buffer, int &error)
{
    passwd *found = nullptr;
    const QByteArray name = userID.toLocal8Bit();
    error = withBuffer(buffer, [&](std::vector<char> &b) {
        return getpwnam_r(name.constData(), &entry, b.data(), b.size(), &found);
    });
    if (found)
        return true;
    error = withBuffer(buffer, [&](std::vector<char> &b) {
        return getpwuid_r(geteuid(), &entry, b.data(), b.size(), &found);
    });
    return found && QString::fromLocal8Bit(found->pw_name).trimmed().toLower() == userID;
}

QString groupName(gid_t gid)
{
    group entry{};
    group *found = nullptr;
    std::vector<char> buffer;
    withBuffer(buffer,
               [&](std::vector<char> &b) { return getgrgid_r(gid, &entry, b.data(), b.size(), &found); });
    return found && found->gr_name ? QString::fromLocal8Bit(found->gr_name) : QString();
}

QString fullName(const passwd &entry)
{
    return entry.pw_gecos ? QString::fromLocal8Bit(entry.pw_gecos).section(QLatin1Char(','), 0, 0).trimmed()
                          : QString();
}

// The first user ID of people's accounts, as the system's account tools use it.
uid_t firstLoginUid()
{
    QFile defs(QStringLiteral("/etc/login.defs"));
    if (defs.open(QIODevice::ReadOnly)) {
        while (!defs.atEnd()) {
            const QList<QByteArray> words = defs.readLine().simplified().split(' ');
            bool ok = false;
            const uint value = words.size() >= 2 && words[0] == "UID_MIN" ? words[1].toUInt(&ok) : 0;
            if (ok)
                return value;
        }
    }
    return 1000;
}

bool isLoginAccount(const passwd &entry, uid_t firstUid)
{
    if (entry.pw_uid < firstUid || qstrcmp(entry.pw_name, "nobody") == 0)
        return false;
    const QByteArray path(entry.pw_shell ? entry.pw_shell : "");
    const QByteArray shell = path.mid(path.lastIndexOf('/') + 1);
    return shell != "nologin" && shell != "false";
}

// Walks a database of the name service (passwd or group); errno tells an end
// from a refusal.
template <typename Entry, typename Visit>
int forEach(void (*open)(), Entry *(*next)(), void (*close)(), Visit visit)
{
    open();
    int error = 0;
    for (;;) {
        errno = 0;
        const Entry *entry = next();
        if (!entry) {
            error = errno == ENOENT ? 0 : errno;
            break;
        }
        visit(*entry);
    }
    close();
    return error;
}

template <typename Visit>
int forEachUser(Visit visit)
{
    return forEach<passwd>(setpwent, getpwent, endpwent, visit);
}

} // namespace

QString GetPrimaryDCName()
{
    TraceLog(Module + QStringLiteral("GetPrimaryDCName"));
    return JoinedDomain::Read();
}

bool UserKnown(const QString &userID)
{
    passwd entry{};
    std::vector<char> buffer;
    int error = 0;
    return findUser(userID, entry, buffer, error);
}

QList<DirectoryEntry> EnumGroups()
{
    const QString operation = QStringLiteral("EnumGroups");
    TraceLog(Module + operation);
    QList<DirectoryEntry> groups;
    QSet<QString> seen;
    const int error = forEach<group>(setgrent, getgrent, endgrent, [&](const group &entry) {
        const QString name = QString::fromLocal8Bit(entry.gr_name);
        // Two sources of the name service may both hold a group.
        if (!seen.contains(name)) {
            seen.insert(name);
            groups.append({name, QString()});
        }
    });
    if (error != 0) {
        fail(operation, errorText(error));
        return {};
    }
    return groups;
}

QStringList EnumUsersFromGroup(const QString &groupName)
{
    const QString operation = QStringLiteral("EnumUsersFromGroup");
    TraceLog(Module + operation);
    group entry{};
    group *found = nullptr;
    std::vector<char> buffer;
    const QByteArray name = groupName.toLocal8Bit();
    const int error = withBuffer(buffer, [&](std::vector<char> &b) {
        return getgrnam_r(name.constData(), &entry, b.data(), b.size(), &found);
    });
    if (!found) {
        fail(operation, error ? errorText(error) : QStringLiteral("no group ") + groupName);
        return {};
    }
    QStringList members;
    for (char **member = entry.gr_mem; member && *member; ++member)
        members.append(QString::fromLocal8Bit(*member));
    // Those whose primary group it is are members too, though the group does not list them.
    const gid_t gid = entry.gr_gid;
    const int walkError = forEachUser([&](const passwd &user) {
        const QString login = QString::fromLocal8Bit(user.pw_name);
        if (user.pw_gid == gid && !members.contains(login))
            members.append(login);
    });
    if (walkError != 0)
        fail(operation, errorText(walkError));
    return members;
}

bool EnumGroupsFromUser(const QString &userID)
{
    const QString operation = QStringLiteral("EnumGroupsFromUser");
    TraceLog(Module + operation + QStringLiteral("  UserID=") + userID);
    passwd entry{};
    std::vector<char> buffer;
    int error = 0;
    if (!findUser(userID, entry, buffer, error)) {
        fail(operation, error ? errorText(error) : QStringLiteral("no user ") + userID);
        return false;
    }
    std::vector<gid_t> gids(32);
    for (;;) {
        int count = int(gids.size());
        if (getgrouplist(entry.pw_name, entry.pw_gid, gids.data(), &count) >= 0) {
            gids.resize(std::size_t(count));
            break;
        }
        // The count now says how many there are; a list that will not settle is cut.
        if (gids.size() >= 65536) {
            fail(operation, QStringLiteral("too many groups"));
            break;
        }
        gids.resize(std::max(std::size_t(count), gids.size() * 2));
    }
    Database &temp = TempDB();
    for (const gid_t gid : gids) {
        const QString name = groupName(gid);
        if (name.isEmpty())
            continue;
        TraceLog(Module + operation + QStringLiteral("  GroupName=") + name);
        // A shared group of the same name stays as it is.
        if (!temp.exec(QStringLiteral(
                           "INSERT OR IGNORE INTO GroupsIBelongTo (GroupName, GroupType) VALUES (?, 'D')"),
                       {name})) {
            fail(operation, temp.lastError());
            return false;
        }
    }
    return true;
}

QString GetUserFullName(const QString &userID)
{
    TraceLog(Module + QStringLiteral("GetUserFullName"));
    passwd entry{};
    std::vector<char> buffer;
    int error = 0;
    return findUser(userID, entry, buffer, error) ? fullName(entry) : QString();
}

QList<DirectoryEntry> EnumUsers()
{
    const QString operation = QStringLiteral("EnumUsers");
    TraceLog(Module + operation);
    const uid_t firstUid = firstLoginUid();
    QList<DirectoryEntry> users;
    QSet<QString> seen;
    const int error = forEachUser([&](const passwd &entry) {
        const QString login = QString::fromLocal8Bit(entry.pw_name);
        if (isLoginAccount(entry, firstUid) && !seen.contains(login)) {
            seen.insert(login);
            users.append({login, fullName(entry)});
        }
    });
    if (error != 0) {
        fail(operation, errorText(error));
        return {};
    }
    return users;
}

QList<DirectoryEntry> EnumMachines()
{
    TraceLog(Module + QStringLiteral("EnumMachines"));
    return {};
}
