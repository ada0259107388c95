#pragma once

#include <QLockFile>
#include <QObject>

#include <memory>

class QLocalServer;

// One client per user: a lock file in the runtime folder, and a local socket
// through which a second start asks the first to open its menu.
class SingleInstance final : public QObject
{
    Q_OBJECT
public:
    explicit SingleInstance(const QString &runtimeFolder, QObject *parent = nullptr);
    ~SingleInstance() override;

    // True when this process is the only client of this user.
    bool acquire();
    // Tells the running client that someone started it again.
    void notifyRunning() const;

Q_SIGNALS:
    void menuRequested();

private:
    QString m_socketName;
    QLockFile m_lock;
    std::unique_ptr<QLocalServer> m_server;
};
