#include "banner/BannerPlacement.h"
#include "banner/ScrollArithmetic.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using Layout = ScrollArithmetic::TextLayout;

class TestScrolling : public QObject
{
    Q_OBJECT

private:
    // A strip of the given pixel sizes, 30 high, on an 800-pixel screen.
    static ScrollArithmetic strip(double textPx, double controlPx, double twips = 15,
                                  Layout *layout = nullptr)
    {
        ScrollArithmetic scroll(twips, twips);
        scroll.ScreenWidthPx = 800;
        const Layout written = scroll.WriteText(textPx * twips, controlPx * twips, 30 * twips, true);
        if (layout)
            *layout = written;
        return scroll;
    }

    // The ticks that raised Displayed and Looped, up to Looped.
    static QString pass(ScrollArithmetic &scroll)
    {
        QString events;
        for (int tick = 1; tick <= 10000 && !events.contains(u'L'); ++tick) {
            const ScrollArithmetic::TickResult result = scroll.Tick();
            events += (result.Displayed ? u" D%1"_s.arg(tick) : QString()) +
                      (result.Looped ? u" L%1"_s.arg(tick) : QString());
        }
        return events.trimmed();
    }

private Q_SLOTS:
    // Two pixels a tick, or 30 after a bad step value; Displayed once in each pass, and again after Looped.
    void passes()
    {
        for (const auto &[textPx, badStep, events] :
             {std::tuple{0, false, u"D1 L10"_s}, {10, false, u"D5 L15"_s}, {10, true, u"D1 L1"_s}}) {
            ScrollArithmetic scroll = strip(textPx, 20);
            if (badStep)
                scroll.SetPixelsPerSpeed(0);
            QCOMPARE(pass(scroll), events);
            QCOMPARE(std::pair(scroll.ScrollX, pass(scroll)), std::pair(0, events));
        }
    }

    // A speed out of range is ignored; a bad step multiplies the present one and saturates, not overflows.
    void speedAndStep()
    {
        for (const auto &[speed, kept, interval] : {std::tuple{0, 8, 125},
                                                    {1, 1, 1000},
                                                    {3, 3, 333},
                                                    {16, 16, 62},
                                                    {100, 100, 10},
                                                    {101, 8, 125}}) {
            ScrollArithmetic scroll;
            QCOMPARE(scroll.SetSpeed(speed), speed == kept);
            QCOMPARE(std::pair(scroll.Speed, scroll.TimerIntervalMs()), std::pair(kept, interval));
        }
        for (const auto &[twipsPerPixel, value, storedTwips, readBack] :
             {std::tuple{15.0, 20, 300, 20}, {15.0, 1, 15, 1}, {15.0, 21, 450, 30}, {12.0, -1, 360, 30}}) {
            ScrollArithmetic scroll(twipsPerPixel, twipsPerPixel);
            scroll.SetPixelsPerSpeed(value);
            QCOMPARE(std::pair(scroll.PixelsPerSpeedTwips, scroll.PixelsPerSpeed()),
                     std::pair(storedTwips, readBack));
            for (int i = 0; i < 12; ++i)
                scroll.SetPixelsPerSpeed(0);
            QCOMPARE(scroll.PixelsPerSpeedTwips, std::numeric_limits<qint32>::max());
        }
    }

    // The text and two controls fit with room to spare; the height divisor stays 15 at any twips per pixel.
    void pictureStripes()
    {
        for (const auto &[twips, textPx, stripes, controlHeightPx] :
             {std::tuple{15.0, 0, 1, 30}, {15.0, 200, 2, 30}, {15.0, 2000, 4, 30}, {12.0, 100, 1, 24}}) {
            Layout layout;
            const ScrollArithmetic scroll = strip(textPx, 300, twips, &layout);
            QCOMPARE(std::tuple(layout.Stripes, scroll.ControlHeightPx, layout.TextRect.topLeft()),
                     std::tuple(stripes, controlHeightPx, QPoint(300, 0)));
        }
        // No screen measured yet: one stripe, and nothing divided by its width.
        ScrollArithmetic unmeasured;
        QCOMPARE(unmeasured.WriteText(300 * 15.0, 300 * 15.0, 450, true).Stripes, 1);
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
        QCOMPARE(std::tuple(result.Displayed, result.Looped, scroll.ScrollX), std::tuple(true, true, 0));

        // Half to even: 2.5 and 4.5 pixels are 2 and 4, 7 together; a step of 2.5 lands on 2 from 0, 4
        // from 1.
        scroll = strip(2.5, 4.5, 10);
        QCOMPARE(std::pair(scroll.TextWidthPx, scroll.LoopEnd), std::pair(2, 7));
        scroll.PixelsPerSpeedTwips = 25;
        scroll.Tick();
        const int fromZero = std::exchange(scroll.ScrollX, 1);
        scroll.Tick();
        QCOMPARE(std::pair(fromZero, scroll.ScrollX), std::pair(2, 4));
    }

    // A monitor right of another places by its own edges; a banner past a vanished monitor's comes back.
    void placementOnAMonitorAwayFromTheOrigin()
    {
        const QRect right(800, 0, 480, 800), left(0, 0, 800, 800);
        const QSize window(260, 20);
        using namespace BannerPlacement;
        QCOMPARE((QList<QPoint>{Place(right, window, 0, 0, {5, 5}), Place(right, window, 1, 1, {5, 5}),
                                Place(right, window, 2, 1, {5, 5}), Place(right, window, 7, 7, {5, 5}),
                                KeepInView(left, window, {1020, 790}), KeepInView(left, window, {10, 10}),
                                KeepInView(QRect(0, 0, 200, 10), window, {10, 10})}),
                 (QList<QPoint>{{800, 0}, {910, 780}, {1020, 780}, {5, 5}, {540, 780}, {10, 10}, {0, 0}}));
    }
};

QTEST_GUILESS_MAIN(TestScrolling)
#include "tst_scrolling.moc"
