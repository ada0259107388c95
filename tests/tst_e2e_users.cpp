// Two Unix users on one desktop, each with the real client, and the project's
// development server between them: one user's message reaches the other's
// banner, the receipt reaches the author's notification, a restarted server
// gets its clients back under the policies' rules, and a UDP order brings back
// a client that stopped retrying.
#include "e2e/DesktopSession.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace {

const QString Ann = QStringLiteral("korvane-ann");
const QString Bob = QStringLiteral("korvane-bob");

using DesktopSession::run;

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

class Server
{
public:
    Server(const QString &state, quint16 port) : m_state(state), m_port(port) {}
    ~Server() { stop(); }

    void start()
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(KORVANE_DEVSERVER), {QStringLiteral("--port"), QString::number(m_port),
                                                            QStringLiteral("--state"), m_state});
        m_process.waitForStarted(10000);
    }
    void stop()
    {
        if (m_process.state() == QProcess::Running) {
            m_process.kill();
            m_process.waitForFinished(10000);
        }
    }
    QString control(const QStringList &arguments) const
    {
        return run(QStringLiteral(KORVANE_DEVSERVER),
                   QStringList{QStringLiteral("--state"), m_state} + arguments);
    }
    // Whether the user stands among the connected clients (the list goes on
    // with the stored messages, which may name the user too).
    bool connected(const QString &user) const
    {
        const QString clients =
            control({QStringLiteral("list")}).section(QStringLiteral("stored messages and packages"), 0, 0);
        return clients.contains(QStringLiteral("  ") + user + QStringLiteral(" machine"));
    }

private:
    QString m_state;
    quint16 m_port;
    QProcess m_process;
};

class UserClient
{
public:
    UserClient(const QString &user, quint16 port) : m_user(user)
    {
        m_home.setAutoRemove(true);
        const QString root = m_home.path();
        QDir(root).mkpath(QStringLiteral("config/Korvane"));
        QDir(root).mkpath(QStringLiteral("data"));
        QDir(root).mkpath(QStringLiteral("runtime"));
        QFile ini(root + QStringLiteral("/config/Korvane/KorvaneClient.ini"));
        ini.open(QIODevice::WriteOnly);
        ini.write("[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                  "\nSpeed=100\nRefresh Rate=4\n");
        ini.close();
        run(QStringLiteral("chown"), {QStringLiteral("-R"), user + QLatin1Char(':') + user, root});
        run(QStringLiteral("chmod"), {QStringLiteral("-R"), QStringLiteral("go-rwx"), root});
        run(QStringLiteral("chmod"), {QStringLiteral("go+x"), root});
        m_notifications = root + QStringLiteral("/notifications.log");
    }
    ~UserClient() { stop(); }

    void start()
    {
        const QString root = m_home.path();
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(
            QStringLiteral("runuser"),
            {QStringLiteral("-u"), m_user, QStringLiteral("--"), QStringLiteral("env"),
             QStringLiteral("HOME=") + root, QStringLiteral("DISPLAY=") + qEnvironmentVariable("DISPLAY"),
             QStringLiteral("XDG_CONFIG_HOME=") + root + QStringLiteral("/config"),
             QStringLiteral("XDG_DATA_HOME=") + root + QStringLiteral("/data"),
             QStringLiteral("XDG_RUNTIME_DIR=") + root + QStringLiteral("/runtime"),
             QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral(KORVANE_USER_CLIENT), m_notifications,
             QStringLiteral(KORVANE_FAKE_NOTIFYD), QStringLiteral(KORVANE_CLIENT_BINARY)});
        m_process.waitForStarted(10000);
    }
    void stop()
    {
        // Everything the user runs here: the client, its bus and its notification service.
        run(QStringLiteral("pkill"), {QStringLiteral("-KILL"), QStringLiteral("-u"), m_user});
        m_process.waitForFinished(10000);
    }
    QString log() const
    {
        QFile file(m_home.path() + QStringLiteral("/data/Korvane/client.log"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    QString notifications() const
    {
        QFile file(m_notifications);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QString m_user;
    QTemporaryDir m_home;
    QString m_notifications;
    QProcess m_process;
};

void ensureUser(const QString &user, const QString &fullName)
{
    int status = 0;
    run(QStringLiteral("id"), {user}, &status);
    if (status != 0)
        run(QStringLiteral("useradd"), {QStringLiteral("-M"), QStringLiteral("-s"), QStringLiteral("/bin/sh"),
                                        QStringLiteral("-c"), fullName, user});
}

} // namespace

class TestE2EUsers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoUsersThroughTheDevelopmentServer()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        if (geteuid() != 0)
            QSKIP("needs root to create the two users of this test");
        ensureUser(Ann, QStringLiteral("Ann Lee"));
        ensureUser(Bob, QStringLiteral("Bob Marsh"));

        QTemporaryDir work;
        const QString state = work.filePath(QStringLiteral("devserver.json"));
        // Clients reconnect at once when the link drops.
        QFile seed(state);
        QVERIFY(seed.open(QIODevice::WriteOnly));
        seed.write("{\"globalPolicies\": \"RCON=0;\"}");
        seed.close();
        const quint16 port = freePort();
        Server server(state, port);
        server.start();
        UserClient ann(Ann, port);
        UserClient bob(Bob, port);
        ann.start();
        bob.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // Ann's message reaches Bob's banner.
        server.control({QStringLiteral("send"), QStringLiteral("--to"), Bob, QStringLiteral("--from"), Ann,
                        QStringLiteral("--level"), QStringLiteral("Alert"), QStringLiteral("Lunch at noon")});
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = DesktopSession::bannerWindow()).isEmpty(), 20000);
        const QRect banner = DesktopSession::geometryOf(window);
        QVERIFY(banner.width() > 0);
        DesktopSession::screenshot(QStringLiteral("two-users.png"));

        // Bob acknowledges once the text has passed; Ann's desktop says who read it.
        QTRY_VERIFY_WITH_TIMEOUT(
            (DesktopSession::clickAcknowledge(banner), DesktopSession::bannerWindow().isEmpty()), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(ann.notifications().contains(QStringLiteral("Message read by:|Bob Marsh")),
                                 30000);
        QVERIFY2(!ann.notifications().isEmpty(), qPrintable(ann.notifications()));

        // The server goes down and comes back: both clients are back at once.
        server.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!server.connected(Ann), 10000);
        server.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // From now on a dropped link waits: the policy says not to retry. Ann
        // leaves, so that Bob alone listens for orders on this machine.
        ann.stop();
        QFile policies(state);
        server.stop();
        QVERIFY(policies.open(QIODevice::ReadOnly));
        QJsonObject root = QJsonDocument::fromJson(policies.readAll()).object();
        policies.close();
        root.insert(QStringLiteral("globalPolicies"), QStringLiteral("RCON=-1;"));
        QVERIFY(policies.open(QIODevice::WriteOnly | QIODevice::Truncate));
        policies.write(QJsonDocument(root).toJson());
        policies.close();
        server.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Bob), 30000);
        server.stop();
        server.start();
        // Bob does not come back by himself (the one wait of this test: for
        // something that must not happen)...
        QTest::qWait(2000);
        QVERIFY(!server.connected(Bob));
        // ...until the server orders him to: on the next tick of his reconnection timer.
        // Orders are heard once the client has bound its UDP port, a few seconds after its start.
        QTRY_VERIFY_WITH_TIMEOUT(bob.log().contains(QStringLiteral("Binding UDP winsock to port")), 20000);
        const QString order =
            server.control({QStringLiteral("udp"), QStringLiteral("--to"), Bob, QStringLiteral("REC")});
        QTRY_VERIFY2_WITH_TIMEOUT(bob.log().contains(QStringLiteral("Server sent a RECONNECT command")),
                                  qPrintable(bob.log()), 10000);
        QTRY_VERIFY2_WITH_TIMEOUT(server.connected(Bob), qPrintable(order + bob.log()), 75000);
    }
};

QTEST_GUILESS_MAIN(TestE2EUsers)
#include "tst_e2e_users.moc"
