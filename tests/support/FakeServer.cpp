#include "support/FakeServer.h"

#include "core/Ticker.h"
#include "store/DVMessage.h"
#include "store/MessageCodes.h"

#include <QUdpSocket>

FakeServer::FakeServer()
{
    m_server.listen(QHostAddress::LocalHost);
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection()) {
            const int connection = int(m_peers.size());
            m_peers.push_back({socket, std::make_unique<Encryption>()});
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket, connection] {
                Encryption &decoder = *m_peers[connection].decoder;
                decoder.TCPMsgQueue.Enqueue(socket->readAll());
                for (QString payload = decoder.DecryptQ(); !payload.isEmpty(); payload = decoder.DecryptQ())
                    received << payload;
            });
        }
    });
}

void FakeServer::sendBytes(const QByteArray &bytes)
{
    if (QTcpSocket *socket = client()) {
        socket->write(bytes);
        socket->flush();
    }
}

void FakeServer::sendJoined(const QStringList &payloads)
{
    QByteArray bytes;
    for (const QString &payload : payloads)
        bytes += frame(payload);
    sendBytes(bytes);
}

void FakeServer::closeClient()
{
    if (QTcpSocket *socket = client()) {
        socket->flush();
        socket->disconnectFromHost();
    }
}

void FakeServer::sendUdp(const QByteArray &datagram, quint16 port) const
{
    QUdpSocket().writeDatagram(datagram, QHostAddress::LocalHost, port);
}

QStringList FakeServer::receivedCodes() const
{
    QStringList codes;
    for (const QString &payload : received)
        codes << codeOf(payload);
    return codes;
}

QStringList FakeServer::confirmedIds() const
{
    QStringList ids;
    for (const QString &payload : received)
        if (codeOf(payload) == QLatin1String("CMS"))
            ids << payload.section(QChar(1), 1).section(QChar(2), 0, 0);
    return ids;
}

QString FakeServer::record(const QString &id, const QString &subject, const QString &text)
{
    DVMessage m;
    m.MsgID = id;
    m.Subject = subject;
    m.Message = text;
    m.UserID = QStringLiteral("author");
    m.UserName = QStringLiteral("The Author");
    m.MachineID = QStringLiteral("ws-1");
    m.ReceiptRequired = true;
    m.DeleteAtExpiration = true;
    m.Status = StatusActive;
    m.CreationDate = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC);
    m.ExpirationDate = QDateTime(QDate(2099, 1, 1), QTime(0, 0), Qt::UTC);
    return m.ToString();
}

EngineOnFakeServer::EngineOnFakeServer(int reconnectDelay, int port)
{
    Ticker::setManual(true);
    gProcess().AppDataPath = profile.dataHome();
    gOptions().setIniPath(profile.configHome() + QStringLiteral("/KorvaneClient.ini"));
    if (port >= 0) {
        gOptions().Server = QStringLiteral("127.0.0.1");
        gOptions().ClientPort = port ? port : server.port();
    }
    gOptions().ReconnectDelay = reconnectDelay;
    gOptions().Trace = true;
    engine.Load();
}
