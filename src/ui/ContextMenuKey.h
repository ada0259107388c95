#pragma once

#include <QObject>

class QWidget;

// Shift+F10 opens a widget's context menu as the Menu key does. Qt turns only
// the Menu key into a keyboard context-menu event; desktops on Linux offer both.
class ContextMenuKey final : public QObject
{
public:
    // The filter lives as long as the widget.
    static void attach(QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using QObject::QObject;
};
