#include "banner/BannerPlacement.h"
#include "banner/ScrollArithmetic.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestScrolling : public QObject
{
    Q_OBJECT

private:
    // A strip of the given pixel sizes at 15 twips a pixel on an 800-pixel screen.
    static ScrollArithmetic strip(int textPx, int controlPx)
    {
        ScrollArithmetic scroll;
        scroll.ScreenWidthPx = 800;
        scroll.WriteText(textPx * 15.0, controlPx * 15.0, 30 * 15.0, true);
        return scroll;
    }

    // Runs ticks until Looped and writes each event as the tick number that raised it.
    static QStringList pass(ScrollArithmetic &scroll)
    {
        QStringList events;
        for (int tick = 1; tick <= 10000; ++tick) {
            const ScrollArithmetic::TickResult result = scroll.Tick();
            if (result.Displayed)
                events << u"D%1"_s.arg(tick);
            if (result.Looped)
                return events << u"L%1"_s.arg(tick);
        }
        return events;
    }

private Q_SLOTS:
    // Two pixels a tick: an empty text is displayed at once; a bad step value turns 2 pixels into
    // 30, and both events come in one tick, in order. Displayed once in each pass, and again after Looped.
    void passes()
    {
        for (const auto &[textPx, badStep, events] : {std::tuple{0, false, QStringList{u"D1"_s, u"L10"_s}},
                                                      std::tuple{10, false, QStringList{u"D5"_s, u"L15"_s}},
                                                      std::tuple{10, true, QStringList{u"D1"_s, u"L1"_s}}}) {
            ScrollArithmetic scroll = strip(textPx, 20);
            if (badStep)
                scroll.SetPixelsPerSpeed(0);
            QCOMPARE(pass(scroll), events);
            QCOMPARE(scroll.ScrollX, 0);
            QCOMPARE(pass(scroll), events);
        }
    }

    // The speed sets the tick's interval; out of range it is ignored. A step in pixels is kept in
    // twips, a bad one multiplies the present step and saturates rather than overflows.
    void speedAndStep()
    {
        for (const auto &[speed, kept, interval] : {std::tuple{0, 8, 125}, std::tuple{3, 3, 333},
                                                    std::tuple{16, 16, 62}, std::tuple{101, 8, 125}}) {
            ScrollArithmetic scroll;
            QCOMPARE(scroll.SetSpeed(speed), speed == kept);
            QCOMPARE(scroll.Speed, kept);
            QCOMPARE(scroll.TimerIntervalMs(), interval);
        }
        for (const auto &[twipsPerPixel, value, storedTwips, readBack] :
             {std::tuple{15.0, 20, 300, 20}, std::tuple{15.0, 21, 450, 30}, std::tuple{12.0, -1, 360, 30}}) {
            ScrollArithmetic scroll(twipsPerPixel, twipsPerPixel);
            scroll.SetPixelsPerSpeed(value);
            QCOMPARE(scroll.PixelsPerSpeedTwips, storedTwips);
            QCOMPARE(scroll.PixelsPerSpeed(), readBack);
            for (int i = 0; i < 12; ++i)
                scroll.SetPixelsPerSpeed(0);
            QCOMPARE(scroll.PixelsPerSpeedTwips, std::numeric_limits<qint32>::max());
        }
    }

    // On a screen of 800 pixels with a control 300 wide, the text and two controls fit with room to
    // spare; the height divisor stays 15 whatever the screen's twips per pixel.
    void pictureStripes()
    {
        for (const auto &[twipsPerPixel, textPx, stripes, controlHeightPx] :
             {std::tuple{15.0, 0, 1, 30}, std::tuple{15.0, 200, 2, 30}, std::tuple{15.0, 2000, 4, 30},
              std::tuple{12.0, 100, 1, 24}}) {
            ScrollArithmetic scroll(twipsPerPixel, twipsPerPixel);
            scroll.ScreenWidthPx = 800;
            const ScrollArithmetic::TextLayout layout =
                scroll.WriteText(textPx * twipsPerPixel, 300 * twipsPerPixel, 30 * twipsPerPixel, true);
            QCOMPARE(layout.Stripes, stripes);
            QCOMPARE(scroll.ControlHeightPx, controlHeightPx);
            QCOMPARE(layout.TextRect.topLeft(), QPoint(300, 0));
        }
    }

    void writeTextAndRounding()
    {
        ScrollArithmetic scroll = strip(2000, 400);
        for (int i = 0; i < 250; ++i)
            scroll.Tick();
        const int x = scroll.ScrollX;
        // A shorter text already passed: the next tick displays and loops.
        scroll.WriteText(50 * 15.0, 400 * 15.0, 30 * 15.0, false);
        QCOMPARE(scroll.ScrollX, x);
        const ScrollArithmetic::TickResult result = scroll.Tick();
        QVERIFY(result.Displayed && result.Looped);
        QCOMPARE(scroll.ScrollX, 0);

        // Half to even: at 10 twips a pixel, 25 twips of text and 45 of control are 2 and 4 pixels, 7
        // together.
        scroll = ScrollArithmetic(10, 10);
        scroll.ScreenWidthPx = 800;
        scroll.WriteText(25, 45, 300, true);
        QCOMPARE(scroll.TextWidthPx, 2);
        QCOMPARE(scroll.LoopEnd, 7);
        // A step of 25 twips is 2.5 pixels: from 0 it lands on 2, from 1 on 4, half to even.
        scroll.PixelsPerSpeedTwips = 25;
        scroll.Tick();
        QCOMPARE(scroll.ScrollX, 2);
        scroll.ScrollX = 1;
        scroll.Tick();
        QCOMPARE(scroll.ScrollX, 4);
    }

    // A monitor right of another: the edges and the middle are its own, not the desktop's; a
    // banner left past a vanished monitor's edge comes back, one in view stays put.
    void placementOnAMonitorAwayFromTheOrigin()
    {
        const QRect right(800, 0, 480, 800), left(0, 0, 800, 800);
        const QSize window(260, 20);
        QCOMPARE(BannerPlacement::Place(right, window, 0, 0, {5, 5}), QPoint(800, 0));
        QCOMPARE(BannerPlacement::Place(right, window, 1, 1, {5, 5}), QPoint(910, 780));
        QCOMPARE(BannerPlacement::Place(right, window, 2, 1, {5, 5}), QPoint(1020, 780));
        QCOMPARE(BannerPlacement::Place(right, window, 7, 7, {5, 5}), QPoint(5, 5));
        QCOMPARE(BannerPlacement::KeepInView(left, window, {1020, 790}), QPoint(540, 780));
        QCOMPARE(BannerPlacement::KeepInView(left, window, {10, 10}), QPoint(10, 10));
        QCOMPARE(BannerPlacement::KeepInView(QRect(0, 0, 200, 10), window, {10, 10}), QPoint(0, 0));
    }
};

QTEST_GUILESS_MAIN(TestScrolling)
#include "tst_scrolling.moc"
