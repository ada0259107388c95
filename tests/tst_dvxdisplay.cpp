#include "banner/LevelSample.h"
#include "banner/SystemColor.h"
#include "banner/dvxDisplay.h"
#include "banner/frmBanner.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "support/TempProfile.h"

#include <QAction>
#include <QApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>

#include <memory>

namespace {

constexpr quint32 White = 0x00FFFFFF;
constexpr quint32 Red = 0x000000FF; // blue-green-red numbers
constexpr quint32 Blue = 0x00FF0000;

// Without antialiasing every pixel is exactly one of the colours drawn.
QFont sharpFont(int pointSize = 14)
{
    QFont font(QStringLiteral("DejaVu Sans"), pointSize);
    font.setStyleStrategy(QFont::NoAntialias);
    return font;
}

QImage rgb(const QPixmap &pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_RGB32);
}

QRgb rgbOf(quint32 color)
{
    return ResolveColor(color).rgb();
}

// Pixels that break the rule "text wins, else the shadow one pixel right and below, else
// background", from a render without the shadow and one with it.
int shadowMismatches(const QImage &plain, const QImage &shadowed, QRgb fore, QRgb shadow, QRgb back)
{
    int mismatches = 0;
    for (int y = 0; y < plain.height(); ++y) {
        for (int x = 0; x < plain.width(); ++x) {
            const bool text = plain.pixel(x, y) == fore;
            const bool underShadow = x > 0 && y > 0 && plain.pixel(x - 1, y - 1) == fore;
            const QRgb expected = text ? fore : underShadow ? shadow : back;
            if (shadowed.pixel(x, y) != expected)
                ++mismatches;
        }
    }
    return mismatches;
}

QRect boundsOf(const QImage &image, QRgb color)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == color)
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}

} // namespace

class TestDvxDisplay : public QObject
{
    Q_OBJECT

private:
    // Set up as the banner does, with the timer held so that only driven ticks move the text.
    static void writeStill(dvxDisplay &display, const QString &text, bool shadow = true)
    {
        display.resize(300, 10);
        display.SetFont(sharpFont());
        display.SetBackColor(White);
        display.SetForeColor(Red);
        display.SetShadowColor(Blue);
        display.ShowShadow = shadow;
        display.SetText(text);
        display.WriteText(true);
        display.Timer1->stop();
    }

    // A banner as the client makes it, its first message of the run on show.
    static std::unique_ptr<frmBanner> firstBanner(const TempProfile &profile, int horizontal, int vertical,
                                                  int pointSize)
    {
        gProcess().AppDataPath = profile.dataHome();
        InitializeDB(profile.dataHome());
        ClientDB().exec(QStringLiteral("INSERT INTO Levels (LevelName, SoundType) VALUES ('Urgent', 0)"));
        gOptions().HorizontalPosition = horizontal;
        gOptions().VerticalPosition = vertical;
        gOptions().Font.Size = pointSize;
        auto banner = std::make_unique<frmBanner>(DisplayQueue::Hooks{});
        DVMessage message;
        message.MsgID = QStringLiteral("A");
        message.MsgLevel = QStringLiteral("Urgent");
        message.Message = QStringLiteral("Fire drill at noon in the east wing");
        banner->queue().AddMessageToDisplay(message);
        return banner;
    }

private Q_SLOTS:
    void firstBannerIsWhollyOnScreen_data()
    {
        QTest::addColumn<int>("horizontal");
        QTest::addColumn<int>("vertical");
        QTest::addColumn<int>("pointSize");
        for (int horizontal : {0, 1, 2})
            for (int vertical : {0, 1})
                for (int pointSize : {8, 28})
                    QTest::addRow("%s %s %d pt",
                                  horizontal == 0   ? "left"
                                  : horizontal == 1 ? "middle"
                                                    : "right",
                                  vertical == 0 ? "top" : "bottom", pointSize)
                        << horizontal << vertical << pointSize;
    }

    void firstBannerIsWhollyOnScreen()
    {
        QFETCH(int, horizontal);
        QFETCH(int, vertical);
        QFETCH(int, pointSize);
        TempProfile profile;
        auto banner = firstBanner(profile, horizontal, vertical, pointSize);
        QVERIFY(QTest::qWaitForWindowExposed(banner.get()));
        const QRect screen = banner->screen()->geometry();
        const QRect shown = banner->frameGeometry();
        QVERIFY2(screen.contains(shown), qPrintable(QStringLiteral("%1,%2 %3x%4")
                                                        .arg(shown.x())
                                                        .arg(shown.y())
                                                        .arg(shown.width())
                                                        .arg(shown.height())));
        QCOMPARE(shown.size(), banner->display()->size() + QSize(banner->acknowledgeButton()->width(), 0));
        if (horizontal == 2)
            QCOMPARE(shown.right(), screen.right());
        if (vertical == 1)
            QCOMPARE(shown.bottom(), screen.bottom());
        // The button waits for the text to pass; the menu acknowledges at once.
        QVERIFY(!banner->acknowledgeButton()->isEnabled());
        QVERIFY(banner->acknowledgeAction()->isEnabled());
        banner.reset();
        ClientDB().close();
        TempDB().close();
    }

    void tipsShowOnTheInactiveBanner()
    {
        TempProfile profile;
        auto banner = firstBanner(profile, 0, 0, 12);
        // The reader works in another window: the banner never takes the keyboard from it.
        QWidget elsewhere;
        elsewhere.move(0, 400);
        elsewhere.show();
        elsewhere.activateWindow();
        QTRY_VERIFY(elsewhere.isActiveWindow());
        QVERIFY(!banner->isActiveWindow());
        dvxDisplay *display = banner->display();
        QTest::mouseMove(display->Picture1, QPoint(10, 5));
        QTRY_COMPARE(QToolTip::text(), QStringLiteral("Fire drill at noon in the east wing"));
        QTest::mouseMove(display->cmdDetails, QPoint(3, 3));
        QTRY_COMPARE(QToolTip::text(), display->cmdDetails->toolTip());
        banner.reset();
        ClientDB().close();
        TempDB().close();
    }

    void writeTextDrawsTextAndShadowOnce()
    {
        dvxDisplay display;
        writeStill(display, QStringLiteral("Hello"), false);
        const QImage plain = rgb(display.Picture2());
        writeStill(display, QStringLiteral("Hello"), true);
        const QImage shadowed = rgb(display.Picture2());

        const ScrollArithmetic &scroll = display.Scroll();
        QCOMPARE(scroll.ControlWidthPx, 300);
        QCOMPARE(display.Picture2().width() % scroll.ScreenWidthPx, 0);
        QVERIFY(display.Picture2().width() > scroll.TextWidthPx + 2 * scroll.ControlWidthPx);

        // The text starts one control width in, so that it enters from the right edge.
        const QRect text = boundsOf(plain, rgbOf(Red));
        QVERIFY(!text.isEmpty());
        QVERIFY(text.left() >= 300);
        QVERIFY(text.left() <= 302);
        QVERIFY(text.right() < 300 + scroll.TextWidthPx);
        QCOMPARE(shadowMismatches(plain, shadowed, rgbOf(Red), rgbOf(Blue), rgbOf(White)), 0);
        QCOMPARE(display.ToolTipText(), QStringLiteral("Hello"));
    }

    void ampersandUnderlinesButIsMeasured()
    {
        dvxDisplay display;
        writeStill(display, QStringLiteral("A&B"));
        const QImage mnemonic = rgb(display.Picture2());
        QCOMPARE(display.Scroll().TextWidthPx,
                 QFontMetrics(sharpFont()).horizontalAdvance(QStringLiteral("A&B")));
        writeStill(display, QStringLiteral("AB"));
        const QImage plain = rgb(display.Picture2());
        // Same letters in the same places, the ampersand not drawn, an underline below them.
        const QRect letters = boundsOf(plain, rgbOf(Red));
        const QRect aboveUnderline(0, 0, plain.width(), letters.bottom() + 1);
        QCOMPARE(mnemonic.copy(aboveUnderline), plain.copy(aboveUnderline));
        QVERIFY(boundsOf(mnemonic, rgbOf(Red)).bottom() > letters.bottom());
    }

    void tickCopiesTheBlockAtScrollX()
    {
        dvxDisplay display;
        writeStill(display, QStringLiteral("Hello world"));
        const QRect strip = display.Picture1->geometry();

        // Cleared until the first tick.
        QImage shown = rgb(display.grab(strip));
        QCOMPARE(boundsOf(shown, rgbOf(White)), QRect(QPoint(0, 0), strip.size()));

        for (int i = 0; i < 100; ++i)
            display.Timer1_Timer();
        const int x = display.Scroll().ScrollX;
        QCOMPARE(x, 200);
        shown = rgb(display.grab(strip));
        const QImage expected = rgb(display.Picture2()).copy(x, 0, strip.width(), strip.height());
        QVERIFY(!boundsOf(expected, rgbOf(Red)).isEmpty());
        QCOMPARE(shown, expected);
    }

    void ticksRaiseDisplayedThenLooped()
    {
        dvxDisplay display;
        writeStill(display, QStringLiteral("Hello"));
        QSignalSpy displayed(&display, &dvxDisplay::Displayed);
        QSignalSpy looped(&display, &dvxDisplay::Looped);
        QSignalSpy changed(&display, &dvxDisplay::Change);
        QStringList order;
        connect(&display, &dvxDisplay::Displayed, &display, [&] { order << QStringLiteral("Displayed"); });
        // The banner answers Looped with the next text, from inside the tick.
        connect(&display, &dvxDisplay::Looped, &display, [&] {
            order << QStringLiteral("Looped");
            display.SetText(QStringLiteral("Next"));
            display.WriteText(true);
        });

        const int loopEnd = display.Scroll().LoopEnd;
        int ticks = 0;
        while (looped.isEmpty() && ticks < 10000) {
            display.Timer1_Timer();
            ++ticks;
        }
        QCOMPARE(ticks, (loopEnd + 1) / 2);
        QCOMPARE(order, (QStringList{QStringLiteral("Displayed"), QStringLiteral("Looped")}));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(display.Scroll().ScrollX, 0);
        QVERIFY(display.Timer1->isActive());

        // Disabling holds the scroll where it is; WriteText starts the timer regardless.
        display.Timer1_Timer();
        display.SetEnabled(false);
        QVERIFY(!display.Timer1->isActive());
        QCOMPARE(display.Scroll().ScrollX, 2);
        display.WriteText(false);
        QVERIFY(display.Timer1->isActive());
        QCOMPARE(display.Scroll().ScrollX, 2);
        display.Cls();
        QVERIFY(!display.Timer1->isActive());
    }

    void buttonsRaiseTheirEvents()
    {
        dvxDisplay display;
        QSignalSpy details(&display, &dvxDisplay::Details);
        QSignalSpy reply(&display, &dvxDisplay::Reply);
        QSignalSpy dblClick(&display, &dvxDisplay::DblClick);
        const auto counts = [&] {
            return QList<int>{int(details.size()), int(reply.size()), int(dblClick.size())};
        };
        display.cmdDetails->click();
        display.cmdReply->click();
        QCOMPARE(counts(), (QList<int>{1, 1, 0}));
        // The link button has no event of its own.
        display.cmdLink->click();
        QCOMPARE(counts(), (QList<int>{1, 1, 1}));
        display.SetLinkEnabled(false);
        display.cmdLink->click();
        QCOMPARE(counts(), (QList<int>{1, 1, 1}));
    }

    void pointerEventsCarryButtonShiftAndTwips_data()
    {
        QTest::addColumn<bool>("onStrip");
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("buttonCode");
        QTest::addColumn<int>("shiftCode");
        QTest::addColumn<int>("clicks");
        QTest::newRow("strip left") << true << int(Qt::LeftButton) << 0 << 1 << 0 << 1;
        QTest::newRow("strip right with shift")
            << true << int(Qt::RightButton) << int(Qt::ShiftModifier) << 2 << 1 << 0;
        QTest::newRow("strip middle with ctrl and alt")
            << true << int(Qt::MiddleButton) << int(Qt::ControlModifier | Qt::AltModifier) << 4 << 6 << 0;
        QTest::newRow("caption right with ctrl")
            << false << int(Qt::RightButton) << int(Qt::ControlModifier) << 2 << 2 << 0;
    }

    void pointerEventsCarryButtonShiftAndTwips()
    {
        QFETCH(bool, onStrip);
        QFETCH(int, button);
        QFETCH(int, modifiers);
        QFETCH(int, buttonCode);
        QFETCH(int, shiftCode);
        QFETCH(int, clicks);
        dvxDisplay display;
        display.resize(300, 10);
        display.SetFromInfo(QStringLiteral("Urgent from Ann Lee - 1/2/2024 10:00:00"));
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.Timer1->stop();
        QSignalSpy down(&display, &dvxDisplay::MouseDown);
        QSignalSpy up(&display, &dvxDisplay::MouseUp);
        QSignalSpy click(&display, &dvxDisplay::Click);
        QWidget *source = onStrip ? display.Picture1 : static_cast<QWidget *>(display.lblFrom);

        const QPoint at(3, 4);
        QTest::mouseClick(source, Qt::MouseButton(button), Qt::KeyboardModifiers(modifiers), at);
        const double tx = display.Scroll().TwipsPerPixelX;
        const double ty = display.Scroll().TwipsPerPixelY;
        const QVariantList expected{buttonCode, shiftCode, 3 * tx, 4 * ty};
        QCOMPARE(down.size(), 1);
        QCOMPARE(down.first(), expected);
        QCOMPARE(up.size(), 1);
        QCOMPARE(up.first(), expected);
        QCOMPARE(click.size(), clicks);
    }

    void doubleClickOnTheStrip()
    {
        dvxDisplay display;
        display.resize(300, 10);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.Timer1->stop();
        QSignalSpy down(&display, &dvxDisplay::MouseDown);
        QSignalSpy click(&display, &dvxDisplay::Click);
        QSignalSpy dblClick(&display, &dvxDisplay::DblClick);
        QTest::mouseClick(display.Picture1, Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mouseDClick(display.Picture1, Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(dblClick.size(), 1);
        // The second press is the double click alone, and its release is no click.
        QCOMPARE(down.size(), 1);
        QCOMPARE(click.size(), 1);
    }

    void heightFollowsTheFont_data()
    {
        QTest::addColumn<int>("pointSize");
        QTest::addColumn<int>("borderStyle");
        QTest::newRow("8 pt") << 8 << 0;
        QTest::newRow("24 pt") << 24 << 0;
        QTest::newRow("24 pt with a border") << 24 << 1;
    }

    void heightFollowsTheFont()
    {
        QFETCH(int, pointSize);
        QFETCH(int, borderStyle);
        dvxDisplay display;
        QSignalSpy resized(&display, &dvxDisplay::Resize);
        display.SetFont(sharpFont(pointSize));
        display.SetBorderStyle(borderStyle);
        display.resize(400, 500); // the owner's height does not hold
        display.WriteText(true);
        QVERIFY(!resized.isEmpty());

        const double tpp = display.Scroll().TwipsPerPixelY;
        const int strip = ScrollArithmetic::Round(QFontMetrics(sharpFont(pointSize)).height() * tpp * 1.2 +
                                                  borderStyle * 60);
        QCOMPARE(display.width(), 400);
        QCOMPARE(display.height(), ScrollArithmetic::Round((240 + strip + 30) / tpp));
        QCOMPARE(display.Picture1->height(), ScrollArithmetic::Round((strip + 15) / tpp));
        QCOMPARE(display.lblFrom->y(), display.Picture1->height());
    }

    void persistedProperties()
    {
        dvxDisplay display;
        // Name and size are written against defaults of their own, so they are always stored.
        QCOMPARE(display.WriteProperties().keys(),
                 (QStringList{QStringLiteral("FontName"), QStringLiteral("FontSize")}));

        display.ReadProperties({});
        QCOMPARE(display.FontName(), QStringLiteral("MS Sans Serif"));
        QCOMPARE(display.FontSize(), 8.25);
        QCOMPARE(display.ToolTipText(), QStringLiteral("Test"));
        QCOMPARE(display.BackColor(), dvxDisplay::WindowBackground);

        // Loading skips the writers' range checks.
        display.ReadProperties({{QStringLiteral("Speed"), 500}, {QStringLiteral("PixelsPerSpeed"), 7}});
        QCOMPARE(display.Speed(), 500);
        QCOMPARE(display.Timer1->interval(), 2);
        QCOMPARE(display.Scroll().PixelsPerSpeedTwips, 7);

        display.SetSpeed(20);
        dvxDisplay loaded;
        loaded.ReadProperties(display.WriteProperties());
        QCOMPARE(loaded.Speed(), 20);
        QCOMPARE(loaded.Timer1->interval(), 50);
    }

    void resolvesStoredColours_data()
    {
        QTest::addColumn<quint32>("value");
        QTest::addColumn<QColor>("color");
        QTest::newRow("red") << quint32(0x000000FF) << QColor(255, 0, 0);
        QTest::newRow("blue") << quint32(0x00FF0000) << QColor(0, 0, 255);
        QTest::newRow("mixed") << quint32(0x00123456) << QColor(0x56, 0x34, 0x12);
        QTest::newRow("window background")
            << quint32(0x80000005) << QApplication::palette().color(QPalette::Base);
        QTest::newRow("window text") << quint32(0x80000008)
                                     << QApplication::palette().color(QPalette::WindowText);
        QTest::newRow("unknown index") << quint32(0x800000F0) << QColor(Qt::black);
    }

    void resolvesStoredColours()
    {
        QFETCH(quint32, value);
        QFETCH(QColor, color);
        QCOMPARE(ResolveColor(value), color);
    }

    void levelSampleCentresTheText()
    {
        QImage image(200, 100, QImage::Format_RGB32);
        const auto glyphIn = [&image](const QRect &rect, bool shadow) {
            image.fill(Qt::black);
            QPainter painter(&image);
            painter.setFont(sharpFont());
            DrawLevelSample(painter, rect, QStringLiteral("X"), 0x80000005, Red, Blue, shadow);
            painter.end();
            return boundsOf(image, rgbOf(Red));
        };
        const QRect small = glyphIn(QRect(10, 10, 100, 40), false);
        QVERIFY(boundsOf(image, rgbOf(Blue)).isEmpty());
        QCOMPARE(image.pixel(10, 10), rgbOf(0x80000005));
        QCOMPARE(image.pixel(9, 9), qRgb(0, 0, 0));
        // Twenty pixels more each way move the centred text by ten, the shadow drawn under it.
        const QRect large = glyphIn(QRect(10, 10, 120, 60), true);
        QCOMPARE(large.size(), small.size());
        QVERIFY(qAbs(large.left() - small.left() - 10) <= 1);
        QVERIFY(qAbs(large.top() - small.top() - 10) <= 1);
        QVERIFY(!boundsOf(image, rgbOf(Blue)).isEmpty());
    }

    void levelSampleDrawsAmpersandAsItStands()
    {
        const QRect rect(0, 0, 120, 40);
        const auto render = [&rect](auto draw) {
            QImage image(rect.size(), QImage::Format_RGB32);
            QPainter painter(&image);
            painter.setFont(sharpFont());
            painter.fillRect(rect, Qt::white);
            painter.setPen(Qt::red);
            draw(painter);
            return image;
        };
        const QString text = QStringLiteral("A&B");
        const QImage sample =
            render([&](QPainter &p) { DrawLevelSample(p, rect, text, White, Red, Blue, false); });
        const QImage literal =
            render([&](QPainter &p) { p.drawText(rect.adjusted(0, 0, -1, -1), Qt::AlignCenter, text); });
        const QImage mnemonic = render([&](QPainter &p) {
            p.drawText(rect.adjusted(0, 0, -1, -1), Qt::AlignCenter | Qt::TextShowMnemonic, text);
        });
        QVERIFY(literal != mnemonic);
        QCOMPARE(sample, literal);
    }
};

QTEST_MAIN(TestDvxDisplay)
#include "tst_dvxdisplay.moc"
