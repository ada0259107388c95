#pragma once

#include <QObject>
#include <QTcpSocket>

class Encryption;

// Holds the one TCP link to the server: connects, frames what goes out and
// feeds what comes in to the frame codec.
class ConnectionManager : public QObject
{
    Q_OBJECT
public:
    // Socket states as the rest of the system numbers them.
    enum SocketStateNumber {
        sckClosed = 0,
        sckOpen = 1,
        sckListening = 2,
        sckConnectionPending = 3,
        sckResolvingHost = 4,
        sckHostResolved = 5,
        sckConnecting = 6,
        sckConnected = 7,
        sckClosing = 8,
        sckError = 9,
    };

    ConnectionManager(Encryption &encryptor, QObject *parent = nullptr);

    void ConnectToServer(const QString &host, int port);
    // Ends the connection without a word to the server.
    void Close();
    int SocketState() const;
    QTcpSocket &wsClient() { return m_socket; }

    // Frames the data with Chr(0) and the user id behind it; only on a connected
    // socket. False when nothing was sent.
    bool SendData(const QString &data, const QString &userID);

Q_SIGNALS:
    void payloadReceived(const QString &payload);
    void connected();
    void closed();

private:
    void wsClient_DataArrival();
    void wsClient_Error(QAbstractSocket::SocketError error);

    Encryption &m_encryptor;
    QTcpSocket m_socket;
    bool m_errorReported = false;
};
