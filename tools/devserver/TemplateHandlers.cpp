// Shared templates: listed, stored and deleted.
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

void DevServer::listTemplates(ClientLink &link, const QString &code, const QString &)
{
    // One template for each frame.
    for (const QString &text : std::as_const(m_state.templates))
        send(link, code, text);
    send(link, u"TM_"_s);
}

void DevServer::storeTemplate(ClientLink &, const QString &, const QString &data)
{
    const QStringList fields = fieldsOf(data, 2);
    if (fields[0].isEmpty())
        return;
    m_state.templates.insert(fields[0], fields[1]);
    changed();
}

void DevServer::deleteTemplates(ClientLink &, const QString &, const QString &data)
{
    for (const QString &id : idsOf(data))
        m_state.templates.remove(id);
    changed();
}
