#include "ui/MessageBox.h"

#include "ui/frmDialog.h"

int MessageBox::Show(const QString &text, const QString &caption, int icon, int buttons, QWidget *parent)
{
    frmDialog dialog(parent);
    dialog.setup(text, caption, icon, buttons);
    dialog.exec();
    return dialog.result16();
}
