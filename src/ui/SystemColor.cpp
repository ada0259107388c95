#include "ui/SystemColor.h"

#include <QGuiApplication>
#include <QPalette>

namespace {

constexpr quint32 SystemColorFlag = 0x80000000u;

// The indexes that the client's colours use, and their nearest palette roles.
QPalette::ColorRole RoleOf(quint32 index, bool *known)
{
    *known = true;
    switch (index) {
    case 4:  // menu bar
    case 15: // button face
        return QPalette::Button;
    case 5: // window background
        return QPalette::Base;
    case 7: // menu text
    case 8: // window text
        return QPalette::WindowText;
    case 13: // highlight
        return QPalette::Highlight;
    case 14: // highlight text
        return QPalette::HighlightedText;
    case 16: // button shadow
        return QPalette::Mid;
    case 18: // button text
        return QPalette::ButtonText;
    case 20: // button highlight
        return QPalette::Light;
    case 21: // dark shadow
        return QPalette::Shadow;
    case 23: // tool tip text
        return QPalette::ToolTipText;
    case 24: // tool tip background
        return QPalette::ToolTipBase;
    default:
        *known = false;
        return QPalette::Window;
    }
}

} // namespace

QColor ResolveColor(quint32 value)
{
    if (value & SystemColorFlag) {
        bool known = false;
        const QPalette::ColorRole role = RoleOf(value & ~SystemColorFlag, &known);
        // An index the desktop does not know paints black rather than failing.
        return known ? QGuiApplication::palette().color(QPalette::Active, role) : QColor(Qt::black);
    }
    return QColor(int(value & 0xFF), int((value >> 8) & 0xFF), int((value >> 16) & 0xFF));
}
