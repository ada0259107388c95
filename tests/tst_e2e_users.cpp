// Two Unix users on one desktop, each with the real client, and the project's
// development server between them: one user's message reaches the other's
// banner, the receipt reaches the author's notification, a restarted server
// gets its clients back under the policies' rules, and a UDP order brings back
// at once a client that stopped retrying.
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

using namespace Qt::StringLiterals;

namespace {

const QString Ann = u"korvane-ann"_s;
const QString Bob = u"korvane-bob"_s;

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
        m_process.start(QStringLiteral(KORVANE_DEVSERVER),
                        {u"--port"_s, QString::number(m_port), u"--state"_s, m_state});
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
        return run(QStringLiteral(KORVANE_DEVSERVER), QStringList{u"--state"_s, m_state} + arguments);
    }
    // Whether the user stands among the connected clients (the list goes on
    // with the stored messages, which may name the user too).
    bool connected(const QString &user) const
    {
        const QString clients = control({u"list"_s}).section(u"stored messages and packages"_s, 0, 0);
        return clients.contains(u"  "_s + user + u" machine"_s);
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
        QDir(root).mkpath(u"config/Korvane"_s);
        QDir(root).mkpath(u"data"_s);
        QDir(root).mkpath(u"runtime"_s);
        QFile ini(root + u"/config/Korvane/KorvaneClient.ini"_s);
        ini.open(QIODevice::WriteOnly);
        ini.write("[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                  "\nSpeed=100\nRefresh Rate=4\n");
        ini.close();
        run(u"chown"_s, {u"-R"_s, user + u':' + user, root});
        run(u"chmod"_s, {u"-R"_s, u"go-rwx"_s, root});
        run(u"chmod"_s, {u"go+x"_s, root});
        m_notifications = root + u"/notifications.log"_s;
    }
    ~UserClient() { stop(); }

    void start()
    {
        const QString root = m_home.path();
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(u"runuser"_s,
                        {u"-u"_s, m_user, u"--"_s, u"env"_s, u"HOME="_s + root,
                         u"DISPLAY="_s + qEnvironmentVariable("DISPLAY"),
                         u"XDG_CONFIG_HOME="_s + root + u"/config"_s, u"XDG_DATA_HOME="_s + root + u"/data"_s,
                         u"XDG_RUNTIME_DIR="_s + root + u"/runtime"_s, u"QT_QPA_PLATFORM=xcb"_s,
                         QStringLiteral(KORVANE_USER_CLIENT), m_notifications,
                         QStringLiteral(KORVANE_FAKE_NOTIFYD), QStringLiteral(KORVANE_CLIENT_BINARY)});
        m_process.waitForStarted(10000);
    }
    void stop()
    {
        // Everything the user runs here: the client, its bus and its notification service.
        run(u"pkill"_s, {u"-KILL"_s, u"-u"_s, m_user});
        m_process.waitForFinished(10000);
    }
    QString log() const
    {
        QFile file(m_home.path() + u"/data/Korvane/client.log"_s);
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
    run(u"id"_s, {user}, &status);
    if (status != 0)
        run(u"useradd"_s, {u"-M"_s, u"-s"_s, u"/bin/sh"_s, u"-c"_s, fullName, user});
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
        ensureUser(Ann, u"Ann Lee"_s);
        ensureUser(Bob, u"Bob Marsh"_s);

        QTemporaryDir work;
        const QString state = work.filePath(u"devserver.json"_s);
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
        server.control(
            {u"send"_s, u"--to"_s, Bob, u"--from"_s, Ann, u"--level"_s, u"Alert"_s, u"Lunch at noon"_s});
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = DesktopSession::bannerWindow()).isEmpty(), 20000);
        const QRect banner = DesktopSession::geometryOf(window);
        QVERIFY(banner.width() > 0);
        DesktopSession::screenshot(QStringLiteral("two-users.png"));

        // Bob acknowledges once the text has passed; Ann's desktop says who read it.
        QTRY_VERIFY_WITH_TIMEOUT(
            (DesktopSession::clickAcknowledge(banner), DesktopSession::bannerWindow().isEmpty()), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(ann.notifications().contains(u"Message read by:|Bob Marsh"_s), 30000);

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
        root.insert(u"globalPolicies"_s, u"RCON=-1;"_s);
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
        // ...until the server orders him to, once he listens for orders.
        QTRY_VERIFY_WITH_TIMEOUT(bob.log().contains(u"Binding UDP winsock to port"_s), 20000);
        const QString order = server.control({u"udp"_s, u"--to"_s, Bob, u"CON"_s});
        QTRY_VERIFY2_WITH_TIMEOUT(server.connected(Bob), qPrintable(order + bob.log()), 15000);
    }
};

QTEST_GUILESS_MAIN(TestE2EUsers)
#include "tst_e2e_users.moc"
