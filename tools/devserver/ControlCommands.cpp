// What the control channel asks: a message sent, a UDP order, a listing.
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

bool DevServer::inject(const QString &to, const QString &level, const QString &from, const QString &text,
                       QString *result)
{
    if (text.isEmpty()) {
        *result = u"no text to send"_s;
        return false;
    }
    for (const QString &value : {to, level, from, text}) {
        for (const QChar c : value) {
            if (c.unicode() < 5) {
                *result = u"separator characters (codes 0 to 4) cannot travel in a message"_s;
                return false;
            }
        }
    }
    Policies policies;
    policies.ToObject(m_state.globalPolicies);
    const QString target = to.compare("all"_L1, Qt::CaseInsensitive) == 0 ? QString() : to.toLower();
    const DVMessage message =
        NewMessage::compose(m_state.newId(), from.isEmpty() ? agentName() : from.toLower(), target,
                            level.isEmpty() ? u"Message"_s : level, text, Clock::now(), policies.Lifetime);
    storeRecord(message.MsgID, message.ToString(), false);
    changed();
    broadcast(u"MSG"_s, message.ToString());
    *result = u"message "_s % message.MsgID % u" sent to "_s % QString::number(m_links.size()) %
              u" connected client(s)"_s;
    qInfo("%s", qUtf8Printable(*result));
    return true;
}

bool DevServer::sendOrder(const QString &to, const QString &order, QString *result)
{
    if (order != "REC"_L1 && order != "CON"_L1 && order != "DEC"_L1) {
        *result = u"the order is REC, CON or DEC, not \""_s % order % u'"';
        return false;
    }
    const bool everyone = to.isEmpty() || to.compare("all"_L1, Qt::CaseInsensitive) == 0;
    QList<QHostAddress> addresses;
    for (const ClientLink *link : std::as_const(m_links))
        if ((everyone || link->userId == to.toLower()) && !addresses.contains(link->address))
            addresses.append(link->address);
    // Machines where the user was seen last: an order also reaches a client
    // that has lost its link and stopped retrying.
    for (auto it = m_state.machines.cbegin(); it != m_state.machines.cend(); ++it) {
        const QHostAddress address(it->ip);
        if ((everyone || it->userId == to.toLower()) && !address.isNull() && !addresses.contains(address))
            addresses.append(address);
    }
    int sent = 0;
    for (const QHostAddress &address : std::as_const(addresses)) {
        // The client listens for orders on its ClientPort, the number of the TCP port it reached us on.
        if (m_udp.writeDatagram(order.toLatin1(), address, port()) >= 0)
            ++sent;
        else
            qWarning("UDP %s to %s failed: %s", qUtf8Printable(order), qUtf8Printable(address.toString()),
                     qUtf8Printable(m_udp.errorString()));
    }
    if (sent == 0) {
        *result = u"no connected client of \""_s % to % u"\", nor a machine where it was seen"_s;
        return false;
    }
    *result = order % u" sent to "_s % QString::number(sent) % u" client(s)"_s;
    qInfo("%s", qUtf8Printable(*result));
    return true;
}

QString DevServer::listing() const
{
    QStringList lines;
    lines.append(u"listening on "_s % m_server.serverAddress().toString() % u" port "_s %
                 QString::number(port()));
    lines.append(u"connected clients: "_s % QString::number(m_links.size()));
    for (const ClientLink *link : m_links)
        lines.append(u"  "_s % (link->userId.isEmpty() ? u"(not logged on)"_s : link->userId) %
                     u" machine "_s % link->machineId % u" address "_s % link->address.toString() %
                     u" role "_s % QString::number(m_state.users.value(link->userId).role));
    lines.append(u"stored messages and packages: "_s % QString::number(m_state.records.size()));
    for (auto it = m_state.records.cbegin(); it != m_state.records.cend(); ++it) {
        DVMessage record;
        record.ToObject(it->text);
        lines.append(u"  "_s % it.key() % (it->package ? u" package"_s : u" message"_s) % u" delivery "_s %
                     QString::number(record.MsgDelivery) % u" status "_s % QString::number(record.Status) %
                     u" level "_s % record.MsgLevel % u" from "_s % record.UserID % u" to \""_s %
                     record.Target % u"\" "_s % record.Subject);
    }
    qsizetype pending = 0;
    for (const ServerState::Receipt &receipt : m_state.receipts)
        pending += receipt.confirmed ? 0 : 1;
    lines.append(u"receipts: "_s % QString::number(m_state.receipts.size()) % u", unconfirmed "_s %
                 QString::number(pending));
    return lines.join(u'\n');
}
