#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <utility>

class QLocalServer;
class QLocalSocket;
class QUdpSocket;

// The clients of all users of one machine share the UDP order port: the first
// binds it and hands every datagram, with its sender, to the others through a
// local socket; when it goes, one of the others binds the port in its place.
class UdpOrderRelay final : public QObject
{
    Q_OBJECT
public:
    // The client's own UDP socket, bound here when this client holds the port.
    explicit UdpOrderRelay(QUdpSocket &udp, QObject *parent = nullptr);
    ~UdpOrderRelay() override;

    // Follows the client that holds the port; false when none is there, or
    // when what answers on the relay's name does not hold the port itself.
    bool follow(quint16 port);
    // Binds the port for the machine and opens the relay; false when the port is taken.
    bool hold(quint16 port);
    // Opens the relay of a holder that found the name taken; true once it is open.
    bool listen();
    bool isFollowing() const { return m_holder != nullptr; }
    bool isRelaying() const;
    qsizetype followers() const { return m_followers.size(); }
    // Hands a datagram this client received from the network to every follower.
    void relay(const QByteArray &datagram, const QHostAddress &sender);

    // Abstract, so that no file outlives a holder that crashed, and no user's
    // folder rights stand between the clients.
    static QString relayName(quint16 port);

Q_SIGNALS:
    // A datagram the holder received, with the address it came from.
    void orderRelayed(const QByteArray &datagram, const QHostAddress &sender);
    // The holder went away: the port may now be free for this client. Not lasted when it went
    // within one pace of the starter after being joined (a full relay, or one sending garbage).
    void holderGone(bool lasted);

private:
    void onFollowerConnection();
    void onHolderData();
    void onHolderClosed();
    void stopRelaying();

    QUdpSocket &m_udp;
    quint16 m_port = 0;
    QLocalServer *m_server = nullptr;
    QList<QLocalSocket *> m_followers;
    QLocalSocket *m_holder = nullptr;
    QByteArray m_pending;
    QDateTime m_followedAt;
    bool m_listenLogged = false;
};

// The administrator's UdpOrdersFrom: "server" lets only the addresses of the
// configured server give orders; anything else (empty by default) lets anyone.
class UdpOrderFilter final : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Emits accepted for an order its sender may give, at once or once the
    // server's name is resolved; others are dropped, logged once per sender.
    void check(const QByteArray &datagram, const QHostAddress &sender);

Q_SIGNALS:
    void accepted(const QByteArray &datagram);

private:
    void lookUp(const QString &server);
    void resolved(const QString &server, const QList<QHostAddress> &addresses);
    void decide(const QByteArray &datagram, const QHostAddress &sender);

    QString m_server;
    bool m_resolved = false;
    QList<QHostAddress> m_addresses;
    QString m_lookingUp;
    int m_lookupId = -1;
    QList<std::pair<QByteArray, QHostAddress>> m_waiting;
    QSet<QString> m_logged;
};
