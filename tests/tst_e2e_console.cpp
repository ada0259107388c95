// The console on a real desktop, opened from the tray menu: Bob, a User, sees
// a message arrive in his open Inbox; Ann, a postmaster, arranges her Outbox
// and finds it so after a restart, as an Administrator now; the side bars of
// the three roles differ by what each may see, and All messages is read from
// the development server.
#include "e2e/UserClients.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace UserClients;
using DesktopSession::keys;
using DesktopSession::visibleWindow;

namespace {

const QString Ann = u"korvane-ann"_s;
const QString Bob = u"korvane-bob"_s;
// Where the console stands: its place is kept in twips, 15 to a pixel.
const QRect Place(100, 200, 1000, 540);
// The side bar's rows: 14 pixels apart, the first 18 below the top of the window.
const int SideBarX = 60;

QByteArray placeSetup()
{
    return "[Setup]\nAdminLeft=" + QByteArray::number(Place.left() * 15) +
           "\nAdminTop=" + QByteArray::number(Place.top() * 15) +
           "\nAdminWidth=" + QByteArray::number(Place.width() * 15) +
           "\nAdminHeight=" + QByteArray::number(Place.height() * 15) + "\n";
}

// The console's window, on screen.
QImage consoleShot(const QString &artifact)
{
    const QString window = visibleWindow(u" Administration$"_s);
    if (window.isEmpty())
        return {};
    const QImage shot = DesktopSession::screenshot(artifact).copy(DesktopSession::geometryOf(window));
    return shot;
}

// How far down the side bar's texts reach: a role that sees more items reaches lower.
int sideBarReach(const QImage &console)
{
    // Black words on the white of the bar, once the window is painted (a window just mapped is black).
    if (console.isNull() || console.pixelColor(150, console.height() / 2).lightness() < 200)
        return -1;
    int reach = -1;
    for (int y = 0; y < console.height() / 2; ++y)
        for (int x = 15; x < 150; ++x)
            if (console.pixelColor(x, y).lightness() < 80)
                reach = y;
    return reach;
}

bool hasColour(const QImage &image, const QColor &colour)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == colour)
                return true;
    return false;
}

} // namespace

class TestE2EConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void consoleOfEachRole()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        if (geteuid() != 0)
            QSKIP("needs root to create the two users of this test");
        ensureUser(Ann, u"Ann Lee"_s);
        ensureUser(Bob, u"Bob Marsh"_s);

        QTemporaryDir work;
        Server server(work.filePath(u"devserver.json"_s), freePort());
        // Everyone may open the console; Ann is a postmaster.
        QVERIFY(writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\", \"users\": {"
                                        "\"korvane-ann\": {\"name\": \"Ann Lee\", \"role\": 1},"
                                        "\"korvane-bob\": {\"name\": \"Bob Marsh\", \"role\": 0}}}"));
        server.start();
        UserClient ann(Ann, server.port), bob(Bob, server.port);
        for (UserClient *client : {&ann, &bob}) {
            QVERIFY(writeFile(client->home.filePath(u"config/Korvane/Client.conf"_s), placeSetup()));
            run(u"chown"_s, {client->user, client->home.filePath(u"config/Korvane/Client.conf"_s)});
            client->start();
        }
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // "Administration", second in the menu, opened by a second start where the pointer rests.
        const auto openConsole = [](UserClient &client) {
            QVERIFY(client.chooseMenuItem(2, {640, 100}));
            QTRY_VERIFY_WITH_TIMEOUT(!visibleWindow(u" Administration$"_s).isEmpty(), 15000);
            // The pointer away from the window, so that nothing shows hovered.
            DesktopSession::run(u"xdotool"_s, {u"mousemove"_s, u"1270"_s, u"10"_s});
        };
        const auto closeConsole = [] {
            const QString window = visibleWindow(u" Administration$"_s);
            DesktopSession::clickIn(window, {Place.width() / 2, 10});
            keys({u"alt+F4"_s});
            QTRY_VERIFY_WITH_TIMEOUT(visibleWindow(u" Administration$"_s).isEmpty(), 10000);
        };
        const auto sideBarItem = [](int row) {
            DesktopSession::clickIn(visibleWindow(u" Administration$"_s), {SideBarX, 18 + row * 14});
        };

        // Bob's console, on his Inbox; a message that arrives shows in the open grid in its level's colours.
        openConsole(bob);
        QImage user;
        QVERIFY(QTest::qWaitFor(
            [&user] { return sideBarReach(user = consoleShot(u"console-user.png"_s)) > 0; }, 10000));
        sideBarItem(1);
        server.control({u"send"_s, u"--to"_s, Bob, u"--level"_s, u"Warning"_s, u"Inbox check"_s});
        // Waited for by the clock: a screenshot takes a while.
        QVERIFY(QTest::qWaitFor(
            [] { return hasColour(consoleShot(u"console-inbox.png"_s), QColor(255, 255, 0)); }, 20000));
        closeConsole();

        // Ann's console as a postmaster: All messages more than Bob's side bar.
        openConsole(ann);
        QImage postmaster;
        QVERIFY(QTest::qWaitFor(
            [&postmaster] { return sideBarReach(postmaster = consoleShot(u"console-postmaster.png"_s)) > 0; },
            10000));
        QVERIFY2(sideBarReach(postmaster) > sideBarReach(user),
                 qPrintable(u"%1 %2"_s.arg(sideBarReach(postmaster)).arg(sideBarReach(user))));

        // Her Outbox in the simple layout, chosen from the header's menu, is kept when the console closes.
        const QRect header(260, 40, 720, 18);
        DesktopSession::clickIn(visibleWindow(u" Administration$"_s), {400, 70}, 3);
        QTRY_VERIFY_WITH_TIMEOUT(DesktopSession::titleUnderPointer().endsWith(u"\"korvane-client\""_s),
                                 10000);
        keys({u"Down"_s, u"Return"_s});
        DesktopSession::run(u"xdotool"_s, {u"mousemove"_s, u"1270"_s, u"10"_s});
        QImage simple;
        QVERIFY(QTest::qWaitFor(
            [&] {
                return (simple = consoleShot(u"console-simple.png"_s).copy(header)) !=
                       postmaster.copy(header);
            },
            10000));
        closeConsole();
        QVERIFY(ann.file(u"config/Korvane/Client.conf"_s).contains(u"OutboxLayout=1"_s));

        // Ann, an Administrator after a restart, finds her Outbox as she left it, and one item more.
        ann.stop();
        server.stop();
        QJsonObject root = QJsonDocument::fromJson(run(u"cat"_s, {server.state}).toUtf8()).object();
        QJsonObject users = root.value(u"users"_s).toObject();
        QJsonObject annEntry = users.value(Ann).toObject();
        annEntry.insert(u"role"_s, 3);
        users.insert(Ann, annEntry);
        root.insert(u"users"_s, users);
        QVERIFY(writeFile(server.state, QJsonDocument(root).toJson()));
        server.start();
        ann.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann), 30000);
        openConsole(ann);
        QImage administrator;
        QVERIFY(QTest::qWaitFor(
            [&] { return sideBarReach(administrator = consoleShot(u"console-administrator.png"_s)) > 0; },
            10000));
        QVERIFY(sideBarReach(administrator) > sideBarReach(postmaster));
        QCOMPARE(administrator.copy(header), simple);

        // All messages, read from the server, holds Bob's Warning; her Outbox did not.
        QVERIFY(!hasColour(administrator, QColor(255, 255, 0)));
        sideBarItem(4);
        QVERIFY(QTest::qWaitFor(
            [] { return hasColour(consoleShot(u"console-all.png"_s), QColor(255, 255, 0)); }, 20000));
    }
};

QTEST_GUILESS_MAIN(TestE2EConsole)
#include "tst_e2e_console.moc"
