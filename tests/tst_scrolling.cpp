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
    void passes_data()
    {
        QTest::addColumn<int>("textPx");
        QTest::addColumn<bool>("badStep");
        QTest::addColumn<QStringList>("events");
        // Two pixels a tick: an empty text is displayed at once.
        QTest::newRow("empty text") << 0 << false << QStringList{u"D1"_s, u"L10"_s};
        QTest::newRow("short text") << 10 << false << QStringList{u"D5"_s, u"L15"_s};
        // A bad step value turns 2 pixels into 30: both events in one tick, in order.
        QTest::newRow("large step") << 10 << true << QStringList{u"D1"_s, u"L1"_s};
    }

    void passes()
    {
        QFETCH(int, textPx);
        QFETCH(bool, badStep);
        QFETCH(QStringList, events);
        ScrollArithmetic scroll = strip(textPx, 20);
        if (badStep)
            scroll.SetPixelsPerSpeed(0);
        // Displayed once in each pass, and again after Looped.
        QCOMPARE(pass(scroll), events);
        QCOMPARE(scroll.ScrollX, 0);
        QCOMPARE(pass(scroll), events);
    }

    void speedSetsTheInterval_data()
    {
        QTest::addColumn<int>("speed");
        QTest::addColumn<int>("kept");
        QTest::addColumn<int>("interval");
        QTest::newRow("0 ignored") << 0 << 8 << 125;
        QTest::newRow("3") << 3 << 3 << 333;
        QTest::newRow("16, a tie to even") << 16 << 16 << 62;
        QTest::newRow("101 ignored") << 101 << 8 << 125;
    }

    void speedSetsTheInterval()
    {
        QFETCH(int, speed);
        QFETCH(int, kept);
        QFETCH(int, interval);
        ScrollArithmetic scroll;
        QCOMPARE(scroll.SetSpeed(speed), speed == kept);
        QCOMPARE(scroll.Speed, kept);
        QCOMPARE(scroll.TimerIntervalMs(), interval);
    }

    void pixelsPerSpeed_data()
    {
        QTest::addColumn<double>("twipsPerPixel");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("storedTwips");
        QTest::addColumn<int>("readBack");
        QTest::newRow("20") << 15.0 << 20 << 300 << 20;
        QTest::newRow("21 multiplies the present 30 again") << 15.0 << 21 << 450 << 30;
        QTest::newRow("bad at 12 twips a pixel") << 12.0 << -1 << 360 << 30;
    }

    void pixelsPerSpeed()
    {
        QFETCH(double, twipsPerPixel);
        QFETCH(int, value);
        QFETCH(int, storedTwips);
        QFETCH(int, readBack);
        ScrollArithmetic scroll(twipsPerPixel, twipsPerPixel);
        scroll.SetPixelsPerSpeed(value);
        QCOMPARE(scroll.PixelsPerSpeedTwips, storedTwips);
        QCOMPARE(scroll.PixelsPerSpeed(), readBack);
        // Repeated bad values saturate instead of overflowing.
        for (int i = 0; i < 12; ++i)
            scroll.SetPixelsPerSpeed(0);
        QCOMPARE(scroll.PixelsPerSpeedTwips, std::numeric_limits<qint32>::max());
    }

    void pictureStripes_data()
    {
        QTest::addColumn<double>("twipsPerPixel");
        QTest::addColumn<int>("textPx");
        QTest::addColumn<int>("stripes");
        QTest::addColumn<int>("controlHeightPx");
        // Screen of 800 pixels, control 300 wide: text and two controls must fit with room to spare.
        QTest::newRow("empty text") << 15.0 << 0 << 1 << 30;
        QTest::newRow("needed exactly a screen") << 15.0 << 200 << 2 << 30;
        QTest::newRow("text wider than the screen") << 15.0 << 2000 << 4 << 30;
        // The height divisor stays 15 whatever the screen's twips per pixel.
        QTest::newRow("at 12 twips a pixel") << 12.0 << 100 << 1 << 24;
    }

    void pictureStripes()
    {
        QFETCH(double, twipsPerPixel);
        QFETCH(int, textPx);
        QFETCH(int, stripes);
        QFETCH(int, controlHeightPx);
        ScrollArithmetic scroll(twipsPerPixel, twipsPerPixel);
        scroll.ScreenWidthPx = 800;
        const ScrollArithmetic::TextLayout layout =
            scroll.WriteText(textPx * twipsPerPixel, 300 * twipsPerPixel, 30 * twipsPerPixel, true);
        QCOMPARE(layout.Stripes, stripes);
        QCOMPARE(scroll.ControlHeightPx, controlHeightPx);
        QCOMPARE(layout.TextRect.topLeft(), QPoint(300, 0));
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
};

QTEST_GUILESS_MAIN(TestScrolling)
#include "tst_scrolling.moc"
