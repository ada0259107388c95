#include "DevServer.h"

#include "ClientLink.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "core/Failure.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"
#include "store/DateText.h"

#include <QTcpSocket>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr QChar dataStart(1);
constexpr QChar fieldSeparator(2);
constexpr QChar rowSeparator(3);

constexpr int Administrator = 3;
constexpr int StatusCancelled = 0;
constexpr int StatusActive = 1;
constexpr int StatusDeleted = 3;
constexpr int StatusResubmitted = 5;

QStringList fieldsOf(const QString &data, qsizetype count)
{
    QStringList fields = data.split(fieldSeparator);
    while (fields.size() < count)
        fields.append(QString());
    return fields;
}

// Comma lists as the client types them: blanks around an item are not part of it.
QStringList idsOf(const QString &data)
{
    QStringList ids;
    for (const QString &id : data.split(u','))
        if (!id.trimmed().isEmpty())
            ids.append(id.trimmed());
    return ids;
}

QString boolText(bool value)
{
    return value ? u"True"_s : u"False"_s;
}

bool readBool(const QString &text)
{
    const QString t = text.trimmed();
    return t.compare("True"_L1, Qt::CaseInsensitive) == 0 || t == "1"_L1 || t == "-1"_L1;
}

// Who a log line is about: the user, when known, and the address.
QByteArray peer(const ClientLink &link)
{
    return (link.userId.isEmpty() ? link.address.toString() : link.userId % u'@' % link.address.toString())
        .toUtf8();
}

} // namespace

DevServer::DevServer(ServerState &state, QObject *parent) : QObject(parent), m_state(state)
{
    connect(&m_server, &QTcpServer::newConnection, this, &DevServer::onNewConnection);
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

QString DevServer::levelsText() const
{
    // Inbound levels part records by Chr(2) and fields by Chr(3), the opposite of what the editor sends.
    QStringList records;
    for (const ServerState::Level &level : m_state.levels)
        records.append(level.join(rowSeparator));
    return records.join(fieldSeparator);
}

QString DevServer::receiptRecord(int index) const
{
    const ServerState::Receipt &r = m_state.receipts.at(index);
    // Field 6 is reserved and left empty.
    return QStringList{r.receiptId, r.msgId, r.userId,  r.userName,
                       r.machineId, r.date,  QString(), boolText(r.notify)}
        .join(fieldSeparator);
}

void DevServer::sendPendingReceipts(ClientLink &link)
{
    QStringList pending;
    for (int i = 0; i < m_state.receipts.size(); ++i) {
        const ServerState::Receipt &r = m_state.receipts.at(i);
        if (!r.confirmed && r.authorId == link.userId)
            pending.append(receiptRecord(i));
    }
    sendList(link, u"RCP"_s, pending, rowSeparator);
}

void DevServer::sendPolicies(ClientLink &link)
{
    send(link, u"POL"_s, m_state.policiesOf(link.userId));
}

void DevServer::storeRecord(const QString &id, const QString &text, bool package)
{
    DVMessage record;
    record.ToObject(text);
    if (record.Status == StatusResubmitted) {
        // Resubmitted is a word on the wire only: stored live, and due again on every machine.
        record.Status = StatusActive;
        m_state.records.insert(id, {record.ToString(), package});
        m_state.forgetDeliveries(id);
        return;
    }
    m_state.records.insert(id, {text, package});
}

bool DevServer::setStatus(const QString &id, int status)
{
    auto it = m_state.records.find(id);
    if (it == m_state.records.end())
        return false;
    DVMessage record;
    record.ToObject(it->text);
    record.Status = status;
    it->text = record.ToString();
    return true;
}

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

void DevServer::newId(ClientLink &link, const QString &code, const QString &)
{
    const QString id = m_state.newId();
    changed();
    send(link, code, id);
}

void DevServer::duplicateId(ClientLink &link, const QString &code, const QString &data)
{
    const QString id = m_state.newId();
    changed();
    // A shared template from a message is asked as STR and answered as STP.
    send(link, code == "STR"_L1 ? u"STP"_s : code, data % fieldSeparator % id);
}

void DevServer::takeRecord(ClientLink &link, const QString &code, const QString &data)
{
    const QStringList fields = fieldsOf(data, 5);
    DVMessage record;
    record.ToObject(fields[2]);
    const QString id = record.MsgID.isEmpty() ? fields[0] : record.MsgID;
    if (id.isEmpty()) {
        qWarning("%s without an id from %s ignored", qUtf8Printable(code), peer(link).constData());
        return;
    }
    QString text = fields[2];
    const bool reply = code == "RPL"_L1 || code == "RPA"_L1;
    if (reply && record.Target.isEmpty() && !fields[4].isEmpty()) {
        record.Target = fields[4];
        text = record.ToString();
    }
    const bool package = code == "PKG"_L1;
    storeRecord(id, text, package);
    changed();
    qInfo("%s %s from %s to \"%s\"", qUtf8Printable(code), qUtf8Printable(id), peer(link).constData(),
          qUtf8Printable(record.Target));
    // Every client decides for itself whether a record is meant for it.
    broadcast(package ? u"PKG"_s : u"MSG"_s, text);
}

void DevServer::confirm(ClientLink &link, const QString &, const QString &data)
{
    const QStringList fields = fieldsOf(data, 2);
    if (fields[0].isEmpty()) {
        qWarning("confirmation without an id from %s ignored", peer(link).constData());
        return;
    }
    m_state.recordDelivery(fields[0], link.userId, fields[1].toLower());
    changed();
}

void DevServer::updateRecord(ClientLink &, const QString &code, const QString &data)
{
    const QStringList fields = fieldsOf(data, 3);
    DVMessage record;
    record.ToObject(fields[2]);
    const QString id = record.MsgID.isEmpty() ? fields[0] : record.MsgID;
    if (id.isEmpty())
        return;
    const bool package = m_state.records.contains(id) ? m_state.records.value(id).package : code == "PUP"_L1;
    m_state.records.insert(id, {fields[2], package});
    changed();
}

void DevServer::deleteRecords(ClientLink &link, const QString &code, const QString &data)
{
    for (const QString &id : idsOf(data))
        setStatus(id, StatusDeleted);
    changed();
    qInfo("%s %s from %s", qUtf8Printable(code), qUtf8Printable(data), peer(link).constData());
    broadcast(code, data);
}

void DevServer::cancelRecord(ClientLink &link, const QString &code, const QString &data)
{
    const QString id = data.trimmed();
    if (!setStatus(id, StatusCancelled)) {
        qWarning("%s of unknown %s from %s", qUtf8Printable(code), qUtf8Printable(id),
                 peer(link).constData());
        return;
    }
    changed();
    broadcast(code == "PCA"_L1 ? u"PSC"_s : u"MSC"_s, QString::number(StatusCancelled) % fieldSeparator % id);
}

void DevServer::takeReceipt(ClientLink &link, const QString &, const QString &data)
{
    const QStringList fields = fieldsOf(data, 7);
    if (fields[0].isEmpty() || fields[5].isEmpty()) {
        qWarning("receipt without a message or an author from %s ignored", peer(link).constData());
        return;
    }
    ServerState::Receipt receipt{m_state.newId(),     fields[0],           fields[1],
                                 fields[2],           fields[3],           fields[4],
                                 fields[5].toLower(), readBool(fields[6]), false};
    m_state.receipts.append(receipt);
    changed();
    qInfo("receipt %s of %s read by %s", qUtf8Printable(receipt.receiptId), qUtf8Printable(receipt.msgId),
          peer(link).constData());
    // The author gets it now if connected, else at each log-on until he confirms it.
    const QString record = receiptRecord(int(m_state.receipts.size() - 1));
    for (ClientLink *author : linksOf(receipt.authorId))
        send(*author, u"RCP"_s, record);
}

void DevServer::confirmReceipts(ClientLink &, const QString &, const QString &data)
{
    const QStringList ids = data.split(fieldSeparator, Qt::SkipEmptyParts);
    for (ServerState::Receipt &receipt : m_state.receipts)
        if (ids.contains(receipt.receiptId))
            receipt.confirmed = true;
    changed();
}

void DevServer::listReceipts(ClientLink &link, const QString &, const QString &)
{
    QStringList records;
    for (int i = 0; i < m_state.receipts.size(); ++i)
        records.append(receiptRecord(i));
    sendList(link, u"ARC"_s, records, rowSeparator);
    send(link, u"RR_"_s);
}

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
    // Kept for the form only: the port in use is the one of the command line.
    qInfo("server configuration stored: %s", qUtf8Printable(m_state.serverConfig));
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
