#include "ui/InputBox.h"

#include "core/Frontend.h"
#include "ui/frmDialog.h"

namespace {

QString ask(frmDialog::InputKind kind, const QString &prompt, const QString &caption, int icon, int buttons,
            const QString &defaultText, const QStringList &choices, QWidget *parent)
{
    frmDialog dialog(parent);
    dialog.setup(prompt, caption, icon, buttons);
    dialog.setInput(kind, defaultText, choices);
    dialog.exec();
    return dialog.result16() == ResultCancel ? QString() : dialog.inputText();
}

} // namespace

QString InputBox::InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                            const QString &defaultText, QWidget *parent)
{
    return ask(frmDialog::TextInput, prompt, caption, icon, buttons, defaultText, {}, parent);
}

QString InputBox::InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                            const QString &defaultText, QWidget *parent)
{
    return ask(frmDialog::PathInput, prompt, caption, icon, buttons, defaultText, {}, parent);
}

QString InputBox::InputPassword(const QString &prompt, const QString &caption, int icon, int buttons,
                                QWidget *parent)
{
    return ask(frmDialog::PasswordInput, prompt, caption, icon, buttons, QString(), {}, parent);
}

QString InputBox::InputChoice(const QString &prompt, const QString &caption, int icon, const QString &list,
                              const QString &defaultText, QWidget *parent)
{
    return ask(frmDialog::ChoiceInput, prompt, caption, icon, ButtonsOkCancel, defaultText,
               list.split(QLatin1Char('|')), parent);
}
