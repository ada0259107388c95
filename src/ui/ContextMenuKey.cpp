#include "ui/ContextMenuKey.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QWidget>

void ContextMenuKey::attach(QWidget *widget)
{
    widget->installEventFilter(new ContextMenuKey(widget));
}

bool ContextMenuKey::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_F10 || key->modifiers() != Qt::ShiftModifier)
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    // Where Qt puts a Menu key's menu: at the cursor, in a view at its current item.
    const QPoint at = widget->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
    QContextMenuEvent menu(QContextMenuEvent::Keyboard, at, widget->mapToGlobal(at), key->modifiers());
    QCoreApplication::sendEvent(widget, &menu);
    return true;
}
