// Ann and Bob at one desktop with the real clients and the development server: a message, its reply and
// UDP orders through the machine's relay, then, the relay dead, orders to the port Bob's client took.
#include "e2e/UserClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UserClients;
using namespace DesktopSession;

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

        // Ann's menu, opened where the pointer rests: "Show replies" ticked, then "Send a message".
        QVERIFY(ann.chooseMenuItem(4, {640, 400}));
        QVERIFY(ann.chooseMenuItem(1, {640, 400}));
        const QString composer = waitWindow(u"^New message "_s);
        QVERIFY(!composer.isEmpty());

        // The text, the level by its initial, "May reply", a receipt and its notice, then Bob from the
        // list of users; the points clicked are where the forms' layouts put their controls.
        keys({u"Tab"_s});
        type(u"Lunch at noon"_s);
        keys(QStringList(10, u"Tab"_s));
        type(u"W"_s);
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s, u"Tab"_s, u"space"_s});
        clickIn(composer, {503, 274});
        const QString users = waitWindow(u"^Users$"_s);
        QVERIFY(!users.isEmpty());
        clickIn(users, {52, 50});
        keys({u"Return"_s});
        QVERIFY(waitGone(u"^Users$"_s));
        screenshot(u"composer.png"_s);
        clickIn(composer, {502, 617});
        QVERIFY(waitGone(u"^New message "_s));

        QTRY_VERIFY_WITH_TIMEOUT(
            server.control({u"list"_s}).contains(u"level Warning from korvane-ann to \"korvane-bob\""_s),
            10000);
        QVERIFY(run(u"cat"_s, {server.state}).contains(u"Lunch at noon"_s));
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"bob-banner.png"_s), QColor(255, 255, 0), 20000);

        // Bob's reply button under the strip, clicked again if the strip was still being laid out.
        QString reply;
        for (int attempt = 0; attempt < 5 && reply.isEmpty(); ++attempt) {
            if (const QString banner = bannerWindow(); !banner.isEmpty())
                clickIn(banner, {24, geometryOf(banner).height() - 10});
            reply = waitWindow(u"^Reply to korvane-ann$"_s, 3000);
        }
        QVERIFY(!reply.isEmpty());
        clickIn(reply, {320, 220});
        type(u"See you there"_s);
        screenshot(u"reply.png"_s);
        clickIn(reply, {423, 497});
        QVERIFY(waitGone(u"^Reply to "_s));
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(u"notifications.log"_s).contains(u"Message read by:|Bob Marsh"_s),
                                 30000);
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"ann-banner.png"_s), QColor(0, 0, 255), 20000);

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

        // Now a dropped link waits, and Bob alone listens for orders on this machine.
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
        // The one wait of this test, for something that must not happen.
        QTest::qWait(2000);
        QVERIFY(!server.connected(Bob));
        // Once his client took the port the dead relay left, an order brings him back; a bind tried
        // while the relay's socket was going is tried again.
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
