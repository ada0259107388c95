#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

class Encryption;
struct Failure;

// Cuts what the server sent into frames, each frame into its code and data, and
// hands the data to the handler of the code. A handler that fails, or a frame
// that lacks the data its command needs, loses only that frame.
class CommandDispatcher
{
public:
    // A handler sets the failure when it cannot do its work; the trap logs it.
    using Handler = std::function<void(const QString &data, Failure &failure)>;

    explicit CommandDispatcher(Encryption &encryptor) : m_encryptor(encryptor) {}

    // needsData: a frame without Chr(1) fails as a missing field would.
    void route(const QString &code, bool needsData, Handler handler);
    bool handles(const QString &code) const { return m_routes.contains(code); }

    // Enqueues the bytes and handles every whole frame they complete.
    void DataArrival(const QByteArray &bytes);
    // One payload: code, Chr(1), data, Chr(0), anything.
    void HandlePayload(const QString &payload);

    // The data cut at Chr(2); fewer than `count` parts is the missing-field failure.
    static QStringList Parts(const QString &data, int count, Failure &failure);

private:
    struct Route
    {
        bool needsData = false;
        Handler handler;
    };

    Encryption &m_encryptor;
    QHash<QString, Route> m_routes;
};
