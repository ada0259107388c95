// Waking from sleep or a returning network renews a dead or quiet link at once; keepalive notices a
// server that vanished without a word.
#include "link/LinkWakeups.h"
#include "link/Policies.h"
#include "support/FakeClock.h"
#include "support/FakeServer.h"
#include "support/LogText.h"

#include <QDBusConnectionInterface>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Moves the calling thread into a named network namespace, or back home with no name.
bool joinNamespace(const QString &name)
{
    static const int home = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
    const int target =
        name.isEmpty() ? dup(home) : open(qPrintable(u"/run/netns/"_s + name), O_RDONLY | O_CLOEXEC);
    const bool joined = target >= 0 && setns(target, CLONE_NEWNET) == 0;
    close(target);
    return joined;
}

int option(qintptr fd, int level, int name)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(int(fd), level, name, &value, &size);
    return value;
}

} // namespace

class TestWakeups : public QObject
{
    Q_OBJECT
    QProcess m_bus;
    static int renewals() { return logText().count(u"CONNECTION - Reconnecting at once: "_s); }
    QString m_ip = QStandardPaths::findExecutable(u"ip"_s, {u"/usr/sbin"_s, u"/sbin"_s, u"/usr/bin"_s});
    QString m_tag = QString::number(QCoreApplication::applicationPid());
    int m_sleeps = 0;

    // %1 names the client's namespace, %2 the server's, %3 this run.
    bool ip(QString args)
    {
        args.replace(u"%1"_s, u"kvwake-c%3"_s).replace(u"%2"_s, u"kvwake-s%3"_s).replace(u"%3"_s, m_tag);
        return QProcess::execute(m_ip, args.split(u' ')) == 0;
    }

public Q_SLOTS:
    // The test hears the signals too, to know when one has come.
    void prepareForSleep(bool) { ++m_sleeps; }

private Q_SLOTS:
    // A bus of our own stands for the system bus before anything opens it.
    void initTestCase()
    {
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        if (m_bus.waitForReadyRead())
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.readLine().trimmed());
    }

    void cleanupTestCase()
    {
        m_bus.terminate();
        m_bus.waitForFinished();
        ip(u"netns del %1"_s);
        ip(u"netns del %2"_s);
    }

    void wakeUpRenewsADownOrQuietLinkOnly()
    {
        if (qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS"))
            QSKIP("dbus-daemon could not start a private bus");
        FakeClock clock(FakeClock::at(2024, 5, 1, 9));
        EngineOnFakeServer f(10000);
        gPolicies().Reconnect = 1;
        QTRY_VERIFY(f.server.hasClient());
        // The closed link waits for its reconnection timer, which never ticks here.
        f.server.closeClient();
        QTRY_VERIFY(f.link().tmrReconnect.isEnabled());
        QVERIFY(QDBusConnection::systemBus().connect(
            {}, u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, this,
            SLOT(prepareForSleep(bool))));
        // A round trip on the bus: what came in before it has been handed out.
        const auto roundTrip = [] {
            QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered(u"org.freedesktop.DBus"_s));
            QCoreApplication::processEvents();
        };
        roundTrip();
        const auto send = [](const QString &sleeping) {
            return QProcess::execute(u"dbus-send"_s,
                                     {u"--system"_s, u"--type=signal"_s, u"/org/freedesktop/login1"_s,
                                      u"org.freedesktop.login1.Manager.PrepareForSleep"_s, sleeping});
        };
        QCOMPARE(send(u"boolean:true"_s), 0);
        QTRY_COMPARE(m_sleeps, 1);
        roundTrip();
        QCOMPARE(renewals(), 0);
        QCOMPARE(send(u"boolean:false"_s), 0);
        QTRY_VERIFY(f.server.connections() == 2 && f.connected());
        QCOMPARE(renewals(), 1);

        // A live link is left alone until its silence outlasts what the watchdog allows.
        auto *wakeups = f.link().findChild<LinkWakeups *>();
        QVERIFY(wakeups);
        gOptions().WatchdogFrequency = 10;
        gOptions().WatchdogDelay = 45;
        const auto networkBack = [wakeups](QNetworkInformation::Reachability before) {
            wakeups->ReachabilityChanged(before);
            wakeups->ReachabilityChanged(QNetworkInformation::Reachability::Online);
        };
        clock.advanceSeconds(11 * 60 + 45);
        networkBack(QNetworkInformation::Reachability::Disconnected);
        QCOMPARE(renewals(), 1);
        clock.advanceSeconds(1);
        // The backend's first look is no return of the network.
        networkBack(QNetworkInformation::Reachability::Unknown);
        QCOMPARE(renewals(), 1);
        networkBack(QNetworkInformation::Reachability::Disconnected);
        QTRY_COMPARE(f.server.connections(), 3);
        QCOMPARE(renewals(), 2);
    }

    void keepAliveNoticesAServerThatFellSilent()
    {
        if (geteuid() != 0 || m_ip.isEmpty())
            QSKIP("needs root and the ip tool to build network namespaces");
        if (!ip(u"netns add %1"_s) || !ip(u"netns add %2"_s) ||
            !ip(u"-n %1 link add kvwc%3 type veth peer name kvws%3 netns %2"_s))
            QSKIP("network namespaces cannot be made here");
        for (const QString &step :
             {u"-n %1 addr add 10.213.77.1/30 dev kvwc%3"_s, u"-n %1 link set kvwc%3 up"_s,
              u"-n %2 addr add 10.213.77.2/30 dev kvws%3"_s, u"-n %2 link set kvws%3 up"_s})
            QVERIFY(ip(step));

        // A server in its namespace that accepts and lets the kernel answer, but never speaks.
        QVERIFY(joinNamespace(u"kvwake-s"_s + m_tag));
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress(u"10.213.77.2"_s)));
        QVERIFY(joinNamespace({}));

        EngineOnFakeServer f(10000, -1);
        gPolicies().Reconnect = 1;
        // Idle, interval and count all differ, so that no two can be swapped unseen.
        f.link().keepAlive = {3, 1, 2};
        // The socket is made in the namespace its thread is in when it connects.
        QVERIFY(joinNamespace(u"kvwake-c"_s + m_tag));
        f.link().ReconnectToServer(u"10.213.77.2"_s, server.serverPort());
        QTRY_VERIFY(f.connected());
        QVERIFY(joinNamespace({}));
        const qintptr fd = f.link().wsClient.socketDescriptor();
        QCOMPARE((QList<int>{option(fd, SOL_SOCKET, SO_KEEPALIVE), option(fd, IPPROTO_TCP, TCP_KEEPIDLE),
                             option(fd, IPPROTO_TCP, TCP_KEEPINTVL), option(fd, IPPROTO_TCP, TCP_KEEPCNT)}),
                 (QList<int>{1, 3, 1, 2}));

        // From now on every answer of the server is dropped: only the probes can tell.
        QVERIFY(ip(u"-n %2 route add blackhole 10.213.77.1/32"_s));
        QTRY_VERIFY_WITH_TIMEOUT(f.link().tmrReconnect.isEnabled(), 60000);
        QVERIFY(!f.connected());
    }
};

QTEST_MAIN(TestWakeups)
#include "tst_wakeups.moc"
