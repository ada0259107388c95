#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>
#include <QStringList>

// The desktop as the end-to-end tests see it: programs run to their end, the
// banner's window found on the X server, its place, title and pixels.
namespace DesktopSession {

// Runs a program to its end and gives what it wrote.
QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr);
// The first visible window whose title matches the pattern, or an empty string.
QString visibleWindow(const QString &titlePattern);
// The first visible window whose title matches, once one shows within the time, or an empty string.
QString waitWindow(const QString &titlePattern, int timeout = 15000);
// Whether no visible window whose title matches is left within the time.
bool waitGone(const QString &titlePattern, int timeout = 15000);
// The first visible window titled "Korvane banner", no program name behind, or an empty string.
QString bannerWindow();
// The colour of the banner's strip near its top left corner, or an invalid colour with no banner.
QColor bannerColour(const QString &artifact);
QRect geometryOf(const QString &window);
// The title the window manager shows, as xprop prints it.
QString titleOf(const QString &window);
// The whole screen, kept as an artifact beside the test.
QImage screenshot(const QString &name);
// Clicks where the acknowledge button stands: the right end of the banner.
void clickAcknowledge(const QRect &banner);
// The pointer to a point of the screen, or of a window, and one click of the button there.
void clickAt(const QPoint &at, int button = 1);
void clickIn(const QString &window, const QPoint &at, int button = 1);
// Presses the first button at a point, moves the pointer by the distance and lets go.
void dragBy(const QPoint &from, const QPoint &by);
// The title of the window under the pointer, as xprop prints it.
QString titleUnderPointer();
// Keys pressed on the keyboard, as xdotool names them ("Tab", "shift+Tab"), then text typed.
void keys(const QStringList &names);
void type(const QString &text);

} // namespace DesktopSession
