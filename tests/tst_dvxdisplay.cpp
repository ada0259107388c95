#include "banner/dvxDisplay.h"
#include "banner/frmBanner.h"
#include "core/Options.h"
#include "e2e/DesktopSession.h"
#include "support/StoreFixture.h"
#include "ui/LevelSample.h"
#include "ui/SystemColor.h"

#include <QAbstractNativeEventFilter>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>

#include <memory>
#include <xcb/res.h>

using namespace Qt::StringLiterals;

constexpr quint32 White = 0x00FFFFFF, Red = 0x000000FF, Blue = 0x00FF0000; // blue-green-red numbers

// Counts the paint events a widget receives.
struct PaintCounter : QObject
{
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

// Notes each error the X server answers a request of this connection with.
struct XErrors : QAbstractNativeEventFilter
{
    QStringList seen;
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_generic_error_t *>(message);
        if (type == "xcb_generic_event_t" && event->response_type == 0)
            seen << u"error %1 on %2"_s.arg(event->error_code).arg(event->resource_id);
        return false;
    }
};

class TestDvxDisplay : public QObject
{
    Q_OBJECT

private:
    static QImage rgb(const QPixmap &p) { return p.toImage().convertToFormat(QImage::Format_RGB32); }
    static QRgb rgbOf(quint32 color) { return ResolveColor(color).rgb(); }

    // Without antialiasing every pixel is exactly one of the colours drawn.
    static QFont sharpFont(int pointSize = 14)
    {
        QFont font(u"DejaVu Sans"_s, pointSize);
        font.setStyleStrategy(QFont::NoAntialias);
        return font;
    }

    static QRect boundsOf(const QImage &image, QRgb color)
    {
        QRect bounds;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) == color)
                    bounds |= QRect(x, y, 1, 1);
        return bounds;
    }

    static QImage blockOf(const dvxDisplay &display, qreal ratio, const QSize &size)
    {
        return rgb(display.Picture2()).copy(QRect(QPoint(qRound(display.Scroll().ScrollX * ratio), 0), size));
    }

    // Set up as the banner does, the timer held so that only driven ticks move the text.
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

    // On screen, held still after the start that showing it makes.
    static bool showStill(dvxDisplay &display)
    {
        display.move(100, 100);
        writeStill(display, u"Hello world"_s);
        display.show();
        const bool exposed = QTest::qWaitForWindowExposed(&display);
        display.Timer1->stop();
        return exposed;
    }

    static std::unique_ptr<frmBanner> firstBanner(int horizontal, int vertical, int pointSize)
    {
        ClientDB().exec(u"INSERT INTO Levels (LevelName, SoundType) VALUES ('Urgent', 0)"_s);
        std::tie(gOptions().HorizontalPosition, gOptions().VerticalPosition, gOptions().Font.Size) =
            std::tuple{horizontal, vertical, pointSize};
        auto banner = std::make_unique<frmBanner>(DisplayQueue::Hooks{});
        DVMessage message;
        std::tie(message.MsgID, message.MsgLevel, message.Message) =
            std::tuple{u"A"_s, u"Urgent"_s, u"Fire drill at noon in the east wing"_s};
        banner->queue().AddMessageToDisplay(message);
        return banner;
    }

    // Each kind of resource this connection holds on the X server, by the kind's name.
    static QMap<QString, int> heldOnServer(xcb_connection_t *connection, quint32 resource)
    {
        QMap<QString, int> held;
        std::unique_ptr<xcb_res_query_client_resources_reply_t, decltype(&free)> reply(
            xcb_res_query_client_resources_reply(
                connection, xcb_res_query_client_resources(connection, resource), nullptr),
            &free);
        if (!reply)
            return held;
        for (auto it = xcb_res_query_client_resources_types_iterator(reply.get()); it.rem;
             xcb_res_type_next(&it)) {
            std::unique_ptr<xcb_get_atom_name_reply_t, decltype(&free)> name(
                xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, it.data->resource_type),
                                        nullptr),
                &free);
            if (name)
                held.insert(QString::fromLatin1(xcb_get_atom_name_name(name.get()),
                                                xcb_get_atom_name_name_length(name.get())),
                            int(it.data->count));
        }
        return held;
    }

public:
    Q_INVOKABLE void openedByDesktop(const QUrl &url) { m_opened << url; }

private:
    QList<QUrl> m_opened;

private Q_SLOTS:
    // The banner looks like what it holds: a link as a link, a reply only where one is allowed. Every
    // way in reaches the message shown: the menu's items, the strip's buttons and the acknowledge button.
    void bannerLooksAndWaysIn()
    {
        StoreFixture store;
        ClientDB().exec(u"INSERT INTO Levels (LevelName, SoundType) VALUES ('Urgent', 0)"_s);
        QStringList sent;
        frmBanner banner(DisplayQueue::Hooks{{}, {}, [&sent](const QString &payload) {
                                                 sent << payload.left(3);
                                                 return true;
                                             }});
        QSignalSpy viewed(&banner, &frmBanner::viewMessageRequested);
        const QList<QAction *> items = banner.findChild<QMenu *>()->actions();
        const auto item = [&items](const QString &text) {
            return *std::find_if(items.begin(), items.end(),
                                 [&text](QAction *a) { return a->text() == text; });
        };
        dvxDisplay *display = banner.display();
        const auto show = [&](const QString &id, bool linkAndReply) {
            DVMessage m;
            std::tie(m.MsgID, m.MsgLevel, m.Message, m.ReceiptRequired, m.AllowReply, m.Attachment) =
                std::tuple(id, u"Urgent"_s, u"Text of "_s + id, true, linkAndReply,
                           linkAndReply ? u"https://intranet/"_s + id : QString());
            banner.queue().AddMessageToDisplay(m);
            return QList<bool>{display->cmdLink->isEnabled(),
                               display->cmdReply->isEnabled(),
                               item(u"Open the Attachment"_s)->isVisible(),
                               item(u"Reply to sender"_s)->isVisible(),
                               item(u"Reply to All"_s)->isVisible(),
                               display->Picture1->cursor().shape() == Qt::PointingHandCursor,
                               display->FontUnderline()};
        };
        QCOMPARE(show(u"A"_s, false), QList<bool>(7, false));
        item(u"Acknowledge"_s)->trigger();
        QCOMPARE(show(u"B"_s, true), QList<bool>(7, true));
        QDesktopServices::setUrlHandler(u"https"_s, this, "openedByDesktop");
        item(u"Open the Attachment"_s)->trigger();
        display->cmdLink->click();
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QCOMPARE(m_opened, QList<QUrl>(2, QUrl(u"https://intranet/B"_s)));
        display->cmdDetails->click();
        item(u"View message properties"_s)->trigger();
        QCOMPARE(viewed.size(), 2);
        QCOMPARE(viewed.last().first().value<DVMessage>().MsgID, u"B"_s);
        item(u"Reply to sender"_s)->trigger();
        show(u"C"_s, true);
        display->cmdReply->click();
        show(u"D"_s, true);
        item(u"Reply to All"_s)->trigger();
        show(u"E"_s, false);
        // The button waits for the text to pass.
        for (int tick = 0; tick < 10000 && !banner.acknowledgeButton()->isEnabled(); ++tick)
            display->Timer1_Timer();
        // After a change of screens the strip is half the screen again, its text going on where it was.
        const int half = display->width(), scrolled = display->Scroll().ScrollX;
        display->resize(half - 50, display->height());
        banner.FollowScreens();
        QCOMPARE(std::pair(display->width(), display->Scroll().ScrollX), std::pair(half, scrolled));
        banner.acknowledgeButton()->click();
        QCOMPARE(sent, (QStringList{u"RCP"_s, u"RCP"_s, u"RID"_s, u"RCP"_s, u"RID"_s, u"RCP"_s, u"RAL"_s,
                                    u"RCP"_s}));
        QVERIFY(!banner.isVisible() && banner.queue().colDisplayMessages().isEmpty());
    }

    void firstBannerIsWhollyOnScreen()
    {
        for (int horizontal : {0, 1, 2})
            for (int vertical : {0, 1})
                for (int pointSize : {8, 28}) {
                    StoreFixture store;
                    auto banner = firstBanner(horizontal, vertical, pointSize);
                    QVERIFY(QTest::qWaitForWindowExposed(banner.get()));
                    const QRect screen = banner->screen()->geometry(), shown = banner->frameGeometry();
                    const QToolButton *ok = banner->acknowledgeButton();
                    QVERIFY(screen.contains(shown));
                    QCOMPARE(shown.size(), banner->display()->size() + QSize(ok->width(), 0));
                    QVERIFY(horizontal != 2 || shown.right() == screen.right());
                    QVERIFY(vertical != 1 || shown.bottom() == screen.bottom());
                    // The button waits for the text to pass; the menu acknowledges at once.
                    QVERIFY(!ok->isEnabled() && banner->acknowledgeAction()->isEnabled());
                    for (qreal ratio : {1.0, 2.0})
                        QCOMPARE(ok->icon().pixmap(ok->iconSize(), ratio).size(), ok->iconSize() * ratio);
                }
    }

    // Tips show on the inactive banner, and screen readers hear the strip as an alert with its text.
    void tipsAndScreenReaders()
    {
        StoreFixture store;
        auto banner = firstBanner(0, 0, 12);
        // The reader works in another window: the banner never takes the keyboard from it.
        QWidget elsewhere;
        elsewhere.move(0, 400);
        elsewhere.show();
        elsewhere.activateWindow();
        QTRY_VERIFY(elsewhere.isActiveWindow());
        QVERIFY(!banner->isActiveWindow());
        dvxDisplay *display = banner->display();
        QTest::mouseMove(display->Picture1, QPoint(10, 5));
        QTRY_COMPARE(QToolTip::text(), u"Fire drill at noon in the east wing"_s);
        QTest::mouseMove(display->cmdDetails, QPoint(3, 3));
        QTRY_COMPARE(QToolTip::text(), display->cmdDetails->toolTip());
        QAccessibleInterface *strip = QAccessible::queryAccessibleInterface(display);
        QVERIFY(strip && !strip->text(QAccessible::Description).isEmpty());
        QCOMPARE(std::pair(strip->role(), strip->text(QAccessible::Name)),
                 std::pair(QAccessible::AlertMessage, u"Fire drill at noon in the east wing"_s));
    }

    // Text wins, else the shadow one pixel right and below; an ampersand is measured, drawn as an underline.
    void writeTextDrawsTextAndShadowOnce()
    {
        dvxDisplay display;
        writeStill(display, u"AB"_s, false);
        const QImage plain = rgb(display.Picture2());
        QImage expected = plain;
        const QRgb red = rgbOf(Red);
        for (int y = 0; y < plain.height(); ++y)
            for (int x = 0; x < plain.width(); ++x)
                expected.setPixel(x, y,
                                  plain.pixel(x, y) == red                     ? red
                                  : x && y && plain.pixel(x - 1, y - 1) == red ? rgbOf(Blue)
                                                                               : rgbOf(White));
        writeStill(display, u"AB"_s, true);
        QCOMPARE(rgb(display.Picture2()), expected);
        // One control width in, so that it enters from the right edge.
        const QRect letters = boundsOf(plain, rgbOf(Red));
        QVERIFY(letters.left() >= 300 && letters.left() <= 302);

        writeStill(display, u"A&B"_s, false);
        const QImage mnemonic = rgb(display.Picture2());
        QCOMPARE(display.Scroll().TextWidthPx, QFontMetrics(sharpFont()).horizontalAdvance(u"A&B"_s));
        const QRect aboveUnderline(0, 0, plain.width(), letters.bottom() + 1);
        QCOMPARE(mnemonic.copy(aboveUnderline), plain.copy(aboveUnderline));
        QVERIFY(boundsOf(mnemonic, rgbOf(Red)).bottom() > letters.bottom());
    }

    // At the screen's own density: CTest runs this once more under QT_SCALE_FACTOR=2.
    void stripIsThePictureDevicePixelForDevicePixel()
    {
        dvxDisplay display;
        writeStill(display, u"Hello world"_s);
        const QRect strip = display.Picture1->geometry();
        const qreal ratio = display.devicePixelRatioF();
        QCOMPARE(display.Picture2().devicePixelRatio(), ratio);
        // Cleared until the first tick.
        QImage shown = rgb(display.grab(strip));
        QCOMPARE(boundsOf(shown, rgbOf(White)), QRect(QPoint(0, 0), shown.size()));
        // Then the block at ScrollX as it is in the picture, not an enlarged or smoothed copy.
        for (int i = 0; i < 100; ++i)
            display.Timer1_Timer();
        shown = rgb(display.grab(strip));
        const QImage expected = blockOf(display, ratio, shown.size());
        QVERIFY(!boundsOf(expected, rgbOf(Red)).isEmpty());
        QCOMPARE(shown, expected);
    }

    void stripOnTheXServer()
    {
        if (QGuiApplication::platformName() != u"xcb"_s)
            QSKIP("needs an X server: CTest runs it in tests/e2e/desktop_session.sh");
        dvxDisplay display;
        QVERIFY(showStill(display));
        const qreal ratio = display.devicePixelRatioF();
        const QRect strip(QPoint(0, 0), display.Picture1->size() * ratio);
        const auto onScreen = [&] { return rgb(display.screen()->grabWindow(display.winId())).copy(strip); };
        for (int i = 0; i < 100; ++i)
            display.Timer1_Timer();
        const QImage expected = blockOf(display, ratio, strip.size());
        QVERIFY(!boundsOf(expected, rgbOf(Red)).isEmpty());
        QTRY_COMPARE(onScreen(), expected);

        // A window that covered the strip leaves it drawn again, ticks or not.
        {
            QWidget cover;
            cover.setWindowFlags(Qt::ToolTip);
            cover.setGeometry(QRect(display.mapToGlobal(QPoint(0, 0)), display.size()));
            cover.setPalette(QPalette(Qt::black));
            cover.setAutoFillBackground(true);
            cover.show();
            QVERIFY(QTest::qWaitForWindowExposed(&cover));
            QTRY_VERIFY(boundsOf(onScreen(), rgbOf(Red)).isEmpty());
        }
        // A loaded machine's X server may take a while to send the exposures.
        QTRY_COMPARE_WITH_TIMEOUT(onScreen(), expected, 20000);

        // A line longer than an X copy's reach is still shown right at its far end.
        display.SetText(QString(3000, u'W'));
        display.WriteText(true);
        display.Timer1->stop();
        QVERIFY(display.Picture2().width() > 40000);
        while (display.Scroll().ScrollX * ratio < 36000)
            display.Timer1_Timer();
        QTRY_COMPARE(onScreen(), blockOf(display, ratio, strip.size()));
        // A short line after it goes back to the strip's own window: ticks repaint nothing of the widget.
        writeStill(display, u"Hello world"_s);
        QTRY_COMPARE(onScreen(), blockOf(display, ratio, strip.size()));
        PaintCounter counter;
        display.installEventFilter(&counter);
        for (int i = 0; i < 20; ++i) {
            display.Timer1_Timer();
            QCoreApplication::processEvents();
        }
        display.removeEventFilter(&counter);
        QCOMPARE(counter.paints, 0);
        QTRY_COMPARE(onScreen(), blockOf(display, ratio, strip.size()));

        // The pointer passes through to the strip below: a click on it is the strip's click.
        QSignalSpy click(&display, &dvxDisplay::Click);
        DesktopSession::clickAt(display.Picture1->mapToGlobal(QPoint(20, 5)) * ratio);
        QTRY_COMPARE_WITH_TIMEOUT(click.size(), 1, 20000);
        display.SetBorderStyle(1);
        // A resize sets the strip going; held still, the corner is read between two paints of it.
        display.Timer1->stop();
        QTRY_COMPARE_WITH_TIMEOUT(onScreen().pixel(0, 0), display.palette().color(QPalette::Shadow).rgb(),
                                  20000);
    }

    // Gone, a strip leaves the X server nothing of its own; when its banner's window went first, taking
    // the strip's window with it, nothing is asked of the window that is no more.
    void stripLeavesNothingBehind()
    {
        if (QGuiApplication::platformName() != u"xcb"_s)
            QSKIP("needs an X server: CTest runs it in tests/e2e/desktop_session.sh");
        xcb_connection_t *connection =
            qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        XErrors errors;
        qGuiApp->installNativeEventFilter(&errors);
        const auto restore = qScopeGuard([&errors] { qGuiApp->removeNativeEventFilter(&errors); });
        QWidget host;
        host.setGeometry(0, 300, 400, 100);
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const auto held = [&] {
            const QMap<QString, int> all = heldOnServer(connection, quint32(host.winId()));
            return QList<int>{all.value(u"WINDOW"_s), all.value(u"PIXMAP"_s), all.value(u"GC"_s)};
        };
        // The first round leaves what the toolkit keeps for good; the second is counted.
        for (int round = 0; round < 2; ++round) {
            const QList<int> before = held();
            {
                dvxDisplay display;
                QVERIFY(showStill(display));
                for (int i = 0; i < 10; ++i)
                    display.Timer1_Timer();
                QTRY_VERIFY(held().value(2) > before.value(2));
                // Its window made anew (it becomes a child of another), the old strip went with the old one.
                display.setParent(&host);
                QCoreApplication::processEvents();
            }
            // Every request so far answered: an error would have come before this window's exposure.
            {
                QWidget marker;
                marker.setGeometry(500, 300, 50, 50);
                marker.show();
                QVERIFY(QTest::qWaitForWindowExposed(&marker));
            }
            if (round == 1)
                QCOMPARE(held(), before);
        }
        QCOMPARE(errors.seen, QStringList());
    }

    // Displayed then Looped, the banner answering Looped with the next text from inside the tick.
    void ticksRaiseDisplayedThenLooped()
    {
        dvxDisplay display;
        writeStill(display, u"Hello"_s);
        QSignalSpy looped(&display, &dvxDisplay::Looped), changed(&display, &dvxDisplay::Change);
        QStringList order;
        connect(&display, &dvxDisplay::Displayed, &display, [&] { order << u"Displayed"_s; });
        connect(&display, &dvxDisplay::Looped, &display, [&] {
            order << u"Looped"_s;
            display.SetText(u"Next"_s);
            display.WriteText(true);
        });
        for (int ticks = 0; looped.isEmpty() && ticks < 10000; ++ticks)
            display.Timer1_Timer();
        const auto running = [&] { return std::pair(display.Timer1->isActive(), display.Scroll().ScrollX); };
        QCOMPARE(std::tuple(order, changed.size(), running()),
                 std::tuple(QStringList{u"Displayed"_s, u"Looped"_s}, qsizetype(1), std::pair(true, 0)));

        // Disabling holds the scroll where it is; WriteText starts the timer regardless.
        display.Timer1_Timer();
        display.SetEnabled(false);
        QCOMPARE(running(), std::pair(false, 2));
        display.WriteText(false);
        QCOMPARE(running(), std::pair(true, 2));
        display.Cls();
        QVERIFY(!display.Timer1->isActive());

        // Loaded past the writers' checks, a step past the whole text raises both in one tick.
        order.clear();
        display.ReadProperties({{u"PixelsPerSpeed"_s, 30000}, {u"Speed"_s, 500}});
        QCOMPARE(display.Timer1->interval(), 2);
        display.WriteText(true);
        display.Timer1_Timer();
        QCOMPARE(order, (QStringList{u"Displayed"_s, u"Looped"_s}));
    }

    void buttonsAndDoubleClick()
    {
        dvxDisplay display;
        display.resize(300, 10);
        display.SetFromInfo(u"Urgent from Ann Lee"_s);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.Timer1->stop();
        QSignalSpy details(&display, &dvxDisplay::Details), reply(&display, &dvxDisplay::Reply),
            down(&display, &dvxDisplay::MouseDown), up(&display, &dvxDisplay::MouseUp),
            click(&display, &dvxDisplay::Click), dblClick(&display, &dvxDisplay::DblClick),
            keyDown(&display, &dvxDisplay::KeyDown), keyPress(&display, &dvxDisplay::KeyPress);
        display.SetDetailsHint(u"d"_s);
        display.SetLinkHint(u"l"_s);
        display.SetReplyHint(u"r"_s);
        QCOMPARE((QStringList{display.cmdDetails->toolTip(), display.cmdLink->toolTip(),
                              display.cmdReply->toolTip()}),
                 (QStringList{u"d"_s, u"l"_s, u"r"_s}));
        display.cmdDetails->click();
        display.cmdReply->click();
        display.SetReplyEnabled(false);
        display.cmdReply->click();
        // The link button has no event of its own, and none when it is off.
        display.cmdLink->click();
        display.SetLinkEnabled(false);
        display.cmdLink->click();
        QCOMPARE((QList<qsizetype>{details.size(), reply.size(), dblClick.size()}),
                 (QList<qsizetype>{1, 1, 1}));
        // The second press is the double click alone, and its release is no click.
        QTest::mouseClick(display.Picture1, Qt::LeftButton, {}, QPoint(5, 5));
        QTest::mouseDClick(display.Picture1, Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE((QList<qsizetype>{dblClick.size(), down.size(), click.size()}), (QList<qsizetype>{2, 1, 1}));
        // A right press with shift on the caption: button, shift and place in twips, and no click.
        QTest::mouseClick(display.lblFrom, Qt::RightButton, Qt::ShiftModifier, QPoint(3, 4));
        const QVariantList expected{2, 1, 3 * display.Scroll().TwipsPerPixelX,
                                    4 * display.Scroll().TwipsPerPixelY};
        QCOMPARE(std::tuple(down.last(), up.last(), click.size()),
                 std::tuple(expected, expected, qsizetype(1)));
        // Keys as the owner knows them: Ctrl 17, Shift 16, F1 112, a letter as its capital, the last
        // letter, digit and function key too; the character typed (the test types it small) as itself.
        QTest::keyClick(display.Picture1, Qt::Key_F1, Qt::ControlModifier);
        QTest::keyClick(display.Picture1, Qt::Key_Q, Qt::ShiftModifier);
        for (const Qt::Key last : {Qt::Key_Z, Qt::Key_9, Qt::Key_F24})
            QTest::keyClick(display.Picture1, last);
        QCOMPARE(QList<QVariantList>(keyDown.begin(), keyDown.end()),
                 (QList<QVariantList>{{17, 2}, {112, 2}, {16, 1}, {81, 1}, {90, 0}, {57, 0}, {135, 0}}));
        QCOMPARE(QList<QVariantList>(keyPress.begin(), keyPress.end()),
                 (QList<QVariantList>{{int(u'q')}, {int(u'z')}, {int(u'9')}}));
    }

    // Saved properties come back as they were saved, the font's own keys over the font; a property at its
    // default is not saved, except the font's name and size, whose defaults read and written differ.
    void propertyBagRoundTrips()
    {
        QFont plain(u"Other Family"_s), styled(u"DejaVu Sans"_s);
        plain.setPointSizeF(10);
        styled.setPointSizeF(12);
        styled.setBold(true);
        styled.setItalic(true);
        styled.setUnderline(true);
        QVariantMap saved{{u"BackColor"_s, quint32(0xFF)},
                          {u"ForeColor"_s, quint32(0xFF00)},
                          {u"Enabled"_s, false},
                          {u"Font"_s, plain},
                          {u"BackStyle"_s, 1},
                          {u"BorderStyle"_s, 1},
                          {u"FontBold"_s, true},
                          {u"FontItalic"_s, true},
                          {u"FontName"_s, u"DejaVu Sans"_s},
                          {u"FontSize"_s, 12.0},
                          {u"FontUnderline"_s, true},
                          {u"ToolTipText"_s, u"Tip"_s},
                          {u"Text"_s, u"Hello"_s},
                          {u"Speed"_s, 20},
                          {u"PixelsPerSpeed"_s, 45},
                          {u"ShadowColor"_s, quint32(0x123)},
                          {u"ShowShadow"_s, false}};
        dvxDisplay display;
        display.ReadProperties(saved);
        saved[u"Font"_s] = styled;
        QCOMPARE(display.WriteProperties(), saved);
        QCOMPARE(display.Timer1->interval(), 50);

        dvxDisplay fresh;
        fresh.ReadProperties({});
        const QVariantMap defaults = fresh.WriteProperties();
        QCOMPARE(defaults.keys(), (QStringList{u"Font"_s, u"FontName"_s, u"FontSize"_s}));
        QCOMPARE(std::pair(defaults[u"FontName"_s], defaults[u"FontSize"_s]),
                 std::pair(QVariant(u"MS Sans Serif"_s), QVariant(8.25)));
    }

    // The owner's height does not hold: the font sets it, a border adds to it, the caption sits below.
    void heightFollowsTheFont()
    {
        const auto heightWith = [](int pointSize, int borderStyle) {
            dvxDisplay display;
            QSignalSpy resized(&display, &dvxDisplay::Resize);
            display.SetFont(sharpFont(pointSize));
            display.SetBorderStyle(borderStyle);
            display.resize(400, 500);
            display.WriteText(true);
            const bool laidOut = !resized.isEmpty() && display.width() == 400 &&
                                 display.lblFrom->y() == display.Picture1->height() &&
                                 display.Picture1->height() >= QFontMetrics(sharpFont(pointSize)).height();
            return laidOut ? display.height() : -1;
        };
        const int small = heightWith(8, 0), large = heightWith(24, 0);
        QVERIFY(small > 0 && large > small && heightWith(24, 1) > large);
    }

    void coloursAndLevelSample()
    {
        // Stored colours are blue-green-red; the high bit picks a colour of the desktop's palette.
        QCOMPARE(ResolveColor(0x00123456), QColor(0x56, 0x34, 0x12));
        QCOMPARE(ResolveColor(0x80000005), QApplication::palette().color(QPalette::Base));
        QCOMPARE(ResolveColor(0x800000F0), QColor(Qt::black));

        // The level sample: the fill inside the rectangle only, the text centred on it.
        QImage image(200, 100, QImage::Format_RGB32);
        const auto glyphIn = [&image](const QRect &rect, bool shadow) {
            image.fill(Qt::black);
            QPainter painter(&image);
            painter.setFont(sharpFont());
            DrawLevelSample(painter, rect, u"A&B"_s, 0x80000005, Red, Blue, shadow);
            painter.end();
            return boundsOf(image, rgbOf(Red));
        };
        const QRect small = glyphIn(QRect(10, 10, 100, 40), false);
        QVERIFY(boundsOf(image, rgbOf(Blue)).isEmpty());
        QCOMPARE(std::pair(image.pixel(10, 10), image.pixel(9, 9)),
                 std::pair(rgbOf(0x80000005), qRgb(0, 0, 0)));
        // The ampersand drawn as it stands: wider than the two letters alone.
        QVERIFY(small.width() > QFontMetrics(sharpFont()).boundingRect(u"AB"_s).width());
        // Twenty pixels more each way move the centred text by ten, the shadow drawn under it.
        const QRect large = glyphIn(QRect(10, 10, 120, 60), true);
        QCOMPARE(large.size(), small.size());
        QVERIFY(qAbs(large.left() - small.left() - 10) <= 1 && qAbs(large.top() - small.top() - 10) <= 1);
        QVERIFY(!boundsOf(image, rgbOf(Blue)).isEmpty());
    }
};

QTEST_MAIN(TestDvxDisplay)
#include "tst_dvxdisplay.moc"
