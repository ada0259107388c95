#include "link/ConnectionManager.h"

#include "core/Failure.h"
#include "core/Log.h"
#include "link/Encryption.h"

ConnectionManager::ConnectionManager(Encryption &encryptor, QObject *parent)
    : QObject(parent), m_encryptor(encryptor)
{
    connect(&m_socket, &QTcpSocket::readyRead, this, &ConnectionManager::wsClient_DataArrival);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &ConnectionManager::wsClient_Error);
    connect(&m_socket, &QTcpSocket::connected, this, &ConnectionManager::connected);
    connect(&m_socket, &QTcpSocket::disconnected, this, &ConnectionManager::closed);
}

void ConnectionManager::ConnectToServer(const QString &host, int port)
{
    TraceLog(QStringLiteral("frmKorvanClient:ConnectToServer"));
    m_socket.abort();
    m_errorReported = false;
    if (host.isEmpty() || port <= 0 || port > 65535) {
        WriteLog(QStringLiteral("frmKorvanClient:ConnectToServer - no server to connect to"));
        return;
    }
    m_socket.connectToHost(host, static_cast<quint16>(port));
}

void ConnectionManager::Close()
{
    m_socket.abort();
}

int ConnectionManager::SocketState() const
{
    if (m_errorReported && m_socket.state() == QAbstractSocket::UnconnectedState)
        return sckError;
    switch (m_socket.state()) {
    case QAbstractSocket::UnconnectedState:
        return sckClosed;
    case QAbstractSocket::HostLookupState:
        return sckResolvingHost;
    case QAbstractSocket::ConnectingState:
        return sckConnecting;
    case QAbstractSocket::ConnectedState:
        return sckConnected;
    case QAbstractSocket::BoundState:
        return sckOpen;
    case QAbstractSocket::ListeningState:
        return sckListening;
    case QAbstractSocket::ClosingState:
        return sckClosing;
    }
    return sckClosed;
}

bool ConnectionManager::SendData(const QString &data, const QString &userID)
{
    if (m_socket.state() != QAbstractSocket::ConnectedState)
        return false;
    Failure failure;
    const QByteArray frame = m_encryptor.Encrypt(data + QChar(0) + userID.toLower(), &failure);
    if (failure.isSet()) {
        WriteLog(QStringLiteral("frmKorvanClient:SendData - ") + failure.description);
        return false;
    }
    return m_socket.write(frame) == frame.size();
}

void ConnectionManager::wsClient_DataArrival()
{
    m_encryptor.TCPMsgQueue.Enqueue(m_socket.readAll());
    for (;;) {
        Failure failure;
        const QString payload = m_encryptor.DecryptQ(&failure);
        if (failure.isSet()) {
            WriteLog(QStringLiteral("frmKorvanClient:wsClient_DataArrival - ") + failure.description);
            continue;
        }
        if (payload.isEmpty())
            break;
        Q_EMIT payloadReceived(payload);
    }
}

void ConnectionManager::wsClient_Error(QAbstractSocket::SocketError)
{
    m_errorReported = true;
    WriteLog(QStringLiteral("frmKorvanClient:wsClient_Error - ") + m_socket.errorString());
}
