#pragma once

#include <QMargins>

class QWidget;

// Top-level windows kept inside the part of their screen that windows may use, so that
// a small screen still shows every window whole, its closing buttons included.
namespace ScreenFit {

// Each time the window shows, its size is cut to the room its screen leaves once the
// title bar and borders are counted, and a window placed by hand is moved back inside.
// On a screen with room enough nothing changes.
void keepOnScreen(QWidget *window);

// The same, at once.
void bound(QWidget *window);

// What the window manager adds around the window: the real frame once the window has
// been shown, a generous guess at a title bar and borders before.
QMargins frameOf(const QWidget *window);

} // namespace ScreenFit
