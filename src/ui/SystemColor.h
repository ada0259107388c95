#pragma once

#include <QColor>
#include <QtGlobal>

// A stored colour: a blue-green-red number, or, with the top bit set, an index into the
// desktop's own colours, which the application palette answers.
QColor ResolveColor(quint32 value);
