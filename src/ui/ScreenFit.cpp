#include "ui/ScreenFit.h"

#include <QEvent>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QLayout>
#include <QScreen>
#include <QWidget>
#include <QWindow>

namespace {

// Bounds its window each time the window is about to show, before the window manager sees it.
class Keeper final : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched == parent())
            ScreenFit::bound(static_cast<QWidget *>(watched));
        return false;
    }
};

QScreen *screenOf(const QWidget *window)
{
    // A window placed by hand belongs to the screen under it, even before it is made.
    if (window->testAttribute(Qt::WA_Moved))
        if (QScreen *screen = QGuiApplication::screenAt(window->geometry().center()))
            return screen;
    return window->screen() ? window->screen() : QGuiApplication::primaryScreen();
}

} // namespace

namespace ScreenFit {

void keepOnScreen(QWidget *window)
{
    if (!window)
        return;
    window->installEventFilter(new Keeper(window));
    bound(window);
}

QMargins frameOf(const QWidget *window)
{
    if (window->windowFlags() & Qt::FramelessWindowHint)
        return {};
    if (const QWindow *handle = window->windowHandle())
        if (!handle->frameMargins().isNull())
            return handle->frameMargins();
    // Before the first show the window manager has not told its frame yet: room is kept
    // for a title bar of two lines of its font, the tallest that desktops draw.
    const QFontMetrics title(QFontDatabase::systemFont(QFontDatabase::TitleFont));
    constexpr int border = 4;
    return {border, 2 * title.height() + border, border, border};
}

void bound(QWidget *window)
{
    if (!window || !window->isWindow() || window->isMaximized() || window->isFullScreen())
        return;
    const QScreen *screen = screenOf(window);
    if (!screen)
        return;
    // The layout tells how small the window may get.
    if (QLayout *layout = window->layout())
        layout->activate();
    const QMargins frame = frameOf(window);
    const QRect area = screen->availableGeometry();
    const QSize room = area.marginsRemoved(frame).size();
    const QSize size = window->size().boundedTo(room).expandedTo(window->minimumSize());
    if (size != window->size())
        window->resize(size);
    if (!window->testAttribute(Qt::WA_Moved))
        return;
    // The frame's corner, as move() takes it: the whole frame inside, its top left first.
    const QSize outer = size.grownBy(frame);
    const QPoint at = window->pos();
    const QPoint inside(qMax(area.left(), qMin(at.x(), area.right() + 1 - outer.width())),
                        qMax(area.top(), qMin(at.y(), area.bottom() + 1 - outer.height())));
    if (inside != at)
        window->move(inside);
}

} // namespace ScreenFit
