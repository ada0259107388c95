#pragma once

#include <QByteArray>
#include <QObject>

class QSocketNotifier;

// The kernel's own word that the network is back: a default route added to the
// main table, read from a routing netlink socket. It works wherever the kernel
// does, with or without a desktop's network service; only the kernel is heard.
class RouteWatch final : public QObject
{
    Q_OBJECT
public:
    explicit RouteWatch(QObject *parent = nullptr);
    ~RouteWatch() override;

    bool isListening() const { return m_fd >= 0; }
    // Reads what the kernel has queued; true when it added a default route, or when
    // events were lost and one may have been among them.
    bool ReadPending();
    // Whether these netlink messages add a default route to the main table.
    static bool AddsDefaultRoute(const QByteArray &messages);

Q_SIGNALS:
    void defaultRouteAdded();

private:
    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
};
