#include "banner/BannerPlacement.h"

#include <QtGlobal>

namespace BannerPlacement {

QPoint Place(const QRect &screen, const QSize &window, int horizontal, int vertical, QPoint current)
{
    QPoint at = current;
    if (horizontal == 0)
        at.setX(screen.left());
    else if (horizontal == 1)
        at.setX(screen.left() + screen.width() / 2 - window.width() / 2);
    else if (horizontal == 2)
        at.setX(screen.right() + 1 - window.width());
    // There is no vertical centre, and the whole screen counts: a bottom banner
    // lies over the panel.
    if (vertical == 0)
        at.setY(screen.top());
    else if (vertical == 1)
        at.setY(screen.bottom() + 1 - window.height());
    return at;
}

QPoint KeepInView(const QRect &screen, const QSize &window, QPoint current)
{
    QPoint at = current;
    if (screen.bottom() + 1 - window.height() < at.y())
        at.setY(qMax(screen.top(), screen.bottom() + 1 - window.height()));
    if (screen.right() + 1 - window.width() < at.x())
        at.setX(qMax(screen.left(), screen.right() + 1 - window.width()));
    return at;
}

} // namespace BannerPlacement
