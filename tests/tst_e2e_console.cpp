// The console on a real desktop, opened from the tray menu: Bob, a User, sees
// a message arrive in his open Inbox; Ann, a postmaster, arranges her Outbox
// and finds it so after a restart, as an Administrator now; the side bars of
// the three roles differ by what each may see, and All messages is read from
// the development server. An administrator's change of a level reaches another
// desktop.
#include "e2e/UserClients.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UserClients;
using DesktopSession::keys;
using DesktopSession::visibleWindow;

namespace {

// Where the console stands: its place is kept in twips, 15 to a pixel.
const QRect Place(100, 200, 1000, 540);
const QString Console = u" Administration$"_s;

// Waits for a window of this title to show, giving its id, or with gone for it to go.
bool waitWindow(const QString &title, QString *window = nullptr, bool gone = false)
{
    QString found;
    const bool came =
        QTest::qWaitFor([&] { return (found = visibleWindow(title)).isEmpty() == gone; }, 15000);
    if (window)
        *window = found;
    return came;
}

// The console's window, on screen.
QImage consoleShot(const QString &artifact)
{
    const QString window = visibleWindow(Console);
    return window.isEmpty() ? QImage()
                            : DesktopSession::screenshot(artifact).copy(DesktopSession::geometryOf(window));
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

// The console once its side bar is painted, or a null image.
QImage paintedConsole(const QString &artifact)
{
    QImage shot;
    return QTest::qWaitFor([&] { return sideBarReach(shot = consoleShot(artifact)) > 0; }, 10000) ? shot
                                                                                                  : QImage();
}

// The banner's window once one shows, or empty.
QString waitBanner()
{
    QString banner;
    (void)QTest::qWaitFor([&] { return !(banner = DesktopSession::bannerWindow()).isEmpty(); }, 20000);
    return banner;
}

bool hasColour(const QImage &image, const QColor &colour)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == colour)
                return true;
    return false;
}

// The development server and the two users' clients, the console placed where the test looks for it.
struct Desk
{
    QTemporaryDir work;
    Server server{work.filePath(u"devserver.json"_s), freePort()};
    UserClient ann{Ann, server.port};
    UserClient bob{Bob, server.port};

    // The server's state as it starts: the policies and the two users' roles.
    bool start(int annRole)
    {
        if (!writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\", \"users\": {"
                                     "\"korvane-ann\": {\"name\": \"Ann Lee\", \"role\": " +
                                         QByteArray::number(annRole) +
                                         "},"
                                         "\"korvane-bob\": {\"name\": \"Bob Marsh\", \"role\": 0}}}"))
            return false;
        server.start();
        for (UserClient *client : {&ann, &bob}) {
            const QString setup = client->home.filePath(u"config/Korvane/Client.conf"_s);
            if (!writeFile(setup, u"[Setup]\nAdminLeft=%1\nAdminTop=%2\nAdminWidth=%3\nAdminHeight=%4\n"_s
                                      .arg(Place.left() * 15)
                                      .arg(Place.top() * 15)
                                      .arg(Place.width() * 15)
                                      .arg(Place.height() * 15)
                                      .toUtf8()))
                return false;
            run(u"chown"_s, {client->user, setup});
            client->start();
        }
        return QTest::qWaitFor([this] { return server.connected(Ann) && server.connected(Bob); }, 30000);
    }
};

// "Administration", second in the menu, opened by a second start where the pointer rests.
bool openConsole(UserClient &client)
{
    if (!client.chooseMenuItem(2, {640, 100}) || !waitWindow(Console))
        return false;
    // The pointer away from the window, so that nothing shows hovered.
    DesktopSession::run(u"xdotool"_s, {u"mousemove"_s, u"1270"_s, u"10"_s});
    return true;
}

// Closed by the window manager's key, which keeps the lists' layouts.
bool closeConsole()
{
    DesktopSession::clickIn(visibleWindow(Console), {Place.width() / 2, 10});
    keys({u"alt+F4"_s});
    return waitWindow(Console, nullptr, true);
}

// The side bar's rows: 14 pixels apart, the first 18 below the top of the window.
void sideBarItem(int row)
{
    DesktopSession::clickIn(visibleWindow(Console), {60, 18 + row * 14});
}

} // namespace

class TestE2EConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString why = whyNoDesktop();
        if (!why.isEmpty())
            QSKIP(qPrintable(why));
    }

    void consoleOfEachRole()
    {
        // Everyone may open the console; Ann is a postmaster.
        Desk desk;
        QVERIFY(desk.start(1));
        Server &server = desk.server;
        UserClient &ann = desk.ann, &bob = desk.bob;

        // Bob's console, on his Inbox; a message that arrives shows in the open grid in its level's colours.
        QVERIFY(openConsole(bob));
        const QImage user = paintedConsole(u"console-user.png"_s);
        QVERIFY(!user.isNull());
        sideBarItem(1);
        server.control({u"send"_s, u"--to"_s, Bob, u"--level"_s, u"Warning"_s, u"Inbox check"_s});
        // Waited for by the clock: a screenshot takes a while.
        QVERIFY(QTest::qWaitFor(
            [] { return hasColour(consoleShot(u"console-inbox.png"_s), QColor(255, 255, 0)); }, 20000));
        QVERIFY(closeConsole());

        // Ann's console as a postmaster: All messages more than Bob's side bar.
        QVERIFY(openConsole(ann));
        const QImage postmaster = paintedConsole(u"console-postmaster.png"_s);
        QVERIFY2(sideBarReach(postmaster) > sideBarReach(user),
                 qPrintable(u"%1 %2"_s.arg(sideBarReach(postmaster)).arg(sideBarReach(user))));

        // Her Outbox in the simple layout, chosen from the header's menu, is kept when the console closes.
        const QRect header(260, 40, 720, 18);
        DesktopSession::clickIn(visibleWindow(Console), {400, 70}, 3);
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
        QVERIFY(closeConsole());
        QVERIFY(ann.file(u"config/Korvane/Client.conf"_s).contains(u"OutboxLayout=1"_s));

        // Ann, an Administrator after a restart, finds her Outbox as she left it, and one item more.
        ann.stop();
        server.stop();
        // Bob stays a User (0); what the server stored stays too.
        const QString state = run(u"cat"_s, {server.state});
        QVERIFY(state.contains(u"\"role\": 1"_s));
        QVERIFY(writeFile(server.state, QString(state).replace(u"\"role\": 1"_s, u"\"role\": 3"_s).toUtf8()));
        server.start();
        ann.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann), 30000);
        QVERIFY(openConsole(ann));
        const QImage administrator = paintedConsole(u"console-administrator.png"_s);
        QVERIFY(sideBarReach(administrator) > sideBarReach(postmaster));
        QCOMPARE(administrator.copy(header), simple);

        // All messages, read from the server, holds Bob's Warning; her Outbox did not.
        QVERIFY(!hasColour(administrator, QColor(255, 255, 0)));
        sideBarItem(4);
        QVERIFY(QTest::qWaitFor(
            [] { return hasColour(consoleShot(u"console-all.png"_s), QColor(255, 255, 0)); }, 20000));
    }

    // Ann, a packager, sends Bob a mandatory package from All packages; when Bob
    // acknowledges it his desktop opens the document with the handler of its kind.
    void packageToBob()
    {
        Desk desk;
        QVERIFY(desk.start(2));
        // Bob's handler of smb:// documents writes down what it is given.
        const QString home = desk.bob.home.path();
        QDir(home).mkpath(u"data/applications"_s);
        QVERIFY(writeFile(home + u"/opener.sh"_s, "#!/bin/sh\necho \"$1\" >> \"$HOME/opened.log\"\n"));
        run(u"chmod"_s, {u"755"_s, home + u"/opener.sh"_s});
        QVERIFY(writeFile(home + u"/data/applications/korvane-test-open.desktop"_s,
                          "[Desktop Entry]\nType=Application\nName=Test opener\nNoDisplay=true\n"
                          "MimeType=x-scheme-handler/smb;\nExec=" +
                              home.toUtf8() + "/opener.sh %u\n"));
        QVERIFY(writeFile(home + u"/config/mimeapps.list"_s,
                          "[Default Applications]\nx-scheme-handler/smb=korvane-test-open.desktop\n"));
        run(u"chown"_s, {u"-R"_s, Bob + u':' + Bob, home});

        QVERIFY(openConsole(desk.ann));
        sideBarItem(10);
        keys({u"ctrl+n"_s});
        QString composer;
        QVERIFY(waitWindow(u"^New package"_s, &composer));
        // Its text, Bob, the document, a daily repeat and Mandatory, at the places the form's layout gives
        // them.
        keys({u"Tab"_s});
        DesktopSession::type(u"Install the VPN client"_s);
        DesktopSession::clickIn(composer, {350, 317});
        DesktopSession::type(Bob);
        DesktopSession::clickIn(composer, {340, 372});
        DesktopSession::type(u"smb://files/docs/setup.html"_s);
        DesktopSession::clickIn(composer, {115, 429});
        keys({u"ctrl+a"_s});
        DesktopSession::type(u"1"_s);
        DesktopSession::clickIn(composer, {286, 458});
        DesktopSession::screenshot(u"package.png"_s);
        DesktopSession::clickIn(composer, {502, 619});
        QVERIFY(waitWindow(u"^New package"_s, nullptr, true));
        QVERIFY(QTest::qWaitFor([&] { return run(u"cat"_s, {desk.server.state}).contains(u"setup.html"_s); },
                                10000));

        // Bob acknowledges it; the document he did not open runs now, through his desktop.
        const QString banner = waitBanner();
        QVERIFY(!banner.isEmpty());
        DesktopSession::screenshot(u"package-banner.png"_s);
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         if (!DesktopSession::bannerWindow().isEmpty())
                             DesktopSession::clickAcknowledge(DesktopSession::geometryOf(banner));
                         return desk.bob.file(u"opened.log"_s).contains(u"smb://files/docs/setup.html"_s);
                     },
                     30000),
                 qPrintable(desk.bob.file(u"data/Korvane/client.log"_s).right(1500)));

        // A personal group: made in My groups, chosen as the target of a message, then deleted.
        sideBarItem(14);
        const QString console = visibleWindow(Console);
        DesktopSession::clickIn(console, {500, 150}, 3);
        keys({u"Down"_s, u"Return"_s});
        QVERIFY(waitWindow(u"^New Personal Group$"_s));
        DesktopSession::type(u"team"_s);
        keys({u"Tab"_s});
        DesktopSession::type(u"The team"_s);
        keys({u"Tab"_s});
        DesktopSession::type(Bob);
        keys({u"Return"_s});
        QVERIFY(waitWindow(u"^New Personal Group$"_s, nullptr, true));

        // The group's row, then "Send Message to Selection": the composer comes with the group as target.
        DesktopSession::clickIn(console, {340, 68});
        DesktopSession::clickIn(console, {340, 68}, 3);
        keys({u"Down"_s, u"Down"_s, u"Down"_s, u"Down"_s, u"Down"_s, u"Return"_s});
        QVERIFY(waitWindow(u"^New message "_s, &composer));
        keys({u"Tab"_s});
        DesktopSession::type(u"Team meeting at ten"_s);
        DesktopSession::screenshot(u"group.png"_s);
        DesktopSession::clickIn(composer, {502, 617});
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         // The composer sends the personal group as its members.
                         return desk.server.control({u"list"_s})
                             .contains(u"from korvane-ann to \"korvane-bob\" Team meeting at ten"_s);
                     },
                     10000),
                 qPrintable(desk.server.control({u"list"_s}).right(600)));

        // Delete, answered Yes: the group leaves Ann's store.
        const auto groups = [&desk] {
            return run(u"python3"_s, {u"-c"_s,
                                      u"import sqlite3,sys; print(sqlite3.connect(sys.argv[1]).execute("
                                      "'SELECT count(*) FROM MyGroups').fetchone()[0])"_s,
                                      desk.ann.home.filePath(u"data/Korvane/Client.db"_s)})
                .trimmed();
        };
        QCOMPARE(groups(), u"1"_s);
        DesktopSession::clickIn(console, {340, 68});
        keys({u"Delete"_s});
        QVERIFY(waitWindow(u"^Delete Personal Group$"_s));
        keys({u"Return"_s});
        QVERIFY(QTest::qWaitFor([&] { return groups() == u"0"_s; }, 10000));
    }

    // Bob sets his banner to the lower right in his options before any message has come; Ann, an
    // administrator, gives the level Message a blue background in the level editor. The server hands
    // the levels to every client, and Bob's first message, of that level, shows blue in the corner.
    void optionsAndLevelColourReachBob()
    {
        Desk desk;
        QVERIFY(desk.start(3));
        QVERIFY(desk.bob.chooseMenuItem(3, {640, 100}));
        QVERIFY(waitWindow(u"^Client options$"_s));
        // Horizontal is six rows down, Vertical the next; Return is OK.
        keys(QStringList(6, u"Tab"_s) << u"Down"_s << u"Down"_s << u"Tab"_s << u"Down"_s);
        DesktopSession::screenshot(u"options.png"_s);
        keys({u"Return"_s});
        QVERIFY(waitWindow(u"^Client options$"_s, nullptr, true));
        const QString ini = desk.bob.file(u"config/Korvane/KorvaneClient.ini"_s);
        QVERIFY2(ini.contains(u"Horizontal position=2"_s) && ini.contains(u"Vertical position=1"_s),
                 qPrintable(ini));

        // Configuration is the seventh item; the level editor heads its submenu.
        QVERIFY(desk.ann.chooseMenuItem(7, {640, 100}, {u"Right"_s}));
        QVERIFY(waitWindow(u"^Message Level Editor$"_s));
        // Message, the first level, is chosen; its background button is four fields on.
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s});
        QVERIFY(waitWindow(u"^Select Colou?r$"_s));
        keys({u"alt+h"_s, u"ctrl+a"_s});
        DesktopSession::type(u"#0000ff"_s);
        keys({u"Return"_s});
        QVERIFY(waitWindow(u"^Select Colou?r$"_s, nullptr, true));
        // UPDATE, five fields on past the other colours, the shadow and the sound type; then OK, which
        // takes the keyboard from it.
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s});
        DesktopSession::screenshot(u"level-editor.png"_s);
        keys({u"space"_s});
        QVERIFY(waitWindow(u"^Message Level Editor$"_s, nullptr, true));
        // Blue, as the store keeps it: blue-green-red.
        QVERIFY(QTest::qWaitFor(
            [&] { return run(u"cat"_s, {desk.server.state}).contains(u"\"16711680\""_s); }, 10000));

        desk.server.control({u"send"_s, u"--to"_s, Bob, u"--level"_s, u"Message"_s, u"Now in blue"_s});
        const QString banner = waitBanner();
        QVERIFY(!banner.isEmpty());
        // Once it has come in whole: blue, and in the corner.
        QRect place;
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         place = DesktopSession::geometryOf(banner);
                         return hasColour(DesktopSession::screenshot(u"level-banner.png"_s).copy(place),
                                          QColor(0, 0, 255));
                     },
                     10000),
                 qPrintable(desk.bob.file(u"data/Korvane/client.log"_s).right(1500)));
        // The screen is 1280 by 800; the tray's panel may keep the bottom rows.
        QVERIFY2(place.right() >= 1270 && place.bottom() >= 740 && place.left() > 0,
                 qPrintable(
                     u"%1,%2 %3x%4"_s.arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height())));
    }
};

QTEST_GUILESS_MAIN(TestE2EConsole)
#include "tst_e2e_console.moc"
