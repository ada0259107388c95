#include "authoring/frmReply.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/FormHints.h"
#include "authoring/MessageForm.h"
#include "core/StringTable.h"

frmReply::frmReply(AuthoringContext context, QWidget *parent) : QWidget(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui.txtLink->setMaxLength(MessageForm::TargetLimit);
    for (QWidget *control : {static_cast<QWidget *>(ui.txtSubject), static_cast<QWidget *>(ui.txtText),
                             static_cast<QWidget *>(ui.cmdVariable), static_cast<QWidget *>(ui.txtLink),
                             static_cast<QWidget *>(ui.cboDelivery), static_cast<QWidget *>(ui.dateNextRun),
                             static_cast<QWidget *>(ui.timeNextRun), static_cast<QWidget *>(ui.chkReceipt),
                             static_cast<QWidget *>(ui.chkNotify), static_cast<QWidget *>(ui.OKButton),
                             static_cast<QWidget *>(ui.CancelButton)})
        control->installEventFilter(this);
    connect(ui.txtText, &QPlainTextEdit::textChanged, this, [this] {
        QString text = ui.txtText->toPlainText();
        if (text.size() > MessageForm::TextLimit) {
            const QSignalBlocker blocker(ui.txtText);
            ui.txtText->setPlainText(text.left(MessageForm::TextLimit));
            ui.txtText->moveCursor(QTextCursor::End);
        }
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
        m_logic.OKButton();
        showFields();
        close();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QWidget::close);
    AssignLabels();
    m_logic.Load();
    showFields();
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
    const int delivery = ui.cboDelivery->currentIndex();
    ui.cboDelivery->clear();
    for (int i = 0; i < 4; ++i)
        ui.cboDelivery->addItem(ResString(DeliveryFirst + i));
    ui.cboDelivery->setCurrentIndex(qMax(0, delivery));
    setWindowTitle(m_logic.Caption());
    showHint(m_currentHint, false);
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

void frmReply::showHint(const QString &controlName, bool keep)
{
    if (keep)
        m_currentHint = controlName;
    // A long hint scrolls in its pane rather than pushing the fields about.
    ui.lblHint->setHtml(FormHints::Hint(controlName));
}

bool frmReply::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn)
        showHint(watched->objectName(), true);
    else if (event->type() == QEvent::Enter)
        showHint(watched->objectName(), false);
    else if (event->type() == QEvent::Leave)
        showHint(m_currentHint, false);
    return QWidget::eventFilter(watched, event);
}
