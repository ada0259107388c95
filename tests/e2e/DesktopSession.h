#pragma once

#include <QImage>
#include <QRect>
#include <QString>
#include <QStringList>

// The desktop as the end-to-end tests see it: programs run to their end, the
// banner's window found on the X server, its place, title and pixels.
namespace DesktopSession {

// Runs a program to its end and gives what it wrote.
QString run(const QString &program, const QStringList &arguments, int *exitCode = nullptr);
// The first visible banner window, or an empty string.
QString bannerWindow();
QRect geometryOf(const QString &window);
// The title the window manager shows, as xprop prints it.
QString titleOf(const QString &window);
// The whole screen, kept as an artifact beside the test.
QImage screenshot(const QString &name);
// Clicks where the acknowledge button stands: the right end of the banner.
void clickAcknowledge(const QRect &banner);

} // namespace DesktopSession
