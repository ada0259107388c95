#pragma once

#include "link/RelayFrames.h"

#include <QByteArray>
#include <QDateTime>
#include <QHostAddress>
#include <QObject>
#include <QString>

class QLocalSocket;
class QUdpSocket;

// Where a machine runs the relay service, the service holds the UDP order port
// and hands every datagram, with its sender, to each user's client through a
// socket under /run; a client trusts it only when root (the service manager) or
// the user himself answers there. Without the service the client binds the port
// itself, and no other user's process is ever followed.
class UdpOrderRelay final : public QObject
{
    Q_OBJECT
public:
    // The client's own UDP socket, bound here when no service holds the port.
    explicit UdpOrderRelay(QUdpSocket &udp, QObject *parent = nullptr);
    ~UdpOrderRelay() override;

    // The service's socket for a port: in $KORVANE_RELAY_DIR, else /run/korvane-relay,
    // which only root can create.
    static QString serviceSocket(quint16 port);
    // The service has its socket for this port: the port is the service's, never this client's.
    static bool serviceRuns(quint16 port);
    enum class Follow {
        Joined,
        // Nobody listens on the socket: a relay run by hand that died. The port is free to take.
        Absent,
        // Someone answers who is neither root nor this user: no order is taken from him.
        Untrusted,
    };
    Follow follow(quint16 port);
    // Binds the port for this client alone; false when the port is taken.
    bool hold(quint16 port);
    bool isFollowing() const { return m_service != nullptr; }

Q_SIGNALS:
    // A datagram the service received, with the address it came from.
    void orderRelayed(const QByteArray &datagram, const QHostAddress &sender);
    // The service went away. Not lasted when it went within one pace of the starter after
    // being joined (full, or sending garbage): joined again at once, it would go again at once.
    void serviceGone(bool lasted);

private:
    void onServiceData();
    void onServiceClosed();
    void logOnce(const QString &text);

    QUdpSocket &m_udp;
    QLocalSocket *m_service = nullptr;
    RelayFrameReader m_reader;
    QDateTime m_followedAt;
    QString m_lastLogged;
};
