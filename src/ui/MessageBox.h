#pragma once

#include <QString>

class QWidget;

// Tells or asks through frmDialog, loaded afresh for each call and shown modally.
class MessageBox
{
public:
    static int Show(const QString &text, const QString &caption, int icon, int buttons,
                    QWidget *parent = nullptr);
};
