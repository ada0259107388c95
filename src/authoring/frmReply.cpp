#include "authoring/frmReply.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/FormFields.h"
#include "authoring/FormHints.h"
#include "authoring/MessageForm.h"
#include "core/StringTable.h"
#include "ui/AccessibleTexts.h"
#include "ui/HintPane.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <limits>

frmReply::frmReply(AuthoringContext context, QWidget *parent) : QWidget(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // Nothing is cut as it is typed: what cannot go in one frame is said at OK.
    ui.txtLink->setMaxLength(std::numeric_limits<int>::max());
    m_hints =
        new HintPane(ui.lblHint, this,
                     {ui.txtSubject, ui.txtText, ui.cmdVariable, ui.txtLink, ui.cboDelivery, ui.dateNextRun,
                      ui.timeNextRun, ui.chkReceipt, ui.chkNotify, ui.OKButton, ui.CancelButton},
                     &FormHints::Hint);
    connect(ui.txtText, &QPlainTextEdit::textChanged, this, [this] {
        readFields();
        m_logic.TextChanged();
        applyEnabling();
    });
    connect(ui.cboDelivery, &QComboBox::activated, this, [this](int index) {
        readFields();
        m_logic.cboDelivery_Click(index);
        applyEnabling();
    });
    connect(ui.chkReceipt, &QCheckBox::clicked, this, [this](bool checked) {
        readFields();
        m_logic.chkReceipt_Click(checked);
        applyEnabling();
    });
    connect(ui.cmdVariable, &QToolButton::clicked, this, [this] {
        readFields();
        m_logic.cmdVariable_Click();
        showFields();
    });
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        readFields();
        const bool sent = m_logic.OKButton();
        showFields();
        if (sent)
            close();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QWidget::close);
    AssignLabels();
    m_logic.Load();
    showFields();
    // The tab order reads from the original down; the keyboard starts where the answer is written.
    ui.txtText->setFocus();
}

void frmReply::AssignLabels()
{
    using namespace AuthoringTexts;
    ui.lblOriginal->setText(ResString(LabelOriginal));
    ui.lblSubject->setText(ResString(LabelSubject));
    ui.lblText->setText(ResString(LabelText));
    ui.lblLink->setText(ResString(LabelLink));
    ui.lblDelivery->setText(ResString(LabelDelivery));
    ui.lblNextRun->setText(ResString(LabelNextRun));
    ui.chkReceipt->setText(ResString(CheckReceipt));
    ui.chkNotify->setText(ResString(CheckNotify));
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    FormFields::FillList(ui.cboDelivery, DeliveryFirst, 4);
    ui.cmdVariable->setAccessibleName(FormHints::Title(QStringLiteral("cmdVariable")));
    ui.timeNextRun->setAccessibleName(ResString(AccessibleTexts::NextRunTime));
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    setWindowTitle(m_logic.Caption());
    Mnemonics::assign(this);
    if (m_hints)
        m_hints->refresh();
}

void frmReply::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QWidget::changeEvent(event);
}

void frmReply::Open(const DVMessage &msg, const QString &newID, bool toAll)
{
    m_logic.Load();
    m_logic.Original(msg, newID);
    if (toAll)
        m_logic.ReplyToAll(msg.Target);
    m_logic.EnableFields();
    m_logic.TextChanged();
    showFields();
    m_logic.Opened();
}

bool frmReply::BeingWritten()
{
    if (!isVisible())
        return false;
    readFields();
    return m_logic.Changed();
}

void frmReply::showFields()
{
    const ReplyFields &f = m_logic.Fields;
    const QSignalBlocker blockText(ui.txtText);
    ui.txtOriginal->setPlainText(f.txtOriginal);
    ui.txtSubject->setText(f.txtSubject);
    if (ui.txtText->toPlainText() != f.txtText)
        ui.txtText->setPlainText(f.txtText);
    ui.txtLink->setText(f.txtLink);
    ui.cboDelivery->setCurrentIndex(f.cboDelivery);
    ui.dateNextRun->setDate(f.dateNextRun);
    ui.timeNextRun->setTime(f.timeNextRun);
    ui.chkReceipt->setChecked(f.chkReceipt);
    ui.chkNotify->setChecked(f.chkNotify);
    setWindowTitle(m_logic.Caption());
    applyEnabling();
}

void frmReply::readFields()
{
    ReplyFields &f = m_logic.Fields;
    f.txtSubject = ui.txtSubject->text();
    f.txtText = ui.txtText->toPlainText();
    f.txtLink = ui.txtLink->text();
    f.cboDelivery = qMax(0, ui.cboDelivery->currentIndex());
    f.dateNextRun = ui.dateNextRun->date();
    f.timeNextRun = ui.timeNextRun->time();
    f.chkReceipt = ui.chkReceipt->isChecked();
    f.chkNotify = ui.chkNotify->isChecked();
}

void frmReply::applyEnabling()
{
    const ReplyEnabling &e = m_logic.Enabling();
    ui.dateNextRun->setEnabled(e.nextRun);
    ui.timeNextRun->setEnabled(e.nextRun);
    ui.txtLink->setVisible(e.txtLinkVisible);
    ui.lblLink->setVisible(e.txtLinkVisible);
    ui.chkNotify->setEnabled(e.chkNotify);
    ui.OKButton->setEnabled(e.OKButton);
}
