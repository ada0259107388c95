#include "link/UdpOrderRelay.h"

#include "core/Clock.h"
#include "core/Log.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>
#include <QUdpSocket>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Form = u"UdpOrderRelay:"_s;

// A service left sooner than this after joining it is not joined again at once.
constexpr qint64 MinFollowSecs = 6;

// Root (the service manager holds the sockets it hands to the service) or this user: nobody
// else's process may speak in the server's name, whoever came first.
bool trustedPeer(qintptr descriptor, uid_t *uid)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(int(descriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return false;
    *uid = peer.uid;
    return peer.uid == 0 || peer.uid == geteuid();
}

} // namespace

UdpOrderRelay::UdpOrderRelay(QUdpSocket &udp, QObject *parent) : QObject(parent), m_udp(udp) {}

UdpOrderRelay::~UdpOrderRelay()
{
    if (m_service)
        m_service->disconnect(this);
}

QString UdpOrderRelay::serviceSocket(quint16 port)
{
    QString folder = qEnvironmentVariable("KORVANE_RELAY_DIR");
    if (folder.isEmpty())
        folder = u"/run/korvane-relay"_s;
    return QDir(folder).filePath(u"orders-"_s + QString::number(port));
}

bool UdpOrderRelay::serviceRuns(quint16 port)
{
    return QFileInfo::exists(serviceSocket(port));
}

UdpOrderRelay::Follow UdpOrderRelay::follow(quint16 port)
{
    if (m_service)
        return Follow::Joined;
    const QString path = serviceSocket(port);
    auto *service = new QLocalSocket(this);
    service->connectToServer(path);
    uid_t uid = 0;
    if (!service->waitForConnected(1000)) {
        logOnce(Form + u"follow - "_s + path + u": "_s + service->errorString());
        const bool refused = service->error() == QLocalSocket::ConnectionRefusedError;
        delete service;
        // Anything but a refusal (a full backlog, a slow service) is waited for.
        return refused ? Follow::Absent : Follow::Untrusted;
    }
    if (!trustedPeer(service->socketDescriptor(), &uid)) {
        logOnce(Form + u"follow - "_s + path + u" is held by user "_s + QString::number(uid) +
                u", neither root nor this user: no order is taken from it"_s);
        service->abort();
        delete service;
        return Follow::Untrusted;
    }
    m_lastLogged.clear();
    m_service = service;
    m_reader.reset();
    m_followedAt = Clock::now();
    connect(service, &QLocalSocket::readyRead, this, &UdpOrderRelay::onServiceData);
    connect(service, &QLocalSocket::disconnected, this, &UdpOrderRelay::onServiceClosed);
    return Follow::Joined;
}

bool UdpOrderRelay::hold(quint16 port)
{
    // Not shared: a second bind fails, and that is how a client learns the port is taken.
    return m_udp.bind(QHostAddress::Any, port, QAbstractSocket::DontShareAddress);
}

void UdpOrderRelay::onServiceData()
{
    const QList<RelayedOrder> orders = m_reader.feed(m_service->readAll());
    if (m_reader.badLength()) {
        WriteLog(Form + u"onHolderData - a relayed order of "_s + QString::number(m_reader.badLength()) +
                 u" bytes; the relay is left"_s);
        m_service->abort();
        return;
    }
    for (const RelayedOrder &order : orders) {
        Q_EMIT orderRelayed(order.datagram, order.sender);
        // An order may end the link, and this relay with it.
        if (!m_service)
            return;
    }
}

void UdpOrderRelay::onServiceClosed()
{
    if (!m_service)
        return;
    m_service->disconnect(this);
    m_service->deleteLater();
    m_service = nullptr;
    m_reader.reset();
    Q_EMIT serviceGone(m_followedAt.secsTo(Clock::now()) >= MinFollowSecs);
}

void UdpOrderRelay::logOnce(const QString &text)
{
    // Tried every few seconds while the service is away: a lasting reason is told once.
    if (text == m_lastLogged)
        return;
    m_lastLogged = text;
    WriteLog(text);
}
