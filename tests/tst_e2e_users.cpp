// Two Unix users on one desktop, each with the real client, and the project's
// development server between them: one user's message reaches the other's
// banner, the receipt reaches the author's notification, and a UDP order
// brings back at once a client that stopped retrying.
#include "e2e/UserClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Ann = u"korvane-ann"_s;
const QString Bob = u"korvane-bob"_s;

using namespace UserClients;

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
        Server server(work.filePath(u"devserver.json"_s), freePort());
        // Clients reconnect at once when the link drops.
        QVERIFY(writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\"}"));
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
        QVERIFY(writeFile(server.state, QJsonDocument(root).toJson()));
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
