#pragma once

#include <QJsonObject>
#include <QLocalServer>
#include <QObject>
#include <QString>

class DevServer;
class QLocalSocket;

// The local socket beside the state file through which the command line
// drives a running server: one JSON line in, one JSON line out.
class ControlChannel final : public QObject
{
    Q_OBJECT
public:
    explicit ControlChannel(DevServer &server, QObject *parent = nullptr);

    static QString socketPath(const QString &stateFile);

    bool listen(const QString &path, QString *error);

    // The command line's side: sends one request and waits for its answer.
    // False with the reason in output when no server answers or it refuses.
    static bool request(const QString &path, const QJsonObject &request, QString *output);

private:
    void onNewConnection();
    void onReadyRead(QLocalSocket *socket);
    QJsonObject answer(const QJsonObject &request);

    DevServer &m_server;
    QLocalServer m_local;
};
