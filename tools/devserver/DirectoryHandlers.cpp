// Directories: users, machines, groups, administrators and the list of all messages.
#include "ClientLink.h"
#include "DevServer.h"
#include "DevWire.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"
#include "store/DateText.h"

#include <QTcpSocket>

using namespace Qt::StringLiterals;
using namespace DevWire;

void DevServer::listUsers(ClientLink &link, const QString &, const QString &data)
{
    QStringList records;
    for (auto it = m_state.users.cbegin(); it != m_state.users.cend(); ++it)
        records.append(QStringList{it.key(), it->name, DateText::DateToText(it->lastLogon), it->machineId,
                                   boolText(isConnected(it.key())), QString::number(it->language)}
                           .join(fieldSeparator));
    sendList(link, u"RUS"_s, records, rowSeparator);
    // The letter names the form that asked.
    send(link, u"RU_"_s, data);
}

void DevServer::listMachines(ClientLink &link, const QString &, const QString &data)
{
    QStringList records;
    for (auto it = m_state.machines.cbegin(); it != m_state.machines.cend(); ++it) {
        bool connected = false;
        for (const ClientLink *other : std::as_const(m_links))
            connected = connected || other->machineId == it.key();
        records.append(QStringList{it.key(), it->ip, DateText::DateToText(it->lastLogon), it->version,
                                   it->userId, boolText(connected), it->agent}
                           .join(fieldSeparator));
    }
    sendList(link, u"RMA"_s, records, rowSeparator);
    send(link, u"RM_"_s, data);
}

void DevServer::listGroups(ClientLink &link, const QString &, const QString &data)
{
    QStringList groups, members;
    for (auto it = m_state.groups.cbegin(); it != m_state.groups.cend(); ++it) {
        groups.append(
            QStringList{it.key(), it->description, DateText::DateToText(it->creationDate), it->creator}.join(
                fieldSeparator));
        for (const QString &member : it->members)
            members.append(it.key() % fieldSeparator % member);
    }
    sendList(link, u"RPI"_s, groups, rowSeparator);
    sendList(link, u"RPU"_s, members, rowSeparator);
    send(link, u"RP_"_s, data);
}

void DevServer::listAdministrators(ClientLink &link, const QString &code, const QString &)
{
    // One frame for each user above the plain role.
    for (auto it = m_state.users.cbegin(); it != m_state.users.cend(); ++it)
        if (it->role > 0)
            send(link, code, it.key() % fieldSeparator % QString::number(it->role));
    send(link, u"RA_"_s);
}

void DevServer::listMessages(ClientLink &link, const QString &code, const QString &)
{
    QStringList messages;
    for (const ServerState::Record &record : std::as_const(m_state.records))
        if (!record.package)
            messages.append(record.text);
    sendList(link, code, messages, fieldSeparator);
    send(link, u"AL_"_s);
}

void DevServer::storeGroup(ClientLink &link, const QString &, const QString &data)
{
    const QStringList fields = fieldsOf(data, 5);
    const QString name = fields[0];
    if (name.isEmpty())
        return;
    const QStringList members = idsOf(fields[4].toLower());
    // A group without members does not exist: that is how the console deletes one.
    if (members.isEmpty()) {
        m_state.groups.remove(name);
        qInfo("group \"%s\" deleted by %s", qUtf8Printable(name), peer(link).constData());
    } else {
        const QDateTime created = DateText::TextToDate(fields[2]);
        m_state.groups.insert(name, {fields[1], DateText::IsZeroDate(created) ? Clock::now() : created,
                                     fields[3].isEmpty() ? link.userId : fields[3], members});
        qInfo("group \"%s\" stored by %s", qUtf8Printable(name), peer(link).constData());
    }
    changed();
}

void DevServer::setRoles(ClientLink &link, const QString &code, const QString &data)
{
    if (!hasRole(link, code, Administrator))
        return;
    const QStringList fields = fieldsOf(data, 2);
    const int role = qBound(0, fields[1].trimmed().toInt(), Administrator);
    const QStringList userIds = idsOf(fields[0].toLower());
    for (const QString &userId : userIds)
        m_state.users[userId].role = role;
    changed();
    for (const QString &userId : userIds) {
        for (ClientLink *other : linksOf(userId)) {
            send(*other, u"AUT"_s, QString::number(role));
            sendPolicies(*other);
        }
    }
}

void DevServer::deleteUsers(ClientLink &, const QString &, const QString &data)
{
    for (const QString &id : idsOf(data.toLower()))
        m_state.users.remove(id);
    changed();
}

void DevServer::deleteMachines(ClientLink &, const QString &, const QString &data)
{
    for (const QString &id : idsOf(data.toLower()))
        m_state.machines.remove(id);
    changed();
}
