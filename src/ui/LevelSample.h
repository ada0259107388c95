#pragma once

#include <QtGlobal>

class QPainter;
class QRect;
class QString;

// Paints a level's sample: its background, the text centred in its colours, and the shadow
// one pixel right and below when the level has one. Colours are stored colour values.
void DrawLevelSample(QPainter &painter, const QRect &rect, const QString &text, quint32 backColor,
                     quint32 foreColor, quint32 shadowColor, bool drawShadow);
