#pragma once

#include "relayd/ListenFds.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

class QLocalServer;
class QLocalSocket;
class QUdpSocket;
class UdpOrderFilter;

// The machine's relay: holds the UDP order port for every user, lets through
// only the orders the administrator's UdpOrdersFrom allows, and hands each,
// with its sender, to every client that follows it.
class OrderService final : public QObject
{
    Q_OBJECT
public:
    // Followers one user may have at once: his client, and the one replacing it.
    static constexpr int PerUser = 2;
    // Enough for every user of a terminal server.
    static constexpr int MaxFollowers = 1024;

    OrderService(quint16 port, const QString &socketPath, QObject *parent = nullptr);
    ~OrderService() override;

    // Takes the sockets handed over, else opens its own; false when the local socket cannot be
    // opened. A port held by someone else is tried again every second.
    bool start(const ListenFds &handed);
    bool holdsPort() const;
    qsizetype followers() const { return m_followers.size(); }

private:
    void bindPort();
    void onDatagrams();
    void onFollower();
    void forward(const QByteArray &datagram);
    void drop(QLocalSocket *follower);

    quint16 m_port;
    QString m_socketPath;
    QUdpSocket *m_udp;
    QLocalServer *m_server;
    UdpOrderFilter *m_filter;
    QTimer m_rebind;
    QList<QLocalSocket *> m_followers;
    QHash<uint, int> m_perUser;
    QString m_lastError;
};
