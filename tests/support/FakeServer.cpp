#include "support/FakeServer.h"

#include <QTimer>
#include <QUdpSocket>

FakeServer::FakeServer()
{
    m_server.listen(QHostAddress::LocalHost, 0);
    connect(&m_server, &QTcpServer::newConnection, this, &FakeServer::onNewConnection);
}

QByteArray FakeServer::frame(const QString &payload)
{
    return Encryption().Encrypt(payload);
}

QString FakeServer::command(const QString &code, const QString &data)
{
    return data.isNull() ? code : code + QChar(1) + data;
}

void FakeServer::send(const QString &payload)
{
    sendBytes(frame(payload));
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

QString FakeServer::codeOf(const QString &payload)
{
    return payload.section(QChar(0), 0, 0).section(QChar(1), 0, 0);
}

void FakeServer::onNewConnection()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        if (m_client)
            m_client->deleteLater();
        m_client = socket;
        ++m_connections;
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
    m_decoder.TCPMsgQueue.Enqueue(socket->readAll());
    for (QString payload = m_decoder.DecryptQ(); !payload.isEmpty(); payload = m_decoder.DecryptQ()) {
        if (m_dropIncoming)
            continue;
        received << payload;
        Q_EMIT payloadReceived(payload);
    }
}
