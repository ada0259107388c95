#include "DevServer.h"

#include "ClientLink.h"
#include "DevWire.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "core/Failure.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"
#include "store/DateText.h"

#include <QTcpSocket>

using namespace Qt::StringLiterals;
using namespace DevWire;

DevServer::DevServer(ServerState &state, QObject *parent) : QObject(parent), m_state(state)
{
    connect(&m_server, &QTcpServer::newConnection, this, &DevServer::onNewConnection);
    ServerConfig config;
    config.ToObject(m_state.serverConfig);
    m_trace = config.Trace;
}

DevServer::~DevServer()
{
    qDeleteAll(m_links);
}

QString DevServer::agentName()
{
    return u"devserver"_s;
}

bool DevServer::listen(const QHostAddress &address, quint16 port, QString *error)
{
    if (m_server.listen(address, port))
        return true;
    *error = m_server.errorString();
    return false;
}

const QHash<QString, DevServer::Handler> &DevServer::handlers()
{
    static const QHash<QString, Handler> table = {
        {u"USR"_s, &DevServer::logOn},
        {u"ALL"_s, &DevServer::sendHeld},
        {u"WDG"_s, &DevServer::watchdog},
        {u"MID"_s, &DevServer::newId},
        {u"PID"_s, &DevServer::newId},
        {u"PTI"_s, &DevServer::newId},
        {u"STI"_s, &DevServer::newId},
        {u"RID"_s, &DevServer::newId},
        {u"RAL"_s, &DevServer::newId},
        {u"MDU"_s, &DevServer::duplicateId},
        {u"PDU"_s, &DevServer::duplicateId},
        {u"MTP"_s, &DevServer::duplicateId},
        {u"PTP"_s, &DevServer::duplicateId},
        {u"STR"_s, &DevServer::duplicateId},
        {u"MSG"_s, &DevServer::takeRecord},
        {u"PKG"_s, &DevServer::takeRecord},
        {u"RPL"_s, &DevServer::takeRecord},
        {u"RPA"_s, &DevServer::takeRecord},
        {u"CMS"_s, &DevServer::confirm},
        {u"CPK"_s, &DevServer::confirm},
        {u"MUP"_s, &DevServer::updateRecord},
        {u"PUP"_s, &DevServer::updateRecord},
        {u"MDE"_s, &DevServer::deleteRecords},
        {u"PDE"_s, &DevServer::deleteRecords},
        {u"MCA"_s, &DevServer::cancelRecord},
        {u"PCA"_s, &DevServer::cancelRecord},
        {u"RCP"_s, &DevServer::takeReceipt},
        {u"CRC"_s, &DevServer::confirmReceipts},
        {u"RRC"_s, &DevServer::listReceipts},
        {u"RUS"_s, &DevServer::listUsers},
        {u"RMA"_s, &DevServer::listMachines},
        {u"RPI"_s, &DevServer::listGroups},
        {u"RAD"_s, &DevServer::listAdministrators},
        {u"ALM"_s, &DevServer::listMessages},
        {u"TMP"_s, &DevServer::listTemplates},
        {u"STP"_s, &DevServer::storeTemplate},
        {u"TDE"_s, &DevServer::deleteTemplates},
        {u"KVG"_s, &DevServer::storeGroup},
        {u"ADM"_s, &DevServer::setRoles},
        {u"USD"_s, &DevServer::deleteUsers},
        {u"MAD"_s, &DevServer::deleteMachines},
        {u"GPR"_s, &DevServer::globalPolicies},
        {u"UPR"_s, &DevServer::userPolicies},
        {u"GPU"_s, &DevServer::storeGlobalPolicies},
        {u"UPU"_s, &DevServer::storeUserPolicies},
        {u"SCR"_s, &DevServer::serverConfig},
        {u"SCU"_s, &DevServer::storeServerConfig},
        {u"LVL"_s, &DevServer::storeLevels},
    };
    return table;
}

void DevServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        auto *link = new ClientLink;
        link->socket = socket;
        link->address = socket->peerAddress();
        m_links.append(link);
        connect(socket, &QTcpSocket::readyRead, this, [this, link] { onReadyRead(link); });
        // Queued, so that a link never goes away under a handler that is writing to it.
        connect(
            socket, &QTcpSocket::disconnected, this, [this, link] { onDisconnected(link); },
            Qt::QueuedConnection);
        qInfo("connection from %s", peer(*link).constData());
        // The server speaks first; the client counts as connected from here.
        send(*link, u"CON"_s, agentName());
    }
}

void DevServer::onDisconnected(ClientLink *link)
{
    if (!m_links.removeOne(link))
        return;
    qInfo("%s disconnected", peer(*link).constData());
    link->socket->deleteLater();
    delete link;
}

void DevServer::onReadyRead(ClientLink *link)
{
    ByteQueue &queue = link->codec.TCPMsgQueue;
    queue.Enqueue(link->socket->readAll());
    for (;;) {
        const qint32 held = queue.Count();
        Failure failure;
        const QString payload = link->codec.DecryptQ(&failure);
        if (failure.isSet()) {
            // The header is gone; what follows is read as the next one.
            qWarning("bad frame from %s: %s", peer(*link).constData(), qUtf8Printable(failure.description));
            continue;
        }
        if (payload.isEmpty()) {
            // The codec drops its whole queue at a bad magic rather than search past it.
            if (held >= 5 && link->codec.PendingLength == 0 && queue.Count() == 0)
                qWarning("garbage from %s: %d bytes dropped", peer(*link).constData(), held);
            return;
        }
        handle(*link, payload);
    }
}

void DevServer::handle(ClientLink &link, const QString &payload)
{
    const qsizetype end = payload.indexOf(QChar(0));
    const QString command = end < 0 ? payload : payload.left(end);
    if (link.userId.isEmpty() && end >= 0)
        link.userId = payload.mid(end + 1).toLower();
    const qsizetype start = command.indexOf(dataStart);
    const QString code = start < 0 ? command : command.left(start);
    const QString data = start < 0 ? QString() : command.mid(start + 1);
    if (m_trace)
        qInfo("<- %s from %s, %lld characters", qUtf8Printable(code.left(16)), peer(link).constData(),
              qint64(data.size()));
    const Handler handler = handlers().value(code);
    if (!handler) {
        qWarning("unknown command \"%s\" from %s", qUtf8Printable(code.left(16)), peer(link).constData());
        return;
    }
    (this->*handler)(link, code, data);
}

void DevServer::send(ClientLink &link, const QString &payload)
{
    // A link whose close is still queued takes nothing more.
    if (link.socket->state() != QAbstractSocket::ConnectedState)
        return;
    Failure failure;
    const QByteArray frame = link.codec.Encrypt(payload, &failure);
    if (failure.isSet()) {
        qWarning("cannot send %s to %s: %s", qUtf8Printable(payload.left(3)), peer(link).constData(),
                 qUtf8Printable(failure.description));
        return;
    }
    if (m_trace)
        qInfo("-> %s to %s, %lld bytes", qUtf8Printable(payload.left(3)), peer(link).constData(),
              qint64(frame.size()));
    link.socket->write(frame);
}

void DevServer::send(ClientLink &link, const QString &code, const QString &data)
{
    send(link, code % dataStart % data);
}

void DevServer::sendList(ClientLink &link, const QString &code, const QStringList &records, QChar separator)
{
    const qsizetype room = Encryption::MaxPayload - code.size() - 1;
    QString chunk;
    for (const QString &record : records) {
        if (record.size() > room) {
            qWarning("a %s record of %lld characters does not fit a frame; left out", qUtf8Printable(code),
                     qint64(record.size()));
            continue;
        }
        if (!chunk.isEmpty() && chunk.size() + 1 + record.size() > room) {
            send(link, code, chunk);
            chunk.clear();
        }
        chunk += chunk.isEmpty() ? record : separator % record;
    }
    // An empty frame would read as one empty record, so none is sent.
    if (!chunk.isEmpty())
        send(link, code, chunk);
}

void DevServer::broadcast(const QString &code, const QString &data)
{
    for (ClientLink *link : std::as_const(m_links))
        send(*link, code, data);
}

QList<ClientLink *> DevServer::linksOf(const QString &userId) const
{
    QList<ClientLink *> found;
    for (ClientLink *link : m_links)
        if (link->userId == userId)
            found.append(link);
    return found;
}

bool DevServer::isConnected(const QString &userId) const
{
    return !linksOf(userId).isEmpty();
}

bool DevServer::hasRole(const ClientLink &link, const QString &code, int role) const
{
    if (m_state.users.value(link.userId).role >= role)
        return true;
    qWarning("%s refused to %s: it needs role %d", qUtf8Printable(code), peer(link).constData(), role);
    return false;
}

void DevServer::changed()
{
    m_state.save();
}
