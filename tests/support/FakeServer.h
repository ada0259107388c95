#pragma once

#include "link/Encryption.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

// A scriptable server on loopback for tests: it speaks the frames, can split,
// join, delay and drop them, records what the client sent, and sends UDP orders.
class FakeServer final : public QObject
{
    Q_OBJECT
public:
    // On the given port of loopback; 0 takes any free one.
    explicit FakeServer(quint16 port = 0);
    ~FakeServer() override;

    quint16 port() const { return m_server.serverPort(); }
    // The client's connection, once there is one.
    QTcpSocket *client() const { return m_client; }
    bool hasClient() const { return m_client && m_client->state() == QAbstractSocket::ConnectedState; }
    int connections() const { return m_connections; }

    // One whole frame around the payload (Chr(1) and the other separators as given).
    static QByteArray frame(const QString &payload) { return Encryption().Encrypt(payload); }
    // Code, Chr(1) and the data.
    static QString command(const QString &code, const QString &data = QString())
    {
        return data.isNull() ? code : code + QChar(1) + data;
    }

    void send(const QString &payload) { sendBytes(frame(payload)); }
    // To the connection that came n-th (0 first), when several clients talk to it.
    void sendTo(int connection, const QString &payload);
    void sendBytes(const QByteArray &bytes);
    // Several frames in one write.
    void sendJoined(const QStringList &payloads);
    // One frame cut into pieces of `chunk` bytes, each its own write a few
    // milliseconds after the last, so that the client reads them apart.
    void sendSplit(const QString &payload, int chunk);
    void sendDelayed(const QString &payload, int milliseconds);
    // Writes the first `bytes` bytes of a frame, then closes the connection.
    void sendPartThenClose(const QString &payload, int bytes);
    void closeClient();
    // Frames from the client are dropped instead of recorded while this is set.
    void setDropIncoming(bool drop) { m_dropIncoming = drop; }

    void sendUdp(const QByteArray &datagram, quint16 port) const;

    // Every payload the client sent, whole: code, data, Chr(0) and the user id.
    QStringList received;
    // Which connection (0 first) sent each of them.
    QList<int> receivedFrom;
    // The codes of what the client sent, in order.
    QStringList receivedCodes() const;
    static QString codeOf(const QString &payload)
    {
        return payload.section(QChar(0), 0, 0).section(QChar(1), 0, 0);
    }
    // The MsgIDs of the client's CMS confirmations, in order.
    QStringList confirmedIds() const;
    // An active record for everyone (or the target) that never expires, as a
    // server would send it.
    static QString record(const QString &id, const QString &subject, const QString &text,
                          const QString &target = QString(), const QString &agent = QString());

Q_SIGNALS:
    void clientConnected();
    void payloadReceived(const QString &payload);

private:
    void onNewConnection();
    void onReadyRead();

    QTcpServer m_server;
    QPointer<QTcpSocket> m_client;
    QList<QPointer<QTcpSocket>> m_connectionsList;
    QList<Encryption *> m_decoders;
    int m_connections = 0;
    bool m_dropIncoming = false;
};
