#include "authoring/frmAdminsEdit.h"

#include "authoring/FormHints.h"
#include "authoring/MessageForm.h"
#include "authoring/Selection.h"
#include "core/StringTable.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QEvent>
#include <QPointer>

namespace {

QPointer<frmAdminsEdit> gOpen;

} // namespace

frmAdminsEdit::frmAdminsEdit(AdminsEditForm::Context context, QWidget *parent)
    : QDialog(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    gOpen = this;
    m_logic.getSelection = [](const QString &target) { return Selection::GetSelection(SelectUsers, target); };
    ui.cmdUsers->setText(QStringLiteral("..."));
    connect(ui.cmdUsers, &QToolButton::clicked, this, [this] {
        readFields();
        m_logic.UsersButton();
        showFields();
    });
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        readFields();
        if (m_logic.OKButton() == AdminsEditForm::Close)
            accept();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QDialog::reject);
    AssignLabels();
}

frmAdminsEdit *frmAdminsEdit::current()
{
    return gOpen.data();
}

void frmAdminsEdit::AssignLabels()
{
    setWindowTitle(ResString(1275));
    ui.lblUserID->setText(ResString(1273));
    ui.lblRole->setText(ResString(1274));
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    const int role = ui.cboRole->currentIndex();
    ui.cboRole->clear();
    for (int authority = 0; authority < 4; ++authority)
        ui.cboRole->addItem(ResString(1268 + authority));
    ui.cboRole->setCurrentIndex(qMax(0, role));
    // The ellipsis speaks as the composer's Users button does.
    ui.cmdUsers->setAccessibleName(FormHints::Title(QStringLiteral("cmdUsers")));
    Mnemonics::assign(this);
}

void frmAdminsEdit::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}

void frmAdminsEdit::showFields()
{
    ui.txtUserID->setText(m_logic.txtUserID);
    ui.cboRole->setCurrentIndex(qBound(0, m_logic.cboRole, 3));
}

void frmAdminsEdit::readFields()
{
    m_logic.txtUserID = ui.txtUserID->text();
    m_logic.cboRole = ui.cboRole->currentIndex();
}

void frmAdminsEdit::DisplayUsers()
{
    readFields();
    m_logic.DisplayUsers();
    showFields();
}
