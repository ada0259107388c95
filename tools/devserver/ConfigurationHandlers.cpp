// Policies, the server configuration and the levels.
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

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace DevWire;

void DevServer::globalPolicies(ClientLink &link, const QString &, const QString &)
{
    send(link, u"GPL"_s, m_state.globalPolicies);
}

void DevServer::userPolicies(ClientLink &link, const QString &code, const QString &data)
{
    const QString userId = data.trimmed().toLower();
    send(link, code, userId % fieldSeparator % m_state.policiesOf(userId));
}

void DevServer::storeGlobalPolicies(ClientLink &link, const QString &code, const QString &data)
{
    if (!hasRole(link, code, Administrator))
        return;
    Policies policies;
    policies.ToObject(data);
    m_state.globalPolicies = policies.ToString();
    changed();
    for (ClientLink *other : std::as_const(m_links))
        if (!m_state.userPolicies.contains(other->userId))
            sendPolicies(*other);
}

void DevServer::storeUserPolicies(ClientLink &link, const QString &code, const QString &data)
{
    if (!hasRole(link, code, Administrator))
        return;
    const QStringList fields = fieldsOf(data, 2);
    const QString userId = fields[0].trimmed().toLower();
    if (userId.isEmpty())
        return;
    Policies policies;
    policies.ToObject(fields[1]);
    m_state.userPolicies.insert(userId, policies.ToString());
    changed();
    for (ClientLink *other : linksOf(userId))
        sendPolicies(*other);
}

void DevServer::serverConfig(ClientLink &link, const QString &code, const QString &)
{
    QString text = m_state.serverConfig;
    if (text.isEmpty()) {
        ServerConfig config;
        config.ClientPort = config.UDPPort = port();
        text = config.ToString();
    }
    send(link, code, text);
}

void DevServer::storeServerConfig(ClientLink &link, const QString &code, const QString &data)
{
    if (!hasRole(link, code, Administrator))
        return;
    ServerConfig config;
    config.ToObject(data);
    m_state.serverConfig = config.ToString();
    changed();
    qInfo("server configuration stored by %s: %s", peer(link).constData(),
          qUtf8Printable(m_state.serverConfig));
    if (config.Trace != m_trace)
        qInfo("debug trace %s", config.Trace ? "on" : "off");
    m_trace = config.Trace;
    // The ports are announced to the configuration form from now on; this server keeps the port of its
    // command line, so that the clients it serves are not sent away to a port nobody listens on.
    if (config.ClientPort != port())
        qInfo("client port %d announced; still listening on %d", config.ClientPort, int(port()));
}

QString DevServer::levelsText() const
{
    // Inbound levels part records by Chr(2) and fields by Chr(3), the opposite of what the editor sends.
    QStringList records;
    for (const ServerState::Level &level : m_state.levels)
        records.append(level.join(rowSeparator));
    return records.join(fieldSeparator);
}

void DevServer::storeLevels(ClientLink &link, const QString &code, const QString &data)
{
    if (!hasRole(link, code, Administrator))
        return;
    // The editor sends only the rows it added or changed, so each replaces its namesake.
    for (const QString &row : data.split(rowSeparator, Qt::SkipEmptyParts)) {
        ServerState::Level level = fieldsOf(row, 10).mid(0, 10);
        if (level[0].isEmpty())
            continue;
        auto it =
            std::find_if(m_state.levels.begin(), m_state.levels.end(),
                         [&level](const ServerState::Level &known) { return known.value(0) == level[0]; });
        if (it != m_state.levels.end())
            *it = level;
        else
            m_state.levels.append(level);
    }
    changed();
    qInfo("levels updated by %s", peer(link).constData());
    broadcast(code, levelsText());
}
