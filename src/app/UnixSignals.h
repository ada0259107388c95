#pragma once

#include <QObject>

class QSocketNotifier;

// Brings SIGTERM, SIGINT and SIGHUP into the event loop through a socket pair,
// so that the close runs as an ordinary event.
class UnixSignals final : public QObject
{
    Q_OBJECT
public:
    explicit UnixSignals(QObject *parent = nullptr);
    ~UnixSignals() override;

Q_SIGNALS:
    void received(int signalNumber);

private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
};
