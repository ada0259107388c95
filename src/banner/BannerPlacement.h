#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

// Where the banner stands on the screen it belongs to, in its settings' terms.
namespace BannerPlacement {

// Horizontal 0, 1, 2 is the left edge, the middle, the right edge; vertical 0, 1 the top
// and the bottom. Any other value keeps the present coordinate.
QPoint Place(const QRect &screen, const QSize &window, int horizontal, int vertical, QPoint current);

// A banner past the screen's right or bottom edge comes back into view; one that fits stays.
QPoint KeepInView(const QRect &screen, const QSize &window, QPoint current);

} // namespace BannerPlacement
