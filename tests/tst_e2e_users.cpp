// Two users at the keyboard and mouse of one desktop, each with the real
// client, and the project's development server between them. Ann writes to Bob
// with the composer she opens from her menu, picks him in the list of users
// and chooses a level; Bob's banner shows it in that level's colours; Bob
// replies from his banner, Ann's desktop says he read it and the reply scrolls
// on her banner. One UDP order to the machine reaches both clients, the second
// through the first, which holds the port. Then Ann leaves, Bob's client takes
// the port over, and an order brings it back at once after it stopped retrying.
#include "e2e/UserClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UserClients;
using DesktopSession::keys;
using DesktopSession::visibleWindow;

namespace {

const QString ClientLog = u"data/Korvane/client.log"_s;

// The colour of the strip's top left corner once a banner stands on the screen.
QColor bannerColour(const QString &artifact)
{
    const QString window = DesktopSession::bannerWindow();
    if (window.isEmpty())
        return {};
    return DesktopSession::screenshot(artifact).pixelColor(DesktopSession::geometryOf(window).topLeft() +
                                                           QPoint(3, 3));
}

} // namespace

class TestE2EUsers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString why = whyNoDesktop();
        if (!why.isEmpty())
            QSKIP(qPrintable(why));
    }

    void twoUsersThroughTheDevelopmentServer()
    {

        QTemporaryDir work;
        Server server(work.filePath(u"devserver.json"_s), freePort());
        // Clients reconnect at once when the link drops.
        QVERIFY(writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\"}"));
        server.start();
        UserClient ann(Ann, server.port), bob(Bob, server.port);
        ann.start();
        // Ann's client binds the order port first; Bob's takes its orders through hers.
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(ClientLog).contains(u"Binding UDP winsock to port"_s), 30000);
        bob.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // Ann's menu, opened by a second start where the pointer rests: "Show replies" is
        // ticked, then "Send a message" opens the composer.
        QVERIFY(ann.chooseMenuItem(4, {640, 400}));
        QVERIFY(ann.chooseMenuItem(1, {640, 400}));
        QString composer;
        QTRY_VERIFY_WITH_TIMEOUT(!(composer = visibleWindow(u"^New message "_s)).isEmpty(), 15000);

        // The text, the level by its initial, "May reply", a receipt and its notice, then Bob from
        // the list of users. The points clicked are where the forms' layouts put their controls.
        keys({u"Tab"_s});
        DesktopSession::type(u"Lunch at noon"_s);
        keys(QStringList(10, u"Tab"_s));
        DesktopSession::type(u"W"_s);
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s});
        DesktopSession::clickIn(composer, {503, 274});
        QString users;
        QTRY_VERIFY_WITH_TIMEOUT(!(users = visibleWindow(u"^Users$"_s)).isEmpty(), 15000);
        DesktopSession::clickIn(users, {52, 50});
        keys({u"Return"_s});
        QTRY_VERIFY(visibleWindow(u"^Users$"_s).isEmpty());
        DesktopSession::screenshot(u"composer.png"_s);
        DesktopSession::clickIn(composer, {502, 617});
        QTRY_VERIFY_WITH_TIMEOUT(visibleWindow(u"^New message "_s).isEmpty(), 10000);

        // The server has it as written, and Bob's banner shows it in the yellow of Warning.
        QTRY_VERIFY_WITH_TIMEOUT(
            server.control({u"list"_s}).contains(u"level Warning from korvane-ann to \"korvane-bob\""_s),
            10000);
        QVERIFY(DesktopSession::run(u"cat"_s, {server.state}).contains(u"Lunch at noon"_s));
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"bob-banner.png"_s), QColor(255, 255, 0), 20000);

        // Bob's reply button under the strip; his answer reaches Ann's banner in the reply's blue.
        // A click that lands while the strip is still being laid out is tried again.
        QString reply;
        for (int attempt = 0; attempt < 5 && reply.isEmpty(); ++attempt) {
            const QString banner = DesktopSession::bannerWindow();
            if (!banner.isEmpty())
                DesktopSession::clickIn(banner, {24, DesktopSession::geometryOf(banner).height() - 10});
            (void)QTest::qWaitFor(
                [&] { return !(reply = visibleWindow(u"^Reply to korvane-ann$"_s)).isEmpty(); }, 3000);
        }
        QVERIFY(!reply.isEmpty());
        DesktopSession::clickIn(reply, {320, 220});
        DesktopSession::type(u"See you there"_s);
        DesktopSession::screenshot(u"reply.png"_s);
        DesktopSession::clickIn(reply, {423, 497});
        QTRY_VERIFY_WITH_TIMEOUT(visibleWindow(u"^Reply to "_s).isEmpty(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(u"notifications.log"_s).contains(u"Message read by:|Bob Marsh"_s),
                                 30000);
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"ann-banner.png"_s), QColor(0, 0, 255), 20000);

        // One datagram to the machine: both clients drop their links, and one more brings both back.
        QTRY_VERIFY_WITH_TIMEOUT(bob.file(ClientLog).contains(u"come through the client that holds it"_s),
                                 20000);
        QVERIFY(
            server.control({u"udp"_s, u"--to"_s, u"all"_s, u"REC"_s}).contains(u"REC sent to 1 client(s)"_s));
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(ClientLog).contains(u"Server sent a RECONNECT command"_s) &&
                                     bob.file(ClientLog).contains(u"Server sent a RECONNECT command"_s),
                                 15000);
        QVERIFY(
            server.control({u"udp"_s, u"--to"_s, u"all"_s, u"CON"_s}).contains(u"CON sent to 1 client(s)"_s));
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(ClientLog).contains(u"Server sent a CONNECT command"_s) &&
                                     bob.file(ClientLog).contains(u"Server sent a CONNECT command"_s),
                                 15000);
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

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
        // ...until the server orders him to, once his client has taken the port over
        // from Ann's. A bind tried while her sockets were going is tried again.
        QTRY_VERIFY_WITH_TIMEOUT(bob.file(ClientLog).contains(u"Binding UDP winsock to port"_s), 20000);
        QString order;
        for (int attempt = 0; attempt < 4 && !server.connected(Bob); ++attempt) {
            order = server.control({u"udp"_s, u"--to"_s, Bob, u"CON"_s});
            (void)QTest::qWaitFor([&] { return server.connected(Bob); }, 8000);
        }
        QVERIFY2(server.connected(Bob), qPrintable(order + bob.file(ClientLog)));
    }
};

QTEST_GUILESS_MAIN(TestE2EUsers)
#include "tst_e2e_users.moc"
