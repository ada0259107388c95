#include "ui/LevelSample.h"

#include "ui/SystemColor.h"

#include <QPainter>
#include <QRect>
#include <QString>

void DrawLevelSample(QPainter &painter, const QRect &rect, const QString &text, quint32 backColor,
                     quint32 foreColor, quint32 shadowColor, bool drawShadow)
{
    // No mnemonic flag: unlike the banner, a sample shows an ampersand as it stands.
    constexpr int flags = Qt::AlignCenter;
    painter.save();
    painter.fillRect(rect, ResolveColor(backColor));
    if (drawShadow) {
        painter.setPen(ResolveColor(shadowColor));
        painter.drawText(rect.translated(1, 1), flags, text);
    }
    painter.setPen(ResolveColor(foreColor));
    painter.drawText(rect.adjusted(0, 0, -1, -1), flags, text);
    painter.restore();
}
