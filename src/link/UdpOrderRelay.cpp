#include "link/UdpOrderRelay.h"

#include "core/Clock.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"

#include <QFile>
#include <QHostInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QUdpSocket>

#include <sys/socket.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString Form = u"UdpOrderRelay:"_s;

// A datagram is read 512 bytes at most; the sender's address and a separator come on top.
constexpr int MaxFrame = 512 + 64;
// Enough for every user of a terminal server; more connections are someone playing.
constexpr qsizetype MaxFollowers = 256;
// A follower that stops reading is dropped before its backlog grows without end.
constexpr qint64 MaxBacklog = 64 * 1024;
// A relay left sooner than this after joining it is not joined again at once.
constexpr qint64 MinFollowSecs = 6;

QString plainAddress(const QHostAddress &address)
{
    bool mapped = false;
    const QHostAddress v4(address.toIPv4Address(&mapped));
    return mapped ? v4.toString() : address.toString();
}

// Whether the process at the other end of the local socket holds the UDP port
// itself: a user who only took the relay's name could otherwise make up orders.
bool peerHoldsPort(qintptr descriptor, quint16 port)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(int(descriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return false;
    const QByteArray localPort = ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    for (const QString &table : {u"/proc/net/udp"_s, u"/proc/net/udp6"_s}) {
        QFile file(table);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        // sl, local address:port, remote address:port, st, queues, timer, retransmits, uid, ...
        for (const QByteArray &line : file.readAll().split('\n')) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            if (fields.size() > 7 && fields[1].endsWith(localPort) && fields[7].toUInt() == peer.uid)
                return true;
        }
    }
    return false;
}

} // namespace

UdpOrderRelay::UdpOrderRelay(QUdpSocket &udp, QObject *parent) : QObject(parent), m_udp(udp)
{
    // A port given up (a new port from the server) closes the relay; the followers then take over.
    connect(&m_udp, &QUdpSocket::stateChanged, this, [this](QAbstractSocket::SocketState state) {
        if (state == QAbstractSocket::UnconnectedState)
            stopRelaying();
    });
}

UdpOrderRelay::~UdpOrderRelay()
{
    m_udp.disconnect(this);
    if (m_holder)
        m_holder->disconnect(this);
    // The port first, then the relay: a follower that sees the relay close finds the port free.
    m_udp.close();
    stopRelaying();
}

QString UdpOrderRelay::relayName(quint16 port)
{
    return u"korvane-udp-"_s + QString::number(port);
}

bool UdpOrderRelay::follow(quint16 port)
{
    if (m_holder)
        return true;
    auto *holder = new QLocalSocket(this);
    holder->setSocketOptions(QLocalSocket::AbstractNamespaceOption);
    holder->connectToServer(relayName(port));
    if (!holder->waitForConnected(1000) || !peerHoldsPort(holder->socketDescriptor(), port)) {
        if (holder->state() == QLocalSocket::ConnectedState)
            TraceLog(Form + u"follow - the relay of port "_s + QString::number(port) +
                     u" is not held by the port's owner"_s);
        holder->abort();
        delete holder;
        return false;
    }
    m_holder = holder;
    m_port = port;
    m_pending.clear();
    m_followedAt = Clock::now();
    connect(holder, &QLocalSocket::readyRead, this, &UdpOrderRelay::onHolderData);
    connect(holder, &QLocalSocket::disconnected, this, &UdpOrderRelay::onHolderClosed);
    return true;
}

bool UdpOrderRelay::hold(quint16 port)
{
    // Not shared: a second bind fails, and that is how a client learns it is not the first.
    if (!m_udp.bind(QHostAddress::Any, port, QAbstractSocket::DontShareAddress))
        return false;
    m_port = port;
    m_listenLogged = false;
    listen();
    return true;
}

bool UdpOrderRelay::listen()
{
    if (isRelaying())
        return true;
    delete m_server;
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::AbstractNamespaceOption);
    m_server->setMaxPendingConnections(int(MaxFollowers));
    connect(m_server, &QLocalServer::newConnection, this, &UdpOrderRelay::onFollowerConnection);
    if (m_server->listen(relayName(m_port)))
        return true;
    // Taken by a holder on its way out, or by someone else: this client still obeys, alone.
    if (!m_listenLogged)
        WriteLog(Form + u"listen - "_s + relayName(m_port) + u": "_s + m_server->errorString());
    m_listenLogged = true;
    return false;
}

bool UdpOrderRelay::isRelaying() const
{
    return m_server && m_server->isListening();
}

void UdpOrderRelay::relay(const QByteArray &datagram, const QHostAddress &sender)
{
    if (m_followers.isEmpty())
        return;
    const QByteArray payload = plainAddress(sender).toLatin1() + '\n' + datagram.left(512);
    QByteArray frame;
    frame.append(char(payload.size() >> 8)).append(char(payload.size() & 0xff)).append(payload);
    for (QLocalSocket *follower : std::as_const(m_followers)) {
        if (follower->bytesToWrite() > MaxBacklog)
            follower->abort();
        else
            follower->write(frame);
    }
}

void UdpOrderRelay::onFollowerConnection()
{
    while (QLocalSocket *follower = m_server->nextPendingConnection()) {
        if (m_followers.size() >= MaxFollowers) {
            follower->abort();
            follower->deleteLater();
            continue;
        }
        m_followers.append(follower);
        // One way only: a follower that speaks is dropped, so no order comes in by this door.
        connect(follower, &QLocalSocket::readyRead, follower, &QLocalSocket::abort);
        connect(follower, &QLocalSocket::disconnected, this, [this, follower] {
            m_followers.removeOne(follower);
            follower->deleteLater();
        });
    }
}

void UdpOrderRelay::onHolderData()
{
    m_pending += m_holder->readAll();
    while (m_pending.size() >= 2) {
        const int size = (uchar(m_pending[0]) << 8) | uchar(m_pending[1]);
        if (size > MaxFrame) {
            WriteLog(Form + u"onHolderData - a relayed order of "_s + QString::number(size) +
                     u" bytes; the relay is left"_s);
            m_holder->abort();
            return;
        }
        if (m_pending.size() < 2 + size)
            return;
        const QByteArray payload = m_pending.mid(2, size);
        m_pending.remove(0, 2 + size);
        const qsizetype split = payload.indexOf('\n');
        if (split < 0)
            continue;
        const QByteArray datagram = payload.mid(split + 1);
        if (!datagram.isEmpty())
            Q_EMIT orderRelayed(datagram, QHostAddress(QString::fromLatin1(payload.left(split))));
        if (!m_holder)
            return;
    }
}

void UdpOrderRelay::onHolderClosed()
{
    if (!m_holder)
        return;
    m_holder->disconnect(this);
    m_holder->deleteLater();
    m_holder = nullptr;
    m_pending.clear();
    Q_EMIT holderGone(m_followedAt.secsTo(Clock::now()) >= MinFollowSecs);
}

void UdpOrderRelay::stopRelaying()
{
    if (m_server) {
        m_server->disconnect(this);
        m_server->close();
        m_server->deleteLater();
        m_server = nullptr;
    }
    for (QLocalSocket *follower : std::exchange(m_followers, {})) {
        follower->disconnect(this);
        follower->abort();
        follower->deleteLater();
    }
}

void UdpOrderFilter::check(const QByteArray &datagram, const QHostAddress &sender)
{
    const Options &options = gOptions();
    if (options.UdpOrdersFrom.trimmed().compare("server"_L1, Qt::CaseInsensitive) != 0) {
        Q_EMIT accepted(datagram);
        return;
    }
    const QString server = options.Server.trimmed();
    if (m_resolved && server == m_server) {
        decide(datagram, sender);
        return;
    }
    m_waiting.append({datagram, sender});
    if (m_lookingUp != server || m_lookupId == -1)
        lookUp(server);
}

void UdpOrderFilter::lookUp(const QString &server)
{
    if (m_lookupId != -1)
        QHostInfo::abortHostLookup(m_lookupId);
    m_lookupId = -1;
    m_lookingUp = server;
    const QHostAddress literal(server);
    if (server.isEmpty() || !literal.isNull()) {
        resolved(server, literal.isNull() ? QList<QHostAddress>() : QList<QHostAddress>{literal});
        return;
    }
    m_lookupId = QHostInfo::lookupHost(server, this, [this, server](const QHostInfo &info) {
        m_lookupId = -1;
        resolved(server, info.addresses());
    });
}

void UdpOrderFilter::resolved(const QString &server, const QList<QHostAddress> &addresses)
{
    if (server != m_server)
        m_logged.clear();
    m_server = server;
    m_addresses = addresses;
    // A failed lookup is not kept: the next order asks again.
    m_resolved = !addresses.isEmpty();
    m_lookingUp.clear();
    for (const auto &[datagram, sender] : std::exchange(m_waiting, {}))
        decide(datagram, sender);
}

void UdpOrderFilter::decide(const QByteArray &datagram, const QHostAddress &sender)
{
    for (const QHostAddress &address : std::as_const(m_addresses)) {
        if (address.isEqual(sender, QHostAddress::ConvertV4MappedToIPv4)) {
            Q_EMIT accepted(datagram);
            return;
        }
    }
    const QString from = plainAddress(sender);
    TraceLog(Form + u"check - dropped an order from "_s + from);
    if (m_logged.contains(from))
        return;
    m_logged.insert(from);
    WriteLog(u"UDP order from "_s + from + u" ignored: only the server "_s + m_server +
             u" may give orders"_s);
}
