// End to end on a real X server with two monitors: the banner's place, colours, looping sound
// and receipt. (The receipt's way to its author is tst_e2e_users'.)
#include "e2e/DesktopSession.h"
#include "store/DVMessage.h"
#include "support/ClientProcess.h"
#include "support/FakeServer.h"

#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

// The longest run of stretches, each one round of the level's buzzer long (the file less its
// header), that hold a loud sample.
int roundsHeard(const QByteArray &sound)
{
    const qsizetype round = (QFileInfo(QStringLiteral(KORVANE_MEDIA_DIR "/Buzzer.wav")).size() - 44) / 2;
    int rounds = 0, longest = 0;
    for (qsizetype at = 0; at + round <= sound.size() / 2; at += round) {
        int peak = 0;
        for (qsizetype i = at; i < at + round; ++i)
            peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(sound.constData() + 2 * i))));
        rounds = peak >= 2000 ? rounds + 1 : 0;
        longest = qMax(longest, rounds);
    }
    return longest;
}

int xrandr(const QStringList &arguments)
{
    int exitCode = -1;
    DesktopSession::run(u"xrandr"_s, arguments, &exitCode);
    return exitCode;
}

// Where the banner stands, its strip's width (the button is as wide as it is high) and colour.
QString bannerSeen(const QString &artifact)
{
    const QRect banner = DesktopSession::geometryOf(DesktopSession::bannerWindow());
    return u"right %1 top %2 strip %3 %4"_s.arg(banner.right())
        .arg(banner.top())
        .arg(banner.width() - banner.height())
        .arg(DesktopSession::bannerColour(artifact).name());
}

} // namespace

class TestE2EBanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void soundScreensAndReceipt()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        // Two monitors side by side on the one X screen, the narrow right one primary.
        QCOMPARE(xrandr({u"--setmonitor"_s, u"LEFT"_s, u"800/210x800/210+0+0"_s, u"screen"_s}), 0);
        QCOMPARE(xrandr({u"--setmonitor"_s, u"*RIGHT"_s, u"480/130x800/210+800+0"_s, u"none"_s}), 0);
        const auto restore = qScopeGuard([] {
            xrandr({u"--delmonitor"_s, u"RIGHT"_s});
            xrandr({u"--delmonitor"_s, u"LEFT"_s});
        });
        // Everything the sound server plays, from before the message comes.
        QProcess recorder;
        recorder.start(u"parecord"_s, {u"--raw"_s, u"--format=s16le"_s, u"--rate=22050"_s, u"--channels=1"_s,
                                       u"--device=nullsink.monitor"_s});
        QVERIFY(recorder.waitForStarted(5000));

        // Fast scrolling, so that the text passes in a moment; the banner at the top right.
        FakeServer server;
        TempProfile profile;
        ClientProcess::prepare(profile, server.port(), "Reader Person",
                               "Speed=100\nRefresh Rate=4\nVertical position=0\nHorizontal position=2\n");
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY), u"xcb"_s);
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 15000);
        DVMessage message;
        message.ToObject(FakeServer::record(u"E2E00000000001"_s, u"Drill"_s, u"Fire drill at noon"_s));
        message.MsgLevel = u"Alert"_s;
        server.send(FakeServer::command(u"CON"_s, u"agent-1"_s));
        // Red background (blue-green-red 255), white text, black shadow, a built-in sound looping.
        server.send(FakeServer::command(
            u"LVL"_s, u"Alert|Alarm|255|16777215|0|True|4||True|0"_s.replace(u'|', QChar(3))));
        server.send(FakeServer::command(u"MSG"_s, message.ToString()));
        QTRY_COMPARE_WITH_TIMEOUT(bannerSeen(u"screens-primary.png"_s),
                                  u"right 1279 top 0 strip 240 #ff0000"_s, 20000);

        // The level's looping sound goes on round after round while its message is alone on the strip.
        QByteArray sound;
        QTRY_VERIFY_WITH_TIMEOUT((sound += recorder.readAllStandardOutput(), roundsHeard(sound) >= 4), 20000);
        recorder.kill();
        recorder.waitForFinished();

        // The primary monitor goes: the banner takes the same corner of the other, with no new message.
        QCOMPARE(xrandr({u"--delmonitor"_s, u"RIGHT"_s}), 0);
        QTRY_COMPARE_WITH_TIMEOUT(bannerSeen(u"screens-remaining.png"_s),
                                  u"right 799 top 0 strip 400 #ff0000"_s, 10000);

        // Dragged by its strip, the banner goes where it is let go, through the window manager (dragged
        // again should a loaded window manager miss the start).
        const auto banner = [] { return DesktopSession::geometryOf(DesktopSession::bannerWindow()); };
        const auto moved = [&banner] { return banner().top() >= 250; };
        for (int tries = 0; tries < 3 && !moved(); ++tries) {
            DesktopSession::dragBy(banner().topLeft() + QPoint(20, banner().height() / 2), QPoint(-100, 300));
            (void)QTest::qWaitFor(moved, 3000);
        }
        QVERIFY(moved());

        // The acknowledge button stands right of the strip and wakes once the text has passed; the
        // receipt names the message, and the banner goes.
        QTRY_VERIFY_WITH_TIMEOUT(
            (DesktopSession::clickAcknowledge(DesktopSession::geometryOf(DesktopSession::bannerWindow())),
             !server.received.filter(u"RCP\u0001"_s + message.MsgID + QChar(2)).isEmpty()),
            20000);
        QTRY_VERIFY_WITH_TIMEOUT(DesktopSession::bannerWindow().isEmpty(), 10000);
    }
};

QTEST_GUILESS_MAIN(TestE2EBanner)
#include "tst_e2e_banner.moc"
