#include "support/FakeServer.h"

#include "store/DVMessage.h"
#include "store/MessageCodes.h"

#include <QTimer>
#include <QUdpSocket>

FakeServer::FakeServer(quint16 port)
{
    m_server.listen(QHostAddress::LocalHost, port);
    connect(&m_server, &QTcpServer::newConnection, this, &FakeServer::onNewConnection);
}

FakeServer::~FakeServer()
{
    qDeleteAll(m_decoders);
}

void FakeServer::sendTo(int connection, const QString &payload)
{
    if (connection >= 0 && connection < m_connectionsList.size() && m_connectionsList[connection]) {
        m_connectionsList[connection]->write(frame(payload));
        m_connectionsList[connection]->flush();
    }
}

void FakeServer::sendBytes(const QByteArray &bytes)
{
    if (m_client) {
        m_client->write(bytes);
        m_client->flush();
    }
}

void FakeServer::sendJoined(const QStringList &payloads)
{
    QByteArray bytes;
    for (const QString &payload : payloads)
        bytes += frame(payload);
    sendBytes(bytes);
}

void FakeServer::sendSplit(const QString &payload, int chunk)
{
    const QByteArray bytes = frame(payload);
    int delay = 0;
    for (qsizetype at = 0; at < bytes.size(); at += chunk, delay += 5)
        QTimer::singleShot(delay, this, [this, piece = bytes.mid(at, chunk)] { sendBytes(piece); });
}

void FakeServer::sendDelayed(const QString &payload, int milliseconds)
{
    QTimer::singleShot(milliseconds, this, [this, payload] { send(payload); });
}

void FakeServer::sendPartThenClose(const QString &payload, int bytes)
{
    sendBytes(frame(payload).left(bytes));
    closeClient();
}

void FakeServer::closeClient()
{
    if (m_client) {
        m_client->flush();
        m_client->disconnectFromHost();
    }
}

void FakeServer::sendUdp(const QByteArray &datagram, quint16 port) const
{
    QUdpSocket socket;
    socket.writeDatagram(datagram, QHostAddress::LocalHost, port);
}

QStringList FakeServer::receivedCodes() const
{
    QStringList codes;
    for (const QString &payload : received)
        codes << codeOf(payload);
    return codes;
}

void FakeServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        m_client = socket;
        ++m_connections;
        m_connectionsList.append(socket);
        m_decoders.append(new Encryption);
        socket->setProperty("connection", int(m_connectionsList.size() - 1));
        connect(socket, &QTcpSocket::readyRead, this, &FakeServer::onReadyRead);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        Q_EMIT clientConnected();
    }
}

void FakeServer::onReadyRead()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket)
        return;
    const int connection = socket->property("connection").toInt();
    Encryption &decoder = *m_decoders[connection];
    decoder.TCPMsgQueue.Enqueue(socket->readAll());
    for (QString payload = decoder.DecryptQ(); !payload.isEmpty(); payload = decoder.DecryptQ()) {
        if (m_dropIncoming)
            continue;
        received << payload;
        receivedFrom << connection;
        Q_EMIT payloadReceived(payload);
    }
}

QStringList FakeServer::confirmedIds() const
{
    QStringList ids;
    for (const QString &payload : received)
        if (codeOf(payload) == QLatin1String("CMS"))
            ids << payload.section(QChar(1), 1).section(QChar(2), 0, 0);
    return ids;
}

QString FakeServer::record(const QString &id, const QString &subject, const QString &text,
                           const QString &target, const QString &agent)
{
    DVMessage m;
    m.MsgID = id;
    m.Subject = subject;
    m.Message = text;
    m.UserID = QStringLiteral("author");
    m.UserName = QStringLiteral("The Author");
    m.MachineID = QStringLiteral("ws-1");
    m.Target = target;
    m.Agent = agent;
    m.ReceiptRequired = true;
    m.DeleteAtExpiration = true;
    m.Status = StatusActive;
    m.CreationDate = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC);
    m.ExpirationDate = QDateTime(QDate(2099, 1, 1), QTime(0, 0), Qt::UTC);
    return m.ToString();
}
