// The console on a real desktop, opened from the tray menu: Bob sees a message arrive in his open Inbox;
// Ann, a postmaster, arranges her Outbox, finds it so after a restart, and reads All messages from the
// development server. Ann, an administrator, sends Bob a package whose document his desktop opens when he
// acknowledges it, and her change of a level reaches his desktop.
#include "e2e/UserClients.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace UserClients;
using namespace DesktopSession;

namespace {

const QString Console = u" Administration$"_s;
const QColor Warning(255, 255, 0); // the background of the level Warning

// The console's window, on screen.
QImage consoleShot(const QString &artifact)
{
    const QString window = visibleWindow(Console);
    return window.isEmpty() ? QImage() : screenshot(artifact).copy(geometryOf(window));
}

bool hasWarning(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == Warning)
                return true;
    return false;
}

// "Administration", second in the menu, opened by a second start where the pointer rests; the console
// once its side bar shows black words on its white (a window just mapped is black), or a null image.
QImage openConsole(UserClient &client, const QString &artifact)
{
    if (!client.chooseMenuItem(2, {640, 100}) || waitWindow(Console).isEmpty())
        return {};
    // The pointer away from the window, so that nothing shows hovered.
    run(u"xdotool"_s, {u"mousemove"_s, u"1270"_s, u"10"_s});
    QImage shot;
    const auto painted = [&] {
        if ((shot = consoleShot(artifact)).isNull() ||
            shot.pixelColor(150, shot.height() / 2).lightness() < 200)
            return false;
        for (int y = 0; y < shot.height() / 2; ++y)
            for (int x = 15; x < 150; ++x)
                if (shot.pixelColor(x, y).lightness() < 80)
                    return true;
        return false;
    };
    return QTest::qWaitFor(painted, 10000) ? shot : QImage();
}

// Closed by the window manager's key, which keeps the lists' layouts.
bool closeConsole()
{
    clickIn(visibleWindow(Console), {500, 10});
    keys({u"alt+F4"_s});
    return waitGone(Console);
}

// The side bar's rows: 14 pixels apart, the first 18 below the top of the window.
void sideBarItem(int row)
{
    clickIn(visibleWindow(Console), {60, 18 + row * 14});
}

} // namespace

class TestE2EConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { skipWithoutDesktop(); }

    // What the role's side bar holds is tst_console's and tst_accessibility's.
    void listsLayoutAndAllMessages()
    {
        Desk desk;
        QVERIFY(desk.start(1));
        UserClient &ann = desk.ann;

        // Bob's console, on his Inbox; a message that arrives shows in the open grid in its level's colours.
        QVERIFY(!openConsole(desk.bob, u"console-user.png"_s).isNull());
        sideBarItem(1);
        desk.server.control({u"send"_s, u"--to"_s, Bob, u"--level"_s, u"Warning"_s, u"Inbox check"_s});
        // Waited for by the clock: a screenshot takes a while.
        QVERIFY(QTest::qWaitFor([] { return hasWarning(consoleShot(u"console-inbox.png"_s)); }, 20000));
        QVERIFY(closeConsole());

        // Ann's Outbox in the simple layout, chosen from the header's menu, is kept when the console closes.
        const QImage full = openConsole(ann, u"console-postmaster.png"_s);
        QVERIFY(!full.isNull());
        const QRect header(260, 40, 720, 18);
        clickIn(visibleWindow(Console), {400, 70}, 3);
        QTRY_VERIFY_WITH_TIMEOUT(titleUnderPointer().endsWith(u"\"korvane-client\""_s), 10000);
        keys({u"Down"_s, u"Return"_s});
        run(u"xdotool"_s, {u"mousemove"_s, u"1270"_s, u"10"_s});
        QImage simple;
        QVERIFY(QTest::qWaitFor(
            [&] { return (simple = consoleShot(u"console-simple.png"_s).copy(header)) != full.copy(header); },
            10000));
        // Written as the closed console is deleted, a moment after its window goes.
        QVERIFY(closeConsole());
        QTRY_VERIFY_WITH_TIMEOUT(ann.file(u"config/Korvane/Client.conf"_s).contains(u"OutboxLayout=1"_s),
                                 5000);

        // After a restart she finds her Outbox as she left it. All messages, read from the server, holds
        // Bob's Warning; her Outbox did not.
        ann.stop();
        ann.start();
        QTRY_VERIFY_WITH_TIMEOUT(desk.server.connected(Ann), 30000);
        const QImage restarted = openConsole(ann, u"console-restarted.png"_s);
        QCOMPARE(restarted.copy(header), simple);
        QVERIFY(!hasWarning(restarted));
        sideBarItem(4);
        QVERIFY(QTest::qWaitFor([] { return hasWarning(consoleShot(u"console-all.png"_s)); }, 20000));
    }

    // Ann, an administrator, sends Bob a mandatory package from All packages; when he acknowledges it
    // his desktop opens the document with the handler of its kind. Then she gives the level Message a
    // blue background in the level editor: the server hands the levels to every client, and Bob's next
    // message of that level shows blue. (Options placing the first banner are tst_optionforms' and
    // tst_dvxdisplay's.)
    void packageAndLevelReachBob()
    {
        Desk desk;
        QVERIFY(desk.start(3));
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

        QVERIFY(!openConsole(desk.ann, u"console-administrator.png"_s).isNull());
        sideBarItem(10);
        keys({u"ctrl+n"_s});
        const QString composer = waitWindow(u"^New package"_s);
        QVERIFY(!composer.isEmpty());
        // Its text, Bob, the document, a daily repeat and Mandatory, where the form's layout puts them.
        keys({u"Tab"_s});
        type(u"Install the VPN client"_s);
        clickIn(composer, {350, 317});
        type(Bob);
        clickIn(composer, {340, 372});
        type(u"smb://files/docs/setup.html"_s);
        clickIn(composer, {115, 429});
        keys({u"ctrl+a"_s});
        type(u"1"_s);
        clickIn(composer, {286, 458});
        screenshot(u"package.png"_s);
        clickIn(composer, {502, 619});
        QVERIFY(waitGone(u"^New package"_s));
        QVERIFY(QTest::qWaitFor([&] { return run(u"cat"_s, {desk.server.state}).contains(u"setup.html"_s); },
                                10000));

        // Bob acknowledges it; the document he did not open runs now, through his desktop.
        QVERIFY2(QTest::qWaitFor(
                     [&] {
                         if (const QString banner = bannerWindow(); !banner.isEmpty())
                             clickAcknowledge(geometryOf(banner));
                         return desk.bob.file(u"opened.log"_s).contains(u"smb://files/docs/setup.html"_s);
                     },
                     30000),
                 qPrintable(desk.bob.file(ClientLog).right(1500)));
        QVERIFY(closeConsole());

        // Configuration is the seventh item; the level editor heads its submenu.
        QVERIFY(desk.ann.chooseMenuItem(7, {640, 100}, {u"Right"_s}));
        QVERIFY(!waitWindow(u"^Message Level Editor$"_s).isEmpty());
        // Message, the first level, is chosen; its background button is four fields on.
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s});
        QVERIFY(!waitWindow(u"^Select Colou?r$"_s).isEmpty());
        keys({u"alt+h"_s, u"ctrl+a"_s});
        type(u"#0000ff"_s);
        keys({u"Return"_s});
        QVERIFY(waitGone(u"^Select Colou?r$"_s));
        // UPDATE, five fields on past the other colours, the shadow and the sound type; then OK, which
        // takes the keyboard from it.
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"space"_s});
        screenshot(u"level-editor.png"_s);
        keys({u"space"_s});
        QVERIFY(waitGone(u"^Message Level Editor$"_s));
        // Blue, as the store keeps it: blue-green-red.
        QVERIFY(QTest::qWaitFor(
            [&] { return run(u"cat"_s, {desk.server.state}).contains(u"\"16711680\""_s); }, 10000));

        desk.server.control({u"send"_s, u"--to"_s, Bob, u"--level"_s, u"Message"_s, u"Now in blue"_s});
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"level-banner.png"_s), QColor(0, 0, 255), 20000);
    }
};

QTEST_GUILESS_MAIN(TestE2EConsole)
#include "tst_e2e_console.moc"
