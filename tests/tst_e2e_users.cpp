// Two Unix users on one desktop, each with the real client, and the project's
// development server between them: one user's message reaches the other's
// banner, the receipt reaches the author's notification, and a UDP order
// brings back at once a client that stopped retrying.
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

struct Server
{
    Server(const QString &stateFile, quint16 listenPort) : state(stateFile), port(listenPort) {}
    QString state;
    quint16 port;
    QProcess process;

    ~Server() { stop(); }
    void start()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KORVANE_DEVSERVER),
                      {u"--port"_s, QString::number(port), u"--state"_s, state});
        process.waitForStarted(10000);
    }
    void stop()
    {
        process.kill();
        process.waitForFinished(10000);
    }
    QString control(const QStringList &arguments) const
    {
        return run(QStringLiteral(KORVANE_DEVSERVER), QStringList{u"--state"_s, state} + arguments);
    }
    // Whether the user stands among the connected clients (the list goes on
    // with the stored messages, which may name the user too).
    bool connected(const QString &user) const
    {
        return control({u"list"_s})
            .section(u"stored messages and packages"_s, 0, 0)
            .contains(u"  "_s + user + u" machine"_s);
    }
};

// One user's client in a home of the user's own, with a session bus and a
// notification service of its own that writes what it shows to a file.
struct UserClient
{
    QString user;
    QTemporaryDir home;
    QProcess process;

    UserClient(const QString &name, quint16 port) : user(name)
    {
        const QString root = home.path();
        QDir(root).mkpath(u"config/Korvane"_s);
        QFile ini(root + u"/config/Korvane/KorvaneClient.ini"_s);
        ini.open(QIODevice::WriteOnly);
        ini.write("[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                  "\nSpeed=100\nRefresh Rate=4\n");
        ini.close();
        run(u"chown"_s, {u"-R"_s, user + u':' + user, root});
        run(u"chmod"_s, {u"-R"_s, u"go-rwx"_s, root});
        run(u"chmod"_s, {u"go+x"_s, root});
    }
    ~UserClient() { stop(); }
    void start()
    {
        const QString root = home.path();
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(u"runuser"_s,
                      {u"-u"_s, user, u"--"_s, u"env"_s, u"HOME="_s + root,
                       u"DISPLAY="_s + qEnvironmentVariable("DISPLAY"),
                       u"XDG_CONFIG_HOME="_s + root + u"/config"_s, u"XDG_DATA_HOME="_s + root + u"/data"_s,
                       u"XDG_RUNTIME_DIR="_s + root + u"/runtime"_s, u"QT_QPA_PLATFORM=xcb"_s,
                       QStringLiteral(KORVANE_USER_CLIENT), root + u"/notifications.log"_s,
                       QStringLiteral(KORVANE_FAKE_NOTIFYD), QStringLiteral(KORVANE_CLIENT_BINARY)});
        process.waitForStarted(10000);
    }
    void stop()
    {
        // Everything the user runs here: the client, its bus and its notification service.
        run(u"pkill"_s, {u"-KILL"_s, u"-u"_s, user});
        process.waitForFinished(10000);
    }
    QString file(const QString &relative) const { return run(u"cat"_s, {home.filePath(relative)}); }
};

void ensureUser(const QString &user, const QString &fullName)
{
    int status = 0;
    run(u"id"_s, {user}, &status);
    if (status != 0)
        run(u"useradd"_s, {u"-M"_s, u"-s"_s, u"/bin/sh"_s, u"-c"_s, fullName, user});
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
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
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        Server server(work.filePath(u"devserver.json"_s), probe.serverPort());
        probe.close();
        // Clients reconnect at once when the link drops.
        writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\"}");
        server.start();
        UserClient ann(Ann, server.port), bob(Bob, server.port);
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
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(u"notifications.log"_s).contains(u"Message read by:|Bob Marsh"_s),
                                 30000);

        // From now on a dropped link waits: the policy says not to retry. Ann
        // leaves, so that Bob alone listens for orders on this machine.
        ann.stop();
        server.stop();
        QJsonObject root = QJsonDocument::fromJson(run(u"cat"_s, {server.state}).toUtf8()).object();
        root.insert(u"globalPolicies"_s, u"RCON=-1;"_s);
        writeFile(server.state, QJsonDocument(root).toJson());
        server.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Bob), 30000);
        server.stop();
        server.start();
        // Bob does not come back by himself (the one wait of this test: for
        // something that must not happen)...
        QTest::qWait(2000);
        QVERIFY(!server.connected(Bob));
        // ...until the server orders him to, once he listens for orders.
        QTRY_VERIFY_WITH_TIMEOUT(
            bob.file(u"data/Korvane/client.log"_s).contains(u"Binding UDP winsock to port"_s), 20000);
        const QString order = server.control({u"udp"_s, u"--to"_s, Bob, u"CON"_s});
        QTRY_VERIFY2_WITH_TIMEOUT(server.connected(Bob),
                                  qPrintable(order + bob.file(u"data/Korvane/client.log"_s)), 15000);
    }
};

QTEST_GUILESS_MAIN(TestE2EUsers)
#include "tst_e2e_users.moc"
