// Log-on and liveness: identity, held messages, the watchdog.
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

void DevServer::logOn(ClientLink &link, const QString &, const QString &data)
{
    const QStringList parts = fieldsOf(data, 2);
    QHash<QString, QString> info;
    for (const QString &item : parts[0].split(u'|')) {
        const qsizetype equals = item.indexOf(u'=');
        if (equals > 0)
            info.insert(item.left(equals), item.mid(equals + 1));
    }
    if (!info.value(u"UID"_s).isEmpty())
        link.userId = info.value(u"UID"_s).toLower();
    if (link.userId.isEmpty()) {
        qWarning("log-on without a user id from %s ignored", peer(link).constData());
        return;
    }
    link.machineId = info.value(u"MID"_s).toLower();
    link.userName = info.value(u"USN"_s);
    link.agent = info.value(u"AGN"_s);
    link.version = parts[1];

    const QDateTime now = Clock::now();
    // Unknown users are registered as plain users.
    ServerState::User &user = m_state.users[link.userId];
    if (!link.userName.isEmpty())
        user.name = link.userName;
    user.language = info.value(u"LNG"_s).toInt();
    user.lastLogon = now;
    user.machineId = link.machineId;
    if (!link.machineId.isEmpty()) {
        ServerState::Machine &machine = m_state.machines[link.machineId];
        const QString ip = info.value(u"MIP"_s);
        machine.ip = ip.isEmpty() ? link.address.toString() : ip;
        machine.lastLogon = now;
        machine.version = link.version;
        machine.userId = link.userId;
        machine.agent = link.agent;
    }
    changed();
    qInfo("%s logged on from machine \"%s\", role %d", peer(link).constData(), qUtf8Printable(link.machineId),
          user.role);

    send(link, u"AUT"_s, QString::number(user.role));
    sendPolicies(link);
    send(link, u"LVL"_s, levelsText());
    send(link, u"UGR"_s, m_state.groupsOf(link.userId).join(fieldSeparator));
    sendPendingReceipts(link);
}

void DevServer::sendHeld(ClientLink &link, const QString &, const QString &)
{
    const QDateTime now = Clock::now();
    QStringList messages, packages;
    for (auto it = m_state.records.cbegin(); it != m_state.records.cend(); ++it) {
        DVMessage record;
        record.ToObject(it->text);
        // Logon, certified and scheduled messages wait here for every machine; immediate ones do not.
        const bool held = record.MsgDelivery >= 1 && record.MsgDelivery <= 3;
        const bool expired = !DateText::IsZeroDate(record.ExpirationDate) && record.ExpirationDate < now;
        if (!held || record.Status != StatusActive || expired ||
            m_state.delivered(it.key(), link.userId, link.machineId))
            continue;
        (it->package ? packages : messages).append(it->text);
    }
    sendList(link, u"MSL"_s, messages, fieldSeparator);
    sendList(link, u"PKL"_s, packages, fieldSeparator);
}

void DevServer::watchdog(ClientLink &link, const QString &code, const QString &)
{
    // Any frame stops the client's wait; the client ignores this code.
    send(link, code);
}

void DevServer::sendPolicies(ClientLink &link)
{
    send(link, u"POL"_s, m_state.policiesOf(link.userId));
}
