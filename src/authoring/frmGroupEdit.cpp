#include "authoring/frmGroupEdit.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/FormHints.h"
#include "authoring/MessageForm.h"
#include "authoring/Selection.h"
#include "core/StringTable.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QEvent>
#include <QPointer>

#include <limits>

namespace {

QPointer<frmGroupEdit> gOpen;

} // namespace

frmGroupEdit::frmGroupEdit(GroupEditForm::Context context, GroupEditForm::Action action, QWidget *parent)
    : QDialog(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    gOpen = this;
    m_logic.getSelection = [](int kind, const QString &target) {
        return Selection::GetSelection(kind, target);
    };
    m_logic.setAction(action);
    // Nothing typed is cut: a line edit would drop all past 32,767 characters unsaid.
    for (QLineEdit *edit : {ui.txtGroupName, ui.txtDescription, ui.txtTarget})
        edit->setMaxLength(std::numeric_limits<int>::max());
    const auto members = [this](int kind) {
        readFields();
        m_logic.RecipientsButton(kind);
        showFields();
    };
    connect(ui.cmdMyGroups, &QToolButton::clicked, this, [members] { members(SelectPersonalGroups); });
    connect(ui.cmdDomain, &QToolButton::clicked, this, [members] { members(SelectDomainGroups); });
    connect(ui.cmdKorvan, &QToolButton::clicked, this, [members] { members(SelectKorvanGroups); });
    connect(ui.cmdUsers, &QToolButton::clicked, this, [members] { members(SelectUsers); });
    connect(ui.cmdMachines, &QToolButton::clicked, this, [members] { members(SelectMachines); });
    // Each edit gives only its own text: showFields fills them one by one, and
    // reading them all here would take the ones not yet filled as emptied.
    const auto follow = [this](QLineEdit *edit, QString GroupEditForm::Fields::*field) {
        connect(edit, &QLineEdit::textChanged, this, [this, field](const QString &text) {
            m_logic.fields.*field = text;
            ui.OKButton->setEnabled(m_logic.OKEnabled());
        });
    };
    follow(ui.txtGroupName, &GroupEditForm::Fields::txtGroupName);
    follow(ui.txtTarget, &GroupEditForm::Fields::txtTarget);
    connect(ui.OKButton, &QPushButton::clicked, this, &frmGroupEdit::pressOK);
    connect(ui.CancelButton, &QPushButton::clicked, this, &QDialog::reject);
    AssignLabels();
    showFields();
}

frmGroupEdit::~frmGroupEdit() = default;

frmGroupEdit *frmGroupEdit::current()
{
    return gOpen.data();
}

void frmGroupEdit::AssignLabels()
{
    using namespace AuthoringTexts;
    ui.lblGroupName->setText(ResString(GroupLabelName));
    ui.lblDescription->setText(ResString(GroupLabelDescription));
    ui.lblTarget->setText(ResString(LabelTarget));
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    // The members buttons speak as the composer's do, through their hint's title.
    const QList<QPair<QToolButton *, QString>> buttons = {{ui.cmdMyGroups, QStringLiteral("cmdMyGroups")},
                                                          {ui.cmdKorvan, QStringLiteral("cmdKorvan")},
                                                          {ui.cmdDomain, QStringLiteral("cmdDomain")},
                                                          {ui.cmdUsers, QStringLiteral("cmdUsers")},
                                                          {ui.cmdMachines, QStringLiteral("cmdMachines")}};
    for (const auto &[button, name] : buttons) {
        const QString hint = ResString(HintFirst + int(FormHints::Controls().indexOf(name)));
        button->setText(hint.section(QLatin1Char('|'), 0, 0));
        button->setToolTip(hint.section(QLatin1Char('|'), 1));
    }
    setWindowTitle(m_logic.Caption());
    Mnemonics::assign(this);
}

void frmGroupEdit::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}

void frmGroupEdit::showFields()
{
    const GroupEditForm::Fields &f = m_logic.fields;
    ui.txtGroupName->setText(f.txtGroupName);
    ui.txtGroupName->setEnabled(f.nameEnabled);
    ui.txtDescription->setText(f.txtDescription);
    ui.txtTarget->setText(f.txtTarget);
    const GroupEditForm::Buttons &b = m_logic.buttons();
    ui.cmdDomain->setVisible(b.domain);
    ui.cmdKorvan->setVisible(b.korvan);
    ui.cmdMyGroups->setVisible(b.myGroups);
    ui.OKButton->setEnabled(m_logic.OKEnabled());
    setWindowTitle(m_logic.Caption());
}

void frmGroupEdit::readFields()
{
    GroupEditForm::Fields &f = m_logic.fields;
    f.txtGroupName = ui.txtGroupName->text();
    f.txtDescription = ui.txtDescription->text();
    f.txtTarget = ui.txtTarget->text();
}

void frmGroupEdit::DisplayList(int kind)
{
    readFields();
    m_logic.DisplayList(kind);
    showFields();
}

void frmGroupEdit::pressOK()
{
    readFields();
    const GroupEditForm::Outcome outcome = m_logic.OKButton();
    showFields();
    if (outcome == GroupEditForm::Close)
        accept();
}
