#include "app/SingleInstance.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

SingleInstance::SingleInstance(const QString &runtimeFolder, QObject *parent)
    : QObject(parent), m_socketName(QDir(runtimeFolder).filePath(QStringLiteral("korvane-client.socket"))),
      m_lock(QDir(runtimeFolder).filePath(QStringLiteral("korvane-client.lock")))
{
    QDir().mkpath(runtimeFolder);
    // A lock left by a client that died is taken over at once: its owner's
    // process no longer exists, which QLockFile checks.
    m_lock.setStaleLockTime(0);
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::acquire()
{
    if (!m_lock.tryLock(0))
        return false;
    QLocalServer::removeServer(m_socketName);
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *peer = m_server->nextPendingConnection()) {
            connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
            peer->disconnectFromServer();
            Q_EMIT menuRequested();
        }
    });
    m_server->listen(m_socketName);
    return true;
}

void SingleInstance::notifyRunning() const
{
    QLocalSocket socket;
    socket.connectToServer(m_socketName);
    // The peer is another process, so a short blocking wait is safe here.
    socket.waitForConnected(1000);
}
