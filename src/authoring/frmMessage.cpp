#include "authoring/frmMessage.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/FormFields.h"
#include "authoring/FormHints.h"
#include "authoring/Selection.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "store/MessageCodes.h"
#include "ui/AccessibleTexts.h"
#include "ui/BannerText.h"
#include "ui/HintPane.h"
#include "ui/LevelDelegate.h"
#include "ui/LevelSample.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QPainter>
#include <QStandardItemModel>
#include <QTreeView>

#include <limits>

namespace {

constexpr int ColorRole = LevelDelegate::ColorRole;

QList<QWidget *> hinted(Ui::frmMessage &ui)
{
    return {ui.txtSubject,  ui.txtText,        ui.cmdVariable,    ui.txtTarget,   ui.cmdKorvan,
            ui.cmdDomain,   ui.cmdUsers,       ui.cmdMyGroups,    ui.cmdMachines, ui.txtLink,
            ui.cboLevel,    ui.cboDelivery,    ui.numRepeat,      ui.cboRepeat,   ui.dateNextRun,
            ui.timeNextRun, ui.dateExpiration, ui.timeExpiration, ui.chkReply,    ui.chkReceipt,
            ui.chkNotify,   ui.chkExactTime,   ui.chkBroadcast,   ui.OKButton,    ui.CancelButton};
}

} // namespace

frmMessage::frmMessage(AuthoringContext context, bool package, QWidget *parent)
    : QWidget(parent), m_logic(std::move(context), package)
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    if (package) {
        // A package has the reserved level and no reply; Mandatory takes Exact time's place.
        for (QWidget *absent : {static_cast<QWidget *>(ui.lblLevel), static_cast<QWidget *>(ui.cboLevel),
                                static_cast<QWidget *>(ui.chkReply), static_cast<QWidget *>(ui.lblPreview),
                                static_cast<QWidget *>(ui.lblSample)})
            absent->hide();
        ui.chkExactTime->setObjectName(QStringLiteral("chkMandatory"));
    }
    setAttribute(Qt::WA_DeleteOnClose);
    m_levels = new QStandardItemModel(0, 2, this);
    auto *view = new QTreeView(ui.cboLevel);
    view->setRootIsDecorated(false);
    view->setItemDelegateForColumn(0, new LevelDelegate(view));
    ui.cboLevel->setModel(m_levels);
    ui.cboLevel->setView(view);
    ui.cboLevel->setItemDelegate(new LevelDelegate(ui.cboLevel));
    // Nothing here is cut as it is typed: what cannot go in one frame is said at OK.
    for (QLineEdit *edit : {ui.txtSubject, ui.txtTarget, ui.txtLink})
        edit->setMaxLength(std::numeric_limits<int>::max());
    m_logic.getSelection = [this](int kind, const QString &target) {
        return Selection::GetSelection(kind, target, this);
    };
    m_hints = new HintPane(ui.lblHint, this, hinted(ui), &FormHints::Hint);
    // The sample follows the width of the form, never the other way round.
    ui.lblSample->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    ui.lblSample->installEventFilter(this);

    connect(ui.txtText, &QPlainTextEdit::textChanged, this, [this] {
        readFields();
        m_logic.TextChanged();
        applyEnabling();
        updateSample();
    });
    for (QLineEdit *edit : {ui.txtTarget, ui.txtLink})
        connect(edit, &QLineEdit::textChanged, this, [this] {
            readFields();
            m_logic.TextChanged();
            applyEnabling();
        });
    connect(ui.cboLevel, &QComboBox::currentIndexChanged, this, [this] { updateSample(); });
    connect(ui.cboDelivery, &QComboBox::activated, this, [this](int index) {
        readFields();
        m_logic.cboDelivery_Click(index);
        showFields();
    });
    connect(ui.numRepeat, &QSpinBox::valueChanged, this, [this] {
        readFields();
        m_logic.EnableFields();
        applyEnabling();
    });
    connect(ui.cboRepeat, &QComboBox::activated, this, [this] {
        readFields();
        m_logic.EnableFields();
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
    connect(ui.cmdMyGroups, &QToolButton::clicked, this, [this] { recipients(SelectPersonalGroups); });
    connect(ui.cmdDomain, &QToolButton::clicked, this, [this] { recipients(SelectDomainGroups); });
    connect(ui.cmdKorvan, &QToolButton::clicked, this, [this] { recipients(SelectKorvanGroups); });
    connect(ui.cmdUsers, &QToolButton::clicked, this, [this] { recipients(SelectUsers); });
    connect(ui.cmdMachines, &QToolButton::clicked, this, [this] { recipients(SelectMachines); });
    connect(ui.cmdLink, &QToolButton::clicked, this, [this] {
        // The filter's words stay those of the sound files, as they always were; any
        // document may be chosen, so "*.*" is every file here, named or not with a dot.
        const QString filter =
            ResString(AuthoringTexts::FileFilter).replace(QStringLiteral("*.*"), QStringLiteral("*"));
        const QString path = QFileDialog::getOpenFileName(this, QString(), ui.txtLink->text(), filter);
        if (!path.isEmpty())
            ui.txtLink->setText(path);
    });
    connect(ui.OKButton, &QPushButton::clicked, this, &frmMessage::pressOK);
    connect(ui.CancelButton, &QPushButton::clicked, this, &QWidget::close);
    // The fields come with the record: every way of opening the form loads it.
    AssignLabels();
}

void frmMessage::AssignLabels()
{
    using namespace AuthoringTexts;
    ui.lblSubject->setText(ResString(LabelSubject));
    ui.lblText->setText(ResString(LabelText));
    ui.lblTarget->setText(ResString(LabelTarget));
    ui.lblLink->setText(ResString(LabelLink));
    ui.lblLevel->setText(ResString(LabelLevel));
    ui.lblDelivery->setText(ResString(LabelDelivery));
    ui.lblRepeat->setText(ResString(LabelRepeat));
    ui.lblNextRun->setText(ResString(LabelNextRun));
    ui.lblExpiration->setText(ResString(LabelExpiration));
    ui.lblPreview->setText(ResString(LabelPreview));
    ui.chkReply->setText(ResString(CheckReply));
    ui.chkReceipt->setText(ResString(CheckReceipt));
    ui.chkNotify->setText(ResString(CheckNotify));
    ui.chkExactTime->setText(ResString(m_logic.isPackage() ? int(CheckMandatory) : int(CheckExactTime)));
    ui.chkBroadcast->setText(ResString(CheckBroadcast));
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    FormFields::FillList(ui.cboDelivery, DeliveryFirst, 4);
    FormFields::FillList(ui.cboRepeat, RepeatFirst, 7, RepeatDays);
    m_levels->setHorizontalHeaderLabels({ResString(LevelColumnName), ResString(LevelColumnDescription)});
    // The buttons speak through their hint's title; the icons tell them apart.
    for (QToolButton *button : {ui.cmdMyGroups, ui.cmdKorvan, ui.cmdDomain, ui.cmdUsers, ui.cmdMachines})
        button->setText(FormHints::Title(button->objectName()));
    ui.cmdVariable->setText(QStringLiteral("%"));
    ui.cmdVariable->setAccessibleName(FormHints::Title(QStringLiteral("cmdVariable")));
    ui.cmdLink->setAccessibleName(ResString(9906));
    ui.cboRepeat->setAccessibleName(ResString(AccessibleTexts::RepeatUnit));
    ui.timeNextRun->setAccessibleName(ResString(AccessibleTexts::NextRunTime));
    ui.timeExpiration->setAccessibleName(ResString(AccessibleTexts::ExpirationTime));
    ui.lblSample->setAccessibleName(ResString(LabelPreview));
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    setWindowTitle(m_logic.Caption());
    Mnemonics::assign(this);
    if (m_hints)
        m_hints->refresh();
}

void frmMessage::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QWidget::changeEvent(event);
}

void frmMessage::load()
{
    m_logic.Load();
    fillLevels();
    showFields();
}

void frmMessage::OpenNew(int action, const QString &msgID, const QString &target)
{
    m_logic.OpenNew(action, msgID, target);
    fillLevels();
    showFields();
}

void frmMessage::EditMessage(const DVMessage &msg, int action)
{
    load();
    m_logic.EditMessage(msg, action);
    showFields();
}

void frmMessage::ViewMessage(const DVMessage &msg)
{
    load();
    m_logic.ViewMessage(msg);
    showFields();
}

bool frmMessage::DuplicateMessage(Database &store, const QString &table, const QString &oldID,
                                  const QString &newID)
{
    const int action = m_logic.Action();
    load();
    m_logic.setAction(action);
    const bool found = m_logic.DuplicateMessage(store, table, oldID, newID);
    showFields();
    return found;
}

bool frmMessage::BeingWritten()
{
    if (!isVisible())
        return false;
    readFields();
    return m_logic.Changed();
}

void frmMessage::DisplayList(int kind)
{
    readFields();
    if (kind == SelectUsers)
        m_logic.DisplayUsers();
    else if (kind == SelectMachines)
        m_logic.DisplayMachines();
    else if (kind == SelectKorvanGroups)
        m_logic.DisplayKorvanGroups();
    showFields();
}

void frmMessage::fillLevels()
{
    m_levels->removeRows(0, m_levels->rowCount());
    for (const LevelRow &row : m_logic.Levels()) {
        auto *name = new QStandardItem(row.Name);
        name->setData(QVariantList{row.BackColor, row.ForeColor, row.ShadowColor, row.DrawShadow}, ColorRole);
        m_levels->appendRow({name, new QStandardItem(row.Description)});
    }
}

void frmMessage::showFields()
{
    const MessageFields &f = m_logic.Fields;
    const QSignalBlocker blockers[] = {QSignalBlocker(ui.txtText),   QSignalBlocker(ui.txtTarget),
                                       QSignalBlocker(ui.cboLevel),  QSignalBlocker(ui.cboDelivery),
                                       QSignalBlocker(ui.numRepeat), QSignalBlocker(ui.cboRepeat),
                                       QSignalBlocker(ui.chkReceipt)};
    ui.txtSubject->setText(f.txtSubject);
    if (ui.txtText->toPlainText() != f.txtText)
        ui.txtText->setPlainText(f.txtText);
    ui.txtTarget->setText(f.txtTarget);
    ui.txtLink->setText(f.txtLink);
    int level = ui.cboLevel->findText(f.cboLevel, Qt::MatchExactly);
    // A level the user may not choose stays as the record names it.
    if (level < 0 && !f.cboLevel.isEmpty()) {
        m_levels->appendRow({new QStandardItem(f.cboLevel), new QStandardItem()});
        level = m_levels->rowCount() - 1;
    }
    ui.cboLevel->setCurrentIndex(level);
    ui.cboDelivery->setCurrentIndex(f.cboDelivery);
    ui.numRepeat->setValue(f.numRepeat);
    ui.cboRepeat->setCurrentIndex(f.cboRepeat);
    ui.dateNextRun->setDate(f.dateNextRun);
    ui.timeNextRun->setTime(f.timeNextRun);
    ui.dateExpiration->setDate(f.dateExpiration);
    ui.timeExpiration->setTime(f.timeExpiration);
    ui.chkReply->setChecked(f.chkReply);
    ui.chkReceipt->setChecked(f.chkReceipt);
    ui.chkNotify->setChecked(f.chkNotify);
    ui.chkExactTime->setChecked(f.chkExactTime);
    ui.chkBroadcast->setChecked(f.chkBroadcast);
    setWindowTitle(m_logic.Caption());
    applyEnabling();
    updateSample();
}

void frmMessage::readFields()
{
    MessageFields &f = m_logic.Fields;
    f.txtSubject = ui.txtSubject->text();
    f.txtText = ui.txtText->toPlainText();
    f.txtTarget = ui.txtTarget->text();
    f.txtLink = ui.txtLink->text();
    f.cboLevel = ui.cboLevel->currentText();
    f.cboDelivery = qMax(0, ui.cboDelivery->currentIndex());
    f.numRepeat = ui.numRepeat->value();
    f.cboRepeat = qMax(0, ui.cboRepeat->currentIndex());
    f.dateNextRun = ui.dateNextRun->date();
    f.timeNextRun = ui.timeNextRun->time();
    f.dateExpiration = ui.dateExpiration->date();
    f.timeExpiration = ui.timeExpiration->time();
    f.chkReply = ui.chkReply->isChecked();
    f.chkReceipt = ui.chkReceipt->isChecked();
    f.chkNotify = ui.chkNotify->isChecked();
    f.chkExactTime = ui.chkExactTime->isChecked();
    f.chkBroadcast = ui.chkBroadcast->isChecked();
}

void frmMessage::applyEnabling()
{
    const MessageEnabling &e = m_logic.Enabling();
    ui.chkBroadcast->setVisible(e.chkBroadcastVisible);
    ui.numRepeat->setEnabled(e.numRepeat);
    ui.cboRepeat->setEnabled(e.cboRepeat);
    for (QWidget *w : {static_cast<QWidget *>(ui.dateNextRun), static_cast<QWidget *>(ui.timeNextRun),
                       static_cast<QWidget *>(ui.chkExactTime)})
        w->setEnabled(e.nextRun);
    ui.dateExpiration->setEnabled(e.expiration);
    ui.timeExpiration->setEnabled(e.expiration);
    for (QWidget *w : {static_cast<QWidget *>(ui.txtLink), static_cast<QWidget *>(ui.lblLink),
                       static_cast<QWidget *>(ui.cmdLink)})
        w->setVisible(e.txtLinkVisible);
    ui.chkNotify->setEnabled(e.chkNotify);
    ui.OKButton->setEnabled(e.OKButton);
    ui.OKButton->setVisible(!e.viewOnly);
    ui.cmdVariable->setVisible(!e.viewOnly);
    ui.cmdMyGroups->setVisible(!e.viewOnly);
    ui.cmdUsers->setVisible(!e.viewOnly);
    ui.cmdMachines->setVisible(!e.viewOnly);
    ui.cmdKorvan->setVisible(!e.viewOnly && e.cmdKorvanVisible);
    ui.cmdDomain->setVisible(!e.viewOnly && e.cmdDomainVisible);
    // Without shared groups the domain button takes their place: no gap shows.
    if (e.cmdDomainInKorvanPlace !=
        (ui.layoutRecipients->indexOf(ui.cmdDomain) < ui.layoutRecipients->indexOf(ui.cmdKorvan))) {
        ui.layoutRecipients->removeWidget(ui.cmdDomain);
        const int korvan = ui.layoutRecipients->indexOf(ui.cmdKorvan);
        ui.layoutRecipients->insertWidget(e.cmdDomainInKorvanPlace ? korvan : korvan + 1, ui.cmdDomain);
    }
}

void frmMessage::updateSample()
{
    const QVariantList colors = ui.cboLevel->currentData(ColorRole).toList();
    const QSize size(qMax(ui.lblSample->width(), 1), ui.lblSample->minimumHeight());
    // Drawn at the screen's own pixels, so that the sample's text is as sharp as the banner's.
    const qreal ratio = devicePixelRatioF();
    QPixmap pixmap(size * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(palette().color(QPalette::Window));
    if (colors.size() == 4) {
        const FontSpec &spec = gOptions().Font;
        QFont font(spec.Name.isEmpty() ? this->font().family() : spec.Name);
        font.setPointSize(qBound(6, spec.Size > 0 ? spec.Size : 12, 16));
        font.setBold(spec.Bold);
        font.setItalic(spec.Italic);
        QPainter painter(&pixmap);
        painter.setFont(font);
        // The banner's one line, its variables in place.
        QString text = BannerText::Expand(ui.txtText->toPlainText()).simplified();
        if (text.isEmpty())
            text = ui.cboLevel->currentText();
        DrawLevelSample(painter, QRect(QPoint(0, 0), size), text, colors[0].toUInt(), colors[1].toUInt(),
                        colors[2].toUInt(), colors[3].toBool());
    }
    ui.lblSample->setPixmap(pixmap);
}

void frmMessage::pressOK()
{
    readFields();
    const MessageForm::Outcome outcome = m_logic.OKButton();
    showFields();
    if (outcome == MessageForm::Close)
        close();
}

void frmMessage::recipients(int kind)
{
    readFields();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_logic.RecipientsButton(kind);
    QApplication::restoreOverrideCursor();
    showFields();
}

bool frmMessage::eventFilter(QObject *watched, QEvent *event)
{
    // The sample spans the width the layout gives it.
    if (watched == ui.lblSample && event->type() == QEvent::Resize)
        updateSample();
    return QWidget::eventFilter(watched, event);
}
