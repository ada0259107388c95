#include "link/CommandDispatcher.h"

#include "core/Failure.h"
#include "core/Log.h"
#include "link/Encryption.h"

namespace {
const QString DataArrivalName = QStringLiteral("frmKorvanClient:DataArrival");
}

void CommandDispatcher::route(const QString &code, bool needsData, Handler handler)
{
    m_routes.insert(code, Route{needsData, std::move(handler)});
}

void CommandDispatcher::DataArrival(const QByteArray &bytes)
{
    m_encryptor.TCPMsgQueue.Enqueue(bytes);
    // A failure of the first decode is ignored: what it left waits for the next
    // arrival. Inside the loop a failure is logged and decoding goes on.
    QString payload = m_encryptor.DecryptQ();
    while (!payload.isEmpty()) {
        HandlePayload(payload);
        Failure failure;
        payload = m_encryptor.DecryptQ(&failure);
        while (failure.isSet()) {
            LogFailure(DataArrivalName, failure);
            failure = Failure{};
            payload = m_encryptor.DecryptQ(&failure);
        }
    }
}

void CommandDispatcher::HandlePayload(const QString &payload)
{
    const QString command = payload.section(QChar(0), 0, 0);
    const qsizetype separator = command.indexOf(QChar(1));
    // Without a Chr(1), left() gives the whole command.
    const QString code = command.left(separator);
    TraceLog(DataArrivalName + QStringLiteral(" Code: ") + code);

    const auto route = m_routes.constFind(code);
    if (route == m_routes.constEnd())
        return;
    Failure failure;
    if (route->needsData && separator < 0) {
        failure = Failure::subscriptOutOfRange();
    } else {
        // What lies behind a second Chr(1) is not looked at.
        const QString data = separator < 0 ? QString() : command.mid(separator + 1).section(QChar(1), 0, 0);
        route->handler(data, failure);
    }
    if (failure.isSet())
        LogFailure(DataArrivalName, failure);
}

QStringList CommandDispatcher::Parts(const QString &data, int count, Failure &failure)
{
    QStringList parts = data.split(QChar(2));
    if (parts.size() < count)
        failure = Failure::subscriptOutOfRange();
    return parts;
}
