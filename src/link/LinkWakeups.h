#pragma once

#include "link/RouteWatch.h"

#include <QDateTime>
#include <QNetworkInformation>
#include <QObject>

class ConnectionManager;

// Renews the link at once when the machine wakes from sleep or the network
// comes back, if the link is down or has gone quiet: the timers would wait
// minutes for a link that is most likely gone. Without either event nothing
// here acts.
class LinkWakeups final : public QObject
{
    Q_OBJECT
public:
    // Listens on the system bus and on the network information, where a backend loads.
    explicit LinkWakeups(ConnectionManager &link, QObject *parent = nullptr);

    // The two events, callable as they are so that tests can raise them.
    void Resumed();
    void ReachabilityChanged(QNetworkInformation::Reachability reachability);

    // Down, or silent for longer than the watchdog would let pass.
    bool LinkNeedsRenewal() const;

private Q_SLOTS:
    // The bus signal's argument: true before sleeping, false on waking.
    void onPrepareForSleep(bool sleeping);

private:
    void listenForNetwork();
    void renew(const QString &reason);

    ConnectionManager &m_link;
    // The kernel's routes: heard even where no network information backend reports a return.
    RouteWatch m_routes;
    // Last bytes from the server, or the moment the link came up; on the
    // wall clock so that the time spent asleep counts.
    QDateTime m_lastHeard;
    // Unknown until the backend has looked: its first answer is no return.
    QNetworkInformation::Reachability m_reachability = QNetworkInformation::Reachability::Unknown;
};
