#include "banner/dvxDisplay.h"

#include "banner/StripWindow.h"
#include "ui/SystemColor.h"

#include <QAccessibleWidget>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTimer>
#include <QToolButton>

bool dvxDisplay::Resizing = false;

namespace {

// Geometry of the children, in twips.
constexpr double ButtonSizeTwips = 240;
constexpr double ReplyLeftTwips = 240;
constexpr double LinkLeftTwips = 480;
constexpr double FromLeftTwips = 735;

// Single line, no clipping, left and top aligned, and an ampersand marks the next character.
constexpr int StripTextFlags =
    Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine | Qt::TextDontClip | Qt::TextShowMnemonic;

int ShiftState(Qt::KeyboardModifiers modifiers)
{
    return (modifiers.testFlag(Qt::ShiftModifier) ? 1 : 0) |
           (modifiers.testFlag(Qt::ControlModifier) ? 2 : 0) | (modifiers.testFlag(Qt::AltModifier) ? 4 : 0);
}

int ButtonMask(Qt::MouseButtons buttons)
{
    return (buttons.testFlag(Qt::LeftButton) ? 1 : 0) | (buttons.testFlag(Qt::RightButton) ? 2 : 0) |
           (buttons.testFlag(Qt::MiddleButton) ? 4 : 0);
}

// Key codes as the owner's handlers know them: letters and digits as capitals, F1 as 112.
int VirtualKey(int key)
{
    if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9))
        return key;
    if (key >= Qt::Key_F1 && key <= Qt::Key_F24)
        return 112 + (key - Qt::Key_F1);
    switch (key) {
    case Qt::Key_Backspace:
        return 8;
    case Qt::Key_Tab:
        return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return 13;
    case Qt::Key_Shift:
        return 16;
    case Qt::Key_Control:
        return 17;
    case Qt::Key_Alt:
        return 18;
    case Qt::Key_Pause:
        return 19;
    case Qt::Key_CapsLock:
        return 20;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_Space:
        return 32;
    case Qt::Key_PageUp:
        return 33;
    case Qt::Key_PageDown:
        return 34;
    case Qt::Key_End:
        return 35;
    case Qt::Key_Home:
        return 36;
    case Qt::Key_Left:
        return 37;
    case Qt::Key_Up:
        return 38;
    case Qt::Key_Right:
        return 39;
    case Qt::Key_Down:
        return 40;
    case Qt::Key_Insert:
        return 45;
    case Qt::Key_Delete:
        return 46;
    default:
        return 0;
    }
}

// The buttons' small images, drawn at twice their size so they stay sharp on dense screens.
template <typename Draw>
QIcon DrawnIcon(Draw draw)
{
    QPixmap pixmap(32, 32);
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
    return QIcon(pixmap);
}

QIcon DetailsIcon()
{
    return DrawnIcon([](QPainter &painter) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(32, 96, 192));
        painter.drawEllipse(QRectF(1, 1, 14, 14));
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(8, 4.6), 1.3, 1.3);
        painter.drawRect(QRectF(7, 7, 2, 6));
    });
}

QIcon ReplyIcon()
{
    return DrawnIcon([](QPainter &painter) {
        painter.setPen(QPen(QColor(40, 40, 40), 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        QPainterPath curve(QPointF(14, 13));
        curve.cubicTo(QPointF(14, 8), QPointF(10, 6), QPointF(3, 6));
        painter.drawPath(curve);
        QPainterPath head(QPointF(7, 2));
        head.lineTo(QPointF(3, 6));
        head.lineTo(QPointF(7, 10));
        painter.drawPath(head);
    });
}

QIcon LinkIcon()
{
    return DrawnIcon([](QPainter &painter) {
        painter.setPen(QPen(QColor(40, 40, 40), 1.6));
        painter.setBrush(Qt::NoBrush);
        painter.translate(8, 8);
        painter.rotate(-45);
        painter.drawRoundedRect(QRectF(-7.5, -2.5, 8, 5), 2.5, 2.5);
        painter.drawRoundedRect(QRectF(-0.5, -2.5, 8, 5), 2.5, 2.5);
    });
}

QToolButton *ImageButton(QWidget *parent, const QIcon &icon, const QString &tip)
{
    auto *button = new QToolButton(parent);
    button->setAutoRaise(true);
    button->setIcon(icon);
    button->setIconSize(QSize(12, 12));
    button->setToolTip(tip);
    // The banner must never take the keyboard from what the reader is typing in.
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

// A screen reader takes the strip for an alert: its name is the message, its description the from line.
QAccessibleInterface *stripAccessible(const QString &className, QObject *object)
{
    if (className != QLatin1String("dvxDisplay") || !object || !object->isWidgetType())
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::AlertMessage);
}

} // namespace

dvxDisplay::dvxDisplay(QWidget *parent) : QWidget(parent)
{
    static const bool factoryInstalled = (QAccessible::installFactory(stripAccessible), true);
    Q_UNUSED(factoryInstalled);
    const QScreen *screen = this->screen();
    const double twipsPerPixelX = 1440.0 / screen->logicalDotsPerInchX();
    const double twipsPerPixelY = 1440.0 / screen->logicalDotsPerInchY();
    m_scroll = ScrollArithmetic(twipsPerPixelX, twipsPerPixelY);
    m_scroll.ScreenWidthPx = screen->geometry().width();

    // The strip paints every pixel of what it updates: no erase before each tick.
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_ambientFont = font();
    m_font = m_ambientFont;

    Timer1 = new QTimer(this);
    Timer1->setInterval(m_scroll.TimerIntervalMs());
    connect(Timer1, &QTimer::timeout, this, &dvxDisplay::Timer1_Timer);

    // Painting belongs to the control; Picture1 is only the strip's input surface.
    Picture1 = new QWidget(this);
    Picture1->setMouseTracking(true);
    Picture1->setFocusPolicy(Qt::ClickFocus);
    Picture1->setToolTip(QStringLiteral("Test"));
    Picture1->installEventFilter(this);
    m_stripWindow = StripWindow::Create(Picture1, m_picture2);

    cmdDetails = ImageButton(this, DetailsIcon(), QStringLiteral("View document details"));
    cmdReply = ImageButton(this, ReplyIcon(), QStringLiteral("Reply to sender"));
    cmdLink = ImageButton(this, LinkIcon(), QStringLiteral("Open linked document"));
    connect(cmdDetails, &QToolButton::clicked, this, &dvxDisplay::Details);
    connect(cmdReply, &QToolButton::clicked, this, &dvxDisplay::Reply);
    // The link button has no event of its own: the owner treats it as a double click.
    connect(cmdLink, &QToolButton::clicked, this, &dvxDisplay::DblClick);

    lblFrom = new QLabel(this);
    QFont fromFont(QStringLiteral("Courier New"));
    fromFont.setStyleHint(QFont::TypeWriter);
    fromFont.setPointSize(8);
    lblFrom->setFont(fromFont);
    lblFrom->setToolTip(QStringLiteral("Sender and creation date"));
    lblFrom->setMouseTracking(true);
    lblFrom->installEventFilter(this);

    RunResizeLogic();
}

dvxDisplay::~dvxDisplay() = default;

void dvxDisplay::SetBackColor(quint32 color)
{
    // A new background erases the drawn text at once; the owner follows with WriteText.
    m_backColor = color;
    ClearPicture2();
    update();
}

void dvxDisplay::SetMousePointer(int pointer)
{
    m_mousePointer = pointer;
    if (pointer == HandPointer)
        Picture1->setCursor(Qt::PointingHandCursor);
    else
        Picture1->unsetCursor();
}

void dvxDisplay::SetBorderStyle(int style)
{
    if (style < 0 || style > 1)
        return;
    m_borderStyle = style;
    RunResizeLogic();
    update();
}

void dvxDisplay::Cls()
{
    ClearPicture2();
    m_copyX = -1;
    Timer1->stop();
    update();
}

void dvxDisplay::SetFont(const QFont &font)
{
    m_font = font;
    RunResizeLogic();
}

void dvxDisplay::SetFontSize(double points)
{
    if (points > 0)
        m_font.setPointSizeF(points);
}

QString dvxDisplay::ToolTipText() const
{
    return Picture1->toolTip();
}

void dvxDisplay::SetToolTipText(const QString &tip)
{
    Picture1->setToolTip(tip);
}

void dvxDisplay::SetText(const QString &text)
{
    m_text = text;
    setAccessibleName(text);
    Picture1->move(0, Picture1->y());
}

void dvxDisplay::SetSpeed(int speed)
{
    if (m_scroll.SetSpeed(speed))
        Timer1->setInterval(m_scroll.TimerIntervalMs());
}

void dvxDisplay::WriteText(bool Restart)
{
    RunResizeLogic();
    const QFontMetrics metrics(m_font);
    // The measure counts an ampersand that the drawing below swallows; that stays.
    const double textWidthTwips = metrics.horizontalAdvance(m_text) * m_scroll.TwipsPerPixelX;
    const ScrollArithmetic::TextLayout layout = m_scroll.WriteText(
        textWidthTwips, width() * m_scroll.TwipsPerPixelX, height() * m_scroll.TwipsPerPixelY, Restart);

    const QSize size(layout.PictureWidthPx, Picture1->height());
    const qreal ratio = devicePixelRatioF();
    if (m_picture2.isNull() || m_picture2.deviceIndependentSize().toSize() != size ||
        m_picture2.devicePixelRatio() != ratio) {
        m_picture2 = QPixmap(size * ratio);
        m_picture2.setDevicePixelRatio(ratio);
    }
    Cls();

    QPainter painter(&m_picture2);
    painter.setFont(m_font);
    if (ShowShadow) {
        painter.setPen(ResolveColor(m_shadowColor));
        painter.drawText(layout.ShadowRect, StripTextFlags, m_text);
    }
    painter.setPen(ResolveColor(m_foreColor));
    painter.drawText(layout.TextRect, StripTextFlags, m_text);
    painter.end();
    if (m_stripWindow)
        m_stripWindow->PictureChanged(ResolveColor(m_backColor));

    // Resting the pointer on the strip shows the whole message.
    Picture1->setToolTip(m_text);
    StartTimer();
    Q_EMIT Change();
}

void dvxDisplay::SetEnabled(bool enabled)
{
    setEnabled(enabled);
    if (enabled)
        StartTimer();
    else
        Timer1->stop();
}

void dvxDisplay::SetReplyEnabled(bool enabled)
{
    cmdReply->setEnabled(enabled);
}

void dvxDisplay::SetLinkEnabled(bool enabled)
{
    cmdLink->setEnabled(enabled);
}

void dvxDisplay::SetDetailsHint(const QString &hint)
{
    cmdDetails->setToolTip(hint);
}

void dvxDisplay::SetLinkHint(const QString &hint)
{
    cmdLink->setToolTip(hint);
}

void dvxDisplay::SetReplyHint(const QString &hint)
{
    cmdReply->setToolTip(hint);
}

void dvxDisplay::SetFromInfo(const QString &info)
{
    lblFrom->setText(info);
    setAccessibleDescription(info);
}

void dvxDisplay::ReadProperties(const QVariantMap &bag)
{
    m_backColor = bag.value(QStringLiteral("BackColor"), WindowBackground).toUInt();
    m_foreColor = bag.value(QStringLiteral("ForeColor"), WindowText).toUInt();
    setEnabled(bag.value(QStringLiteral("Enabled"), true).toBool());
    m_font = bag.value(QStringLiteral("Font"), m_ambientFont).value<QFont>();
    m_backStyle = bag.value(QStringLiteral("BackStyle"), 0).toInt();
    m_borderStyle = bag.value(QStringLiteral("BorderStyle"), 0).toInt();
    m_font.setBold(bag.value(QStringLiteral("FontBold"), false).toBool());
    m_font.setItalic(bag.value(QStringLiteral("FontItalic"), false).toBool());
    // These two read defaults differ from the written ones below, and that stays.
    m_font.setFamily(bag.value(QStringLiteral("FontName"), QStringLiteral("MS Sans Serif")).toString());
    SetFontSize(bag.value(QStringLiteral("FontSize"), 8.25).toDouble());
    m_font.setUnderline(bag.value(QStringLiteral("FontUnderline"), false).toBool());
    Picture1->setToolTip(bag.value(QStringLiteral("ToolTipText"), QStringLiteral("Test")).toString());
    m_text = bag.value(QStringLiteral("Text"), QString()).toString();
    m_scroll.Speed = bag.value(QStringLiteral("Speed"), 8).toInt();
    Timer1->setInterval(m_scroll.TimerIntervalMs());
    m_scroll.PixelsPerSpeedTwips = bag.value(QStringLiteral("PixelsPerSpeed"), 30).toInt();
    m_shadowColor = bag.value(QStringLiteral("ShadowColor"), WindowText).toUInt();
    ShowShadow = bag.value(QStringLiteral("ShowShadow"), true).toBool();
}

QVariantMap dvxDisplay::WriteProperties() const
{
    QVariantMap bag;
    const auto write = [&bag](const QString &key, const QVariant &value, const QVariant &defaultValue) {
        if (value != defaultValue)
            bag.insert(key, value);
    };
    write(QStringLiteral("BackColor"), m_backColor, WindowBackground);
    write(QStringLiteral("ForeColor"), m_foreColor, WindowText);
    write(QStringLiteral("Enabled"), isEnabled(), true);
    write(QStringLiteral("Font"), m_font, m_ambientFont);
    write(QStringLiteral("BackStyle"), m_backStyle, 0);
    write(QStringLiteral("BorderStyle"), m_borderStyle, 0);
    write(QStringLiteral("FontBold"), FontBold(), false);
    write(QStringLiteral("FontItalic"), FontItalic(), false);
    write(QStringLiteral("FontName"), FontName(), QString());
    write(QStringLiteral("FontSize"), FontSize(), 0.0);
    write(QStringLiteral("FontUnderline"), FontUnderline(), false);
    write(QStringLiteral("ToolTipText"), ToolTipText(), QStringLiteral("Test"));
    write(QStringLiteral("Text"), m_text, QString());
    write(QStringLiteral("Speed"), m_scroll.Speed, 8);
    write(QStringLiteral("PixelsPerSpeed"), m_scroll.PixelsPerSpeedTwips, 30);
    write(QStringLiteral("ShadowColor"), m_shadowColor, WindowText);
    write(QStringLiteral("ShowShadow"), ShowShadow, true);
    return bag;
}

void dvxDisplay::Timer1_Timer()
{
    const ScrollArithmetic::TickResult tick = m_scroll.Tick();
    // The one copy of the tick; nothing is measured or rendered while scrolling.
    m_copyX = tick.CopyX;
    if (!ShowOnServer())
        update(Picture1->geometry());
    if (tick.Displayed)
        Q_EMIT Displayed();
    if (tick.Looped)
        Q_EMIT Looped();
}

bool dvxDisplay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == Picture1 || watched == lblFrom) {
        if (ForwardMouse(static_cast<QWidget *>(watched), event))
            return true;
        if (watched == Picture1 && ForwardKey(event))
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

bool dvxDisplay::ForwardMouse(QWidget *source, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease &&
        type != QEvent::MouseButtonDblClick && type != QEvent::MouseMove)
        return false;
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const int shift = ShiftState(mouse->modifiers());
    const double x = mouse->position().x() * m_scroll.TwipsPerPixelX;
    const double y = mouse->position().y() * m_scroll.TwipsPerPixelY;
    const bool strip = source == Picture1;
    switch (type) {
    case QEvent::MouseButtonDblClick:
        // The second press of a double click is the double click, not another press.
        if (strip && mouse->button() == Qt::LeftButton) {
            m_doubleClicked = true;
            Q_EMIT DblClick();
        } else {
            Q_EMIT MouseDown(ButtonMask(mouse->button()), shift, x, y);
        }
        break;
    case QEvent::MouseButtonPress:
        Q_EMIT MouseDown(ButtonMask(mouse->button()), shift, x, y);
        break;
    case QEvent::MouseButtonRelease: {
        Q_EMIT MouseUp(ButtonMask(mouse->button()), shift, x, y);
        const bool clicked = strip && mouse->button() == Qt::LeftButton && !m_doubleClicked &&
                             source->rect().contains(mouse->position().toPoint());
        m_doubleClicked = false;
        if (clicked)
            Q_EMIT Click();
        break;
    }
    default:
        Q_EMIT MouseMove(ButtonMask(mouse->buttons()), shift, x, y);
        break;
    }
    return true;
}

bool dvxDisplay::ForwardKey(QEvent *event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    const int shift = ShiftState(key->modifiers());
    if (event->type() == QEvent::KeyRelease) {
        Q_EMIT KeyUp(VirtualKey(key->key()), shift);
        return true;
    }
    Q_EMIT KeyDown(VirtualKey(key->key()), shift);
    if (!key->text().isEmpty())
        Q_EMIT KeyPress(key->text().at(0).unicode());
    return true;
}

void dvxDisplay::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    const QRect strip = Picture1->geometry();
    if (event->rect().intersects(strip))
        ShowOnServer();
    // Below the strip lie the buttons and the caption, on the window's colour.
    if (!strip.contains(event->rect()))
        painter.fillRect(rect(), palette().window());
    const QColor back = ResolveColor(m_backColor);
    const bool copied = m_copyX >= 0 && !m_picture2.isNull();
    // A block reaching past the picture's right edge shows background there.
    if (!copied || m_copyX + strip.width() > m_picture2.deviceIndependentSize().width())
        painter.fillRect(strip, back);
    const qreal ratio = m_picture2.devicePixelRatio();
    if (copied && ratio == devicePixelRatioF()) {
        // Device pixels onto device pixels: a plain block copy, nothing scaled to soften the glyphs.
        const QRect target = StripWindow::DeviceRect(strip, ratio);
        painter.save();
        painter.scale(1 / ratio, 1 / ratio);
        painter.drawPixmap(target, m_picture2, QRect(QPoint(qRound(m_copyX * ratio), 0), target.size()));
        painter.restore();
    } else if (copied) {
        // A picture drawn for another screen's density, until the next WriteText draws it again.
        painter.drawPixmap(QRectF(strip), m_picture2,
                           QRectF(m_copyX * ratio, 0, strip.width() * ratio, strip.height() * ratio));
    }
    if (m_borderStyle == 1) {
        painter.setPen(palette().color(QPalette::Shadow));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void dvxDisplay::resizeEvent(QResizeEvent *)
{
    RunResizeLogic();
}

void dvxDisplay::hideEvent(QHideEvent *)
{
    Q_EMIT Hide();
}

void dvxDisplay::mousePressEvent(QMouseEvent *)
{
    // Overridden only so that the press stays accepted (the base class ignores it): the release, and
    // so the click, then come here too.
}

void dvxDisplay::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT Click();
}

void dvxDisplay::RunResizeLogic()
{
    if (Resizing)
        return;
    Resizing = true;

    const QFontMetrics metrics(m_font);
    const double stripTwips =
        ScrollArithmetic::StripHeightTwips(metrics.height() * m_scroll.TwipsPerPixelY, m_borderStyle);
    // The owner sets only the width: the height follows from the font.
    setFixedHeight(PxY(ButtonSizeTwips + stripTwips + 30));

    Picture1->setGeometry(0, 0, width(), PxY(stripTwips + 15));
    const int top = Picture1->height();
    const int button = PxX(ButtonSizeTwips);
    const int buttonHeight = PxY(ButtonSizeTwips);
    lblFrom->setGeometry(PxX(FromLeftTwips), top, qMax(0, width() - PxX(FromLeftTwips)), buttonHeight);
    cmdDetails->setGeometry(0, top, button, buttonHeight);
    cmdReply->setGeometry(PxX(ReplyLeftTwips), top, button, buttonHeight);
    cmdLink->setGeometry(PxX(LinkLeftTwips), top, button, buttonHeight);

    m_scroll.Resize(width() * m_scroll.TwipsPerPixelX);
    // Told once the height has followed the font, so that the owner sizes itself on the final figures.
    Q_EMIT Resize();
    Resizing = false;
    // The host is always in run mode, so every resize sets the strip going.
    StartTimer();
}

void dvxDisplay::StartTimer()
{
    if (!Timer1->isActive())
        Timer1->start();
}

void dvxDisplay::ClearPicture2()
{
    if (!m_picture2.isNull())
        m_picture2.fill(ResolveColor(m_backColor));
    if (m_stripWindow)
        m_stripWindow->PictureChanged(ResolveColor(m_backColor));
}

bool dvxDisplay::ShowOnServer()
{
    if (!m_stripWindow)
        return false;
    // The border is drawn across the strip, which a window of its own would cover.
    if (m_borderStyle == 0 && m_stripWindow->ShowBlock(m_copyX))
        return true;
    m_stripWindow->Hide();
    return false;
}
