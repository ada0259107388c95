#include "link/LinkWakeups.h"

#include "core/Clock.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "link/ConnectionManager.h"
#include "link/Policies.h"

#include <QDBusConnection>
#include <QNetworkInformation>

#include <utility>

LinkWakeups::LinkWakeups(ConnectionManager &link, QObject *parent) : QObject(parent), m_link(link)
{
    const auto heard = [this] { m_lastHeard = Clock::now(); };
    connect(&m_link.wsClient, &QTcpSocket::connected, this, heard);
    connect(&m_link, &ConnectionManager::bytesArrived, this, heard);

    // Any sender is heard, not only the login manager's name: a false wake-up
    // costs at most one early attempt.
    QDBusConnection::systemBus().connect(QString(), QStringLiteral("/org/freedesktop/login1"),
                                         QStringLiteral("org.freedesktop.login1.Manager"),
                                         QStringLiteral("PrepareForSleep"), this,
                                         SLOT(onPrepareForSleep(bool)));
    listenForNetwork();
    connect(&m_routes, &RouteWatch::defaultRouteAdded, this,
            [this] { renew(QStringLiteral("a default route was added")); });
}

void LinkWakeups::listenForNetwork()
{
    if (!QNetworkInformation::instance() && !QNetworkInformation::loadDefaultBackend() &&
        !QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability)) {
        // Said once per run; sleep wake-ups and the timers still work.
        static bool told = false;
        if (!told)
            WriteLog(QStringLiteral("No network information backend; the network's return is heard from the "
                                    "kernel's routes only"));
        told = true;
        return;
    }
    m_reachability = QNetworkInformation::instance()->reachability();
    connect(QNetworkInformation::instance(), &QNetworkInformation::reachabilityChanged, this,
            &LinkWakeups::ReachabilityChanged);
}

void LinkWakeups::onPrepareForSleep(bool sleeping)
{
    if (!sleeping)
        Resumed();
}

void LinkWakeups::Resumed()
{
    renew(QStringLiteral("resumed from sleep"));
}

void LinkWakeups::ReachabilityChanged(QNetworkInformation::Reachability reachability)
{
    const auto before = std::exchange(m_reachability, reachability);
    if (reachability == QNetworkInformation::Reachability::Online &&
        before != QNetworkInformation::Reachability::Unknown && before != reachability)
        renew(QStringLiteral("network is back"));
}

bool LinkWakeups::LinkNeedsRenewal() const
{
    if (m_link.wsClient.state() != QAbstractSocket::ConnectedState)
        return true;
    if (!m_lastHeard.isValid())
        return false;
    // The watchdog asks after more than WatchdogFrequency minutes of silence and
    // waits WatchdogDelay seconds for the answer.
    const Options &options = gOptions();
    const qint64 allowed =
        (qMax(options.WatchdogFrequency, 0) + 1) * qint64(60) + qMax(options.WatchdogDelay, 0);
    return m_lastHeard.secsTo(Clock::now()) > allowed;
}

void LinkWakeups::renew(const QString &reason)
{
    // A server that forbids retries after an error is obeyed here too.
    if (gPolicies().Reconnect == -1 || !LinkNeedsRenewal())
        return;
    m_link.ReconnectNow(reason);
}
