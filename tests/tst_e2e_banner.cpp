// End to end on a real X server: a message from a server on loopback scrolls
// on the reader's banner in its level's colours and with its sound; the
// reader's acknowledgement sends a receipt, which the author's client stores,
// confirms and announces in a desktop notification.
#include "e2e/DesktopSession.h"
#include "store/DVMessage.h"
#include "support/ClientProcess.h"
#include "support/FakeServer.h"
#include "support/TempProfile.h"

#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

using DesktopSession::run;

// Fast scrolling so that the text passes in a moment; the banner at the top left unless told.
struct Client
{
    TempProfile profile;
    ClientProcess process;
    Client(const QByteArray &name, quint16 port, const QByteArray &place = "Horizontal position=0\n")
    {
        ClientProcess::prepare(profile, port, name,
                               "Speed=100\nRefresh Rate=4\nVertical position=0\n" + place);
        process.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY), u"xcb"_s);
    }
};

// Red background (blue-green-red 255), white text, black shadow, a built-in
// sound played over and over.
const QString AlertLevel = QStringList{u"Alert"_s, u"Alarm"_s, u"255"_s,  u"16777215"_s, u"0"_s,
                                       u"True"_s,  u"4"_s,     QString(), u"True"_s,     u"0"_s}
                               .join(QChar(3));

QString message(const QString &author)
{
    DVMessage m;
    m.ToObject(FakeServer::record(u"E2E00000000001"_s, u"Drill"_s, u"Fire drill at noon"_s));
    m.MsgLevel = u"Alert"_s;
    m.UserID = author;
    m.Notify = true;
    return FakeServer::command(u"MSG"_s, m.ToString());
}

int firstFrom(const FakeServer &server, int connection, const QString &code)
{
    for (int i = 0; i < server.received.size(); ++i)
        if (server.receivedFrom[i] == connection && FakeServer::codeOf(server.received[i]) == code)
            return i;
    return -1;
}

} // namespace

class TestE2EBanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messageToBannerAndReceiptToAuthor()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        QTemporaryDir work;
        const QString notifications = work.filePath(u"notifications.log"_s);
        QProcess notifyd;
        notifyd.start(QStringLiteral(KORVANE_FAKE_NOTIFYD), {notifications});
        QVERIFY(notifyd.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(
            run(u"dbus-send"_s,
                {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s, u"/"_s,
                 u"org.freedesktop.DBus.NameHasOwner"_s, u"string:org.freedesktop.Notifications"_s})
                .contains(u"true"_s),
            10000);

        FakeServer server;
        constexpr int Reader = 0, Author = 1;
        Client reader("Reader Person", server.port());
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 15000);
        Client author("Author Person", server.port());
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 2, 15000);
        for (int c : {Reader, Author}) {
            server.sendTo(c, FakeServer::command(u"CON"_s, u"agent-1"_s));
            server.sendTo(c, FakeServer::command(u"LVL"_s, AlertLevel));
        }
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Author, u"ALL"_s) >= 0, 10000);

        // Everything the sound server plays, from before the message comes.
        QProcess recorder;
        recorder.start(u"parecord"_s, {u"--raw"_s, u"--format=s16le"_s, u"--rate=22050"_s, u"--channels=1"_s,
                                       u"--device=nullsink.monitor"_s});
        QVERIFY(recorder.waitForStarted(5000));

        // The author holds the message in its outbox; the reader gets it on the banner.
        server.sendTo(Author, message(qEnvironmentVariable("USER", u"root"_s)));
        server.sendTo(Reader, message(u"someone-else"_s));
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Reader, u"CMS"_s) >= 0, 10000);

        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = DesktopSession::bannerWindow()).isEmpty(), 10000);
        const QRect banner = DesktopSession::geometryOf(window);
        QVERIFY(!banner.isEmpty());
        // The title the window manager shows is the caption alone, no program name behind it.
        QCOMPARE(DesktopSession::titleOf(window), u"_NET_WM_NAME(UTF8_STRING) = \"Korvane banner\""_s);
        // The strip in the level's colours.
        QCOMPARE(DesktopSession::screenshot(u"banner.png"_s).pixelColor(banner.topLeft() + QPoint(3, 3)),
                 QColor(255, 0, 0));

        // The level's looping sound goes on round after round while its message is alone on the
        // strip: the longest run of round-long stretches that each hold a loud sample counts.
        QByteArray sound;
        const auto roundsHeard = [&recorder, &sound] {
            // Samples in one round of the level's buzzer: the file less its header.
            const qsizetype Round =
                (QFileInfo(QStringLiteral(KORVANE_MEDIA_DIR "/Buzzer.wav")).size() - 44) / 2;
            sound += recorder.readAllStandardOutput();
            int rounds = 0, longest = 0;
            for (qsizetype at = 0; at + Round <= sound.size() / 2; at += Round) {
                int peak = 0;
                for (qsizetype i = at; i < at + Round; ++i)
                    peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(sound.constData() + 2 * i))));
                rounds = peak >= 2000 ? rounds + 1 : 0;
                longest = qMax(longest, rounds);
            }
            return longest;
        };
        QTRY_VERIFY_WITH_TIMEOUT(roundsHeard() >= 4, 20000);
        recorder.kill();
        recorder.waitForFinished();

        // The acknowledge button stands right of the strip and wakes once the text has passed.
        QTRY_VERIFY_WITH_TIMEOUT(
            (DesktopSession::clickAcknowledge(banner), firstFrom(server, Reader, u"RCP"_s) >= 0), 20000);
        const QStringList fields = server.received[firstFrom(server, Reader, u"RCP"_s)]
                                       .section(QChar(0), 0, 0)
                                       .section(QChar(1), 1)
                                       .split(QChar(2));
        QCOMPARE(fields[0], u"E2E00000000001"_s);
        QCOMPARE(fields[2], u"Reader Person"_s);
        // Acknowledged: the banner goes.
        QTRY_VERIFY_WITH_TIMEOUT(DesktopSession::bannerWindow().isEmpty(), 10000);

        // The server hands the receipt to the author's client.
        QStringList receipt = QStringList{u"RC000000000001"_s} + fields.mid(0, 7);
        receipt[6].clear(); // the server's own field
        server.sendTo(Author, FakeServer::command(u"RCP"_s, receipt.join(QChar(2))));
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Author, u"CRC"_s) >= 0, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(run(u"cat"_s, {notifications}).contains(u"Message read by:|Reader Person"_s),
                                 10000);
        notifyd.kill();
        notifyd.waitForFinished();
    }

    void bannerFollowsThePrimaryScreen()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        // Two monitors side by side on the one X screen, the narrow right one primary.
        const auto xrandr = [](const QStringList &arguments) {
            int exitCode = -1;
            run(u"xrandr"_s, arguments, &exitCode);
            return exitCode;
        };
        QCOMPARE(xrandr({u"--setmonitor"_s, u"LEFT"_s, u"800/210x800/210+0+0"_s, u"screen"_s}), 0);
        QCOMPARE(xrandr({u"--setmonitor"_s, u"*RIGHT"_s, u"480/130x800/210+800+0"_s, u"none"_s}), 0);
        const auto restore = qScopeGuard([&xrandr] {
            xrandr({u"--delmonitor"_s, u"RIGHT"_s});
            xrandr({u"--delmonitor"_s, u"LEFT"_s});
        });

        FakeServer server;
        Client reader("Reader Person", server.port(), "Horizontal position=2\n");
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 15000);
        server.sendTo(0, FakeServer::command(u"CON"_s, u"agent-1"_s));
        server.sendTo(0, FakeServer::command(u"LVL"_s, AlertLevel));
        server.sendTo(0, message(u"someone-else"_s));
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = DesktopSession::bannerWindow()).isEmpty(), 15000);
        // Top right of the primary monitor, the strip half its width.
        const QRect right(800, 0, 480, 800);
        QRect banner;
        QTRY_VERIFY_WITH_TIMEOUT((banner = DesktopSession::geometryOf(window)).right() == right.right(),
                                 10000);
        QCOMPARE(banner.top(), 0);
        QCOMPARE(banner.width() - banner.height(), right.width() / 2);
        QCOMPARE(
            DesktopSession::screenshot(u"screens-primary.png"_s).pixelColor(banner.topLeft() + QPoint(3, 3)),
            QColor(255, 0, 0));

        // The primary monitor goes while the message scrolls: the banner takes the same corner of
        // the one that remains, at once and without a new message.
        QCOMPARE(xrandr({u"--delmonitor"_s, u"RIGHT"_s}), 0);
        const QRect left(0, 0, 800, 800);
        QTRY_VERIFY_WITH_TIMEOUT((banner = DesktopSession::geometryOf(window)).right() == left.right(),
                                 10000);
        QCOMPARE(banner.top(), 0);
        QCOMPARE(banner.width() - banner.height(), left.width() / 2);
        QCOMPARE(DesktopSession::screenshot(u"screens-remaining.png"_s)
                     .pixelColor(banner.topLeft() + QPoint(3, 3)),
                 QColor(255, 0, 0));
    }
};

QTEST_GUILESS_MAIN(TestE2EBanner)
#include "tst_e2e_banner.moc"
