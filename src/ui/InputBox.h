#pragma once

#include <QString>

class QWidget;

// Asks for a text through frmDialog. Every variant gives the empty text when the
// person cancelled.
class InputBox
{
public:
    static QString InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                             const QString &defaultText, QWidget *parent = nullptr);
    static QString InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                             const QString &defaultText, QWidget *parent = nullptr);
    static QString InputPassword(const QString &prompt, const QString &caption, int icon, int buttons,
                                 QWidget *parent = nullptr);
    static QString InputChoice(const QString &prompt, const QString &caption, int icon, const QString &list,
                               const QString &defaultText, QWidget *parent = nullptr);
};
