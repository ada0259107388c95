// Two users at the keyboard and mouse of one desktop: Ann writes to Bob with
// the composer she opens from her menu, picks him in the list of users and
// chooses a level; the development server brings it to Bob's banner in that
// level's colours; Bob replies from his banner and the reply scrolls on Ann's.
#include "e2e/UserClients.h"

#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace UserClients;
using DesktopSession::keys;
using DesktopSession::visibleWindow;

namespace {

const QString Ann = u"korvane-ann"_s;
const QString Bob = u"korvane-bob"_s;

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

class TestE2ECompose : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void composeSendAndReply()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        if (geteuid() != 0)
            QSKIP("needs root to create the two users of this test");
        ensureUser(Ann, u"Ann Lee"_s);
        ensureUser(Bob, u"Bob Marsh"_s);
        QTemporaryDir work;
        Server server(work.filePath(u"devserver.json"_s), freePort());
        server.start();
        UserClient ann(Ann, server.port), bob(Bob, server.port);
        ann.start();
        bob.start();
        QTRY_VERIFY_WITH_TIMEOUT(server.connected(Ann) && server.connected(Bob), 30000);

        // Ann's menu, opened by a second start where the pointer rests: "Show replies" is
        // ticked, then "Send a message" opens the composer.
        const auto menuItem = [&ann](int downs) {
            DesktopSession::run(u"xdotool"_s, {u"mousemove"_s, u"640"_s, u"400"_s});
            ann.openMenu();
            QTRY_VERIFY_WITH_TIMEOUT(DesktopSession::titleUnderPointer().endsWith(u"\"korvane-client\""_s),
                                     10000);
            keys(QStringList(downs, u"Down"_s) << u"Return"_s);
            QTRY_VERIFY(!DesktopSession::titleUnderPointer().endsWith(u"\"korvane-client\""_s));
        };
        menuItem(2);
        menuItem(1);
        QString composer;
        QTRY_VERIFY_WITH_TIMEOUT(!(composer = visibleWindow(u"^New message "_s)).isEmpty(), 15000);

        // The text, the level by its initial, "May reply", then Bob from the list of users. The
        // points clicked are where the forms' layouts put their controls on this desktop.
        keys({u"Tab"_s});
        DesktopSession::type(u"Lunch at noon"_s);
        keys({u"Tab"_s, u"Tab"_s, u"Tab"_s});
        DesktopSession::type(u"W"_s);
        DesktopSession::clickIn(composer, {152, 512});
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
        const QString banner = DesktopSession::bannerWindow();
        DesktopSession::clickIn(banner, {24, DesktopSession::geometryOf(banner).height() - 10});
        QString reply;
        QTRY_VERIFY_WITH_TIMEOUT(!(reply = visibleWindow(u"^Reply to korvane-ann$"_s)).isEmpty(), 15000);
        DesktopSession::clickIn(reply, {320, 220});
        DesktopSession::type(u"See you there"_s);
        DesktopSession::screenshot(u"reply.png"_s);
        DesktopSession::clickIn(reply, {423, 497});
        QTRY_VERIFY_WITH_TIMEOUT(visibleWindow(u"^Reply to "_s).isEmpty(), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(bannerColour(u"ann-banner.png"_s), QColor(0, 0, 255), 20000);
    }
};

QTEST_GUILESS_MAIN(TestE2ECompose)
#include "tst_e2e_compose.moc"
