// Two users at the keyboard and mouse of one desktop, each with the real
// client, and the project's development server between them. Ann writes to Bob
// with the composer she opens from her menu, picks him in the list of users
// and chooses a level; Bob's banner shows it in that level's colours; Bob
// replies from his banner, Ann's desktop says he read it and the reply scrolls
// on her banner. One UDP order to the machine reaches both clients through the
// machine's order relay. Then the relay dies and Ann leaves, Bob's client takes
// the port itself, and an order brings it back at once after it stopped retrying.
#include "e2e/UserClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UserClients;
using DesktopSession::bannerColour;
using DesktopSession::keys;
using DesktopSession::waitGone;
using DesktopSession::waitWindow;

class TestE2EUsers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { skipWithoutDesktop(); }

    void twoUsersThroughTheDevelopmentServer()
    {
        Desk desk;
        QVERIFY(desk.start(0, true));
        Server &server = desk.server;
        UserClient &ann = desk.ann, &bob = desk.bob;

        // Ann's menu, opened by a second start where the pointer rests: "Show replies" is
        // ticked, then "Send a message" opens the composer.
        QVERIFY(ann.chooseMenuItem(4, {640, 400}));
        QVERIFY(ann.chooseMenuItem(1, {640, 400}));
        const QString composer = waitWindow(u"^New message "_s);
        QVERIFY(!composer.isEmpty());

        // The text, the level by its initial, "May reply", a receipt and its notice, then Bob from
        // the list of users. The points clicked are where the forms' layouts put their controls.
        keys({u"Tab"_s});
        DesktopSession::type(u"Lunch at noon"_s);
        keys(QStringList(10, u"Tab"_s));
        DesktopSession::type(u"W"_s);
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s});
        DesktopSession::clickIn(composer, {503, 274});
        const QString users = waitWindow(u"^Users$"_s);
        QVERIFY(!users.isEmpty());
        DesktopSession::clickIn(users, {52, 50});
        keys({u"Return"_s});
        QVERIFY(waitGone(u"^Users$"_s));
        DesktopSession::screenshot(u"composer.png"_s);
        DesktopSession::clickIn(composer, {502, 617});
        QVERIFY(waitGone(u"^New message "_s));

        // The server has it as written, and Bob's banner shows it in the yellow of Warning.
        QTRY_VERIFY_WITH_TIMEOUT(
            server.control({u"list"_s}).contains(u"level Warning from korvane-ann to \"korvane-bob\""_s),
            10000);
        QVERIFY(run(u"cat"_s, {server.state}).contains(u"Lunch at noon"_s));
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"bob-banner.png"_s), QColor(255, 255, 0), 20000);

        // Bob's reply button under the strip; his answer reaches Ann's banner in the reply's blue.
        // A click that lands while the strip is still being laid out is tried again.
        QString reply;
        for (int attempt = 0; attempt < 5 && reply.isEmpty(); ++attempt) {
            if (const QString banner = DesktopSession::bannerWindow(); !banner.isEmpty())
                DesktopSession::clickIn(banner, {24, DesktopSession::geometryOf(banner).height() - 10});
            reply = waitWindow(u"^Reply to korvane-ann$"_s, 3000);
        }
        QVERIFY(!reply.isEmpty());
        DesktopSession::clickIn(reply, {320, 220});
        DesktopSession::type(u"See you there"_s);
        DesktopSession::screenshot(u"reply.png"_s);
        DesktopSession::clickIn(reply, {423, 497});
        QVERIFY(waitGone(u"^Reply to "_s));
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(u"notifications.log"_s).contains(u"Message read by:|Bob Marsh"_s),
                                 30000);
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"ann-banner.png"_s), QColor(0, 0, 255), 20000);

        // One datagram to the machine: both clients drop their links, and one more brings both back.
        for (const UserClient *user : {&ann, &bob})
            QTRY_VERIFY_WITH_TIMEOUT(
                user->file(ClientLog).contains(u"come through the machine's relay service"_s), 20000);
        for (const auto &[order, word] :
             {std::pair(u"REC"_s, u"RECONNECT"_s), std::pair(u"CON"_s, u"CONNECT"_s)}) {
            QVERIFY(server.control({u"udp"_s, u"--to"_s, u"all"_s, order})
                        .contains(order + u" sent to 1 client(s)"_s));
            const QString heard = u"Server sent a %1 command"_s.arg(word);
            QTRY_VERIFY_WITH_TIMEOUT(
                ann.file(ClientLog).contains(heard) && bob.file(ClientLog).contains(heard), 15000);
        }
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // From now on a dropped link waits: the policy says not to retry. The relay dies and Ann
        // leaves, so that Bob alone listens for orders on this machine.
        desk.relay.stop();
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
        // ...until the server orders him to, once his client has taken the port the dead relay
        // left. A bind tried while its socket was going is tried again.
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
