#pragma once

#include "core/Globals.h"
#include "core/Options.h"
#include "engine/KorvanClient.h"
#include "link/ConnectionManager.h"
#include "link/Encryption.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <memory>
#include <vector>

// A scriptable server on loopback for tests: it speaks the frames, can join
// them, records what the client sent, and sends UDP orders.
class FakeServer final : public QObject
{
    Q_OBJECT
public:
    FakeServer();

    quint16 port() const { return m_server.serverPort(); }
    // The latest client's connection, once there is one.
    QTcpSocket *client() const { return m_peers.empty() ? nullptr : m_peers.back().socket.data(); }
    bool hasClient() const { return client() && client()->state() == QAbstractSocket::ConnectedState; }
    int connections() const { return int(m_peers.size()); }

    // One whole frame around the payload (Chr(1) and the other separators as given).
    static QByteArray frame(const QString &payload) { return Encryption().Encrypt(payload); }
    // Code, Chr(1) and the data.
    static QString command(const QString &code, const QString &data = QString())
    {
        return data.isNull() ? code : code + QChar(1) + data;
    }

    void send(const QString &payload) { sendBytes(frame(payload)); }
    void sendBytes(const QByteArray &bytes);
    // Several frames in one write.
    void sendJoined(const QStringList &payloads);
    void closeClient();
    void sendUdp(const QByteArray &datagram, quint16 port) const;

    // Every payload the client sent, whole: code, data, Chr(0) and the user id.
    QStringList received;
    // The codes of what the client sent, in order.
    QStringList receivedCodes() const;
    static QString codeOf(const QString &payload)
    {
        return payload.section(QChar(0), 0, 0).section(QChar(1), 0, 0);
    }
    // The MsgIDs of the client's CMS confirmations, in order.
    QStringList confirmedIds() const;
    // An active record for everyone that never expires, as a server would send it.
    static QString record(const QString &id, const QString &subject, const QString &text);

private:
    struct Peer
    {
        QPointer<QTcpSocket> socket;
        std::unique_ptr<Encryption> decoder;
    };
    QTcpServer m_server;
    std::vector<Peer> m_peers;
};

// The engine loaded in a fresh profile, its trace on and its ticker driven by
// hand, pointed at the server, at the port given, or (port -1) at nothing.
struct EngineOnFakeServer
{
    TempProfile profile;
    RecordingFrontend frontend;
    FakeServer server;
    KorvanClient engine;

    explicit EngineOnFakeServer(int reconnectDelay = 0, int port = 0);
    ConnectionManager &link() const { return *engine.connection(); }
    bool connected() const { return link().SocketState() == ConnectionManager::sckConnected; }
};
