#include "ControlChannel.h"

#include "DevServer.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

namespace {

constexpr int waitMs = 10000;
// A request is a few hundred bytes; anything far larger is no client of ours.
constexpr qint64 maxRequest = 64 * 1024;

QJsonObject reply(bool ok, const QString &output)
{
    return {{"ok"_L1, ok}, {"output"_L1, output}};
}

} // namespace

ControlChannel::ControlChannel(DevServer &server, QObject *parent) : QObject(parent), m_server(server)
{
    connect(&m_local, &QLocalServer::newConnection, this, &ControlChannel::onNewConnection);
}

QString ControlChannel::socketPath(const QString &stateFile)
{
    return QFileInfo(stateFile).absoluteFilePath() + u".sock"_s;
}

bool ControlChannel::listen(const QString &path, QString *error)
{
    // Only the owner may drive the server.
    m_local.setSocketOptions(QLocalServer::UserAccessOption);
    // A socket file left by a server that was killed would block the name.
    QLocalServer::removeServer(path);
    if (m_local.listen(path))
        return true;
    *error = m_local.errorString();
    return false;
}

void ControlChannel::onNewConnection()
{
    while (QLocalSocket *socket = m_local.nextPendingConnection()) {
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void ControlChannel::onReadyRead(QLocalSocket *socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() > maxRequest) {
            qWarning("control request too long; connection dropped");
            socket->abort();
        }
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(socket->readLine(), &error);
    const QJsonObject result = document.isObject() ? answer(document.object())
                                                   : reply(false, u"bad request: "_s + error.errorString());
    socket->write(QJsonDocument(result).toJson(QJsonDocument::Compact) + '\n');
    socket->disconnectFromServer();
}

QJsonObject ControlChannel::answer(const QJsonObject &request)
{
    const QString command = request.value("command"_L1).toString();
    const QString to = request.value("to"_L1).toString();
    QString output;
    bool ok = false;
    if (command == "send"_L1) {
        ok = m_server.inject(to, request.value("level"_L1).toString(), request.value("from"_L1).toString(),
                             request.value("text"_L1).toString(), &output);
    } else if (command == "udp"_L1) {
        ok = m_server.sendOrder(to, request.value("order"_L1).toString(), &output);
    } else if (command == "list"_L1) {
        ok = true;
        output = m_server.listing();
    } else {
        output = u"unknown command \""_s + command + u'"';
    }
    return reply(ok, output);
}

bool ControlChannel::request(const QString &path, const QJsonObject &request, QString *output)
{
    if (!QFileInfo::exists(path)) {
        *output = u"no korvane-devserver runs with this state: "_s + path + u" is missing"_s;
        return false;
    }
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(waitMs)) {
        *output = u"no korvane-devserver answers at "_s + path + u": "_s + socket.errorString();
        return false;
    }
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    // A separate process: blocking here holds up no server.
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(waitMs)) {
            *output = u"the server did not answer: "_s + socket.errorString();
            return false;
        }
    }
    const QJsonObject answer = QJsonDocument::fromJson(socket.readLine()).object();
    *output = answer.value("output"_L1).toString();
    return answer.value("ok"_L1).toBool();
}
