// Messages, packages and receipts: new IDs, records stored and spread, confirmations, status changes.
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
