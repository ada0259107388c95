#include "relayd/OrderService.h"

#include "core/Log.h"
#include "link/RelayFrames.h"
#include "link/UdpOrderFilter.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

const QString Form = u"OrderService:"_s;

// A follower that stops reading is dropped before its backlog grows without end.
constexpr qint64 MaxBacklog = 64 * 1024;

uint peerUid(const QLocalSocket *socket)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return uint(-1);
    return peer.uid;
}

} // namespace

OrderService::OrderService(quint16 port, const QString &socketPath, QObject *parent)
    : QObject(parent), m_port(port), m_socketPath(socketPath), m_udp(new QUdpSocket(this)),
      m_server(new QLocalServer(this)), m_filter(new UdpOrderFilter(this))
{
    m_rebind.setInterval(1000);
    connect(&m_rebind, &QTimer::timeout, this, &OrderService::bindPort);
    connect(m_udp, &QUdpSocket::readyRead, this, &OrderService::onDatagrams);
    connect(m_filter, &UdpOrderFilter::accepted, this,
            [this](const QByteArray &datagram, const QHostAddress &sender) {
                forward(RelayFrames::encode(datagram, sender));
            });
    m_server->setMaxPendingConnections(MaxFollowers);
    connect(m_server, &QLocalServer::newConnection, this, &OrderService::onFollower);
}

OrderService::~OrderService()
{
    for (QLocalSocket *follower : std::as_const(m_followers))
        follower->disconnect(this);
}

bool OrderService::start(const ListenFds &handed)
{
    if (handed.stream >= 0) {
        if (!m_server->listen(handed.stream)) {
            WriteLog(Form + u"start - the local socket handed over: "_s + m_server->errorString());
            return false;
        }
    } else {
        QDir().mkpath(QFileInfo(m_socketPath).absolutePath());
        // Every user's client connects; what it may do there is listen, nothing more.
        m_server->setSocketOptions(QLocalServer::WorldAccessOption);
        QLocalServer::removeServer(m_socketPath);
        if (!m_server->listen(m_socketPath)) {
            WriteLog(Form + u"start - "_s + m_socketPath + u": "_s + m_server->errorString());
            return false;
        }
    }
    if (handed.datagram >= 0 && m_udp->setSocketDescriptor(handed.datagram, QAbstractSocket::BoundState)) {
        WriteLog(u"UDP orders of port "_s + QString::number(m_udp->localPort()) +
                 u" relayed from the socket handed over"_s);
        return true;
    }
    bindPort();
    return true;
}

bool OrderService::holdsPort() const
{
    return m_udp->state() == QAbstractSocket::BoundState;
}

void OrderService::bindPort()
{
    if (m_udp->bind(QHostAddress::Any, m_port, QAbstractSocket::DontShareAddress)) {
        m_rebind.stop();
        m_lastError.clear();
        WriteLog(u"UDP orders of port "_s + QString::number(m_port) + u" relayed"_s);
        return;
    }
    // A client that held the port before the service came gives it up once it sees the socket.
    if (m_udp->errorString() != m_lastError)
        WriteLog(Form + u"bindPort - port "_s + QString::number(m_port) + u": "_s + m_udp->errorString() +
                 u"; tried again every second"_s);
    m_lastError = m_udp->errorString();
    m_rebind.start();
}

void OrderService::onDatagrams()
{
    while (m_udp->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_udp->receiveDatagram(RelayFrames::MaxDatagram);
        if (!datagram.data().isEmpty())
            m_filter->check(datagram.data(), datagram.senderAddress());
    }
}

void OrderService::onFollower()
{
    while (QLocalSocket *follower = m_server->nextPendingConnection()) {
        const uint uid = peerUid(follower);
        // One user filling the service would stop every other user's orders.
        if (m_followers.size() >= MaxFollowers || m_perUser.value(uid) >= PerUser) {
            WriteLog(
                Form + u"onFollower - user "_s + QString::number(uid) + u" refused: "_s +
                (m_followers.size() >= MaxFollowers ? u"the relay is full"_s : u"he already follows it"_s));
            follower->abort();
            follower->deleteLater();
            continue;
        }
        m_followers.append(follower);
        ++m_perUser[uid];
        // One way only: a follower that speaks is dropped, so no order comes in by this door.
        connect(follower, &QLocalSocket::readyRead, this, [this, follower] { drop(follower); });
        connect(follower, &QLocalSocket::disconnected, this, [this, follower, uid] {
            if (m_followers.removeOne(follower) && --m_perUser[uid] <= 0)
                m_perUser.remove(uid);
            follower->deleteLater();
        });
    }
}

void OrderService::drop(QLocalSocket *follower)
{
    follower->abort();
}

void OrderService::forward(const QByteArray &frame)
{
    for (QLocalSocket *follower : QList<QLocalSocket *>(m_followers)) {
        if (follower->bytesToWrite() > MaxBacklog)
            drop(follower);
        else
            follower->write(frame);
    }
}
