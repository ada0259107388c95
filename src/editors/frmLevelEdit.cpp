#include "editors/frmLevelEdit.h"

#include "core/Log.h"
#include "core/StringTable.h"
#include "netsvc/NetworkPaths.h"
#include "ui/AccessibleTexts.h"
#include "ui/HintPane.h"
#include "ui/LevelDelegate.h"
#include "ui/LevelSample.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"
#include "ui/SoundCodes.h"
#include "ui/SoundPlayer.h"
#include "ui/SystemColor.h"

#include <QCloseEvent>
#include <QColorDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyle>
#include <QTreeView>

namespace {

// A colour as the store keeps it: blue-green-red.
quint32 storedColor(const QColor &color)
{
    return quint32(color.red()) | quint32(color.green()) << 8 | quint32(color.blue()) << 16;
}

QIcon swatch(quint32 color)
{
    // At both densities, so that a screen at twice the density draws its edge sharp.
    QIcon icon;
    for (int ratio : {1, 2}) {
        QPixmap pixmap(40 * ratio, 14 * ratio);
        pixmap.fill(Qt::gray);
        QPainter painter(&pixmap);
        painter.fillRect(pixmap.rect().adjusted(ratio, ratio, -ratio, -ratio), ResolveColor(color));
        painter.end();
        pixmap.setDevicePixelRatio(ratio);
        icon.addPixmap(pixmap);
    }
    return icon;
}

QList<QWidget *> hinted(Ui::frmLevelEdit &ui)
{
    return {ui.cboLevel,      ui.txtLevelName, ui.txtDescription, ui.cboAuthority, ui.colBackground,
            ui.colForeground, ui.colShadow,    ui.chkShadow,      ui.cboSoundType, ui.txtSoundFile,
            ui.chkLooping,    ui.cmdPLay,      ui.cmdStop,        ui.cmdAdd,       ui.cmdUpdate,
            ui.OKButton,      ui.CancelButton, ui.DefaultButton};
}

LevelEditForm::Context withColors(LevelEditForm::Context context)
{
    if (!context.translateColor)
        context.translateColor = [](quint32 color) { return storedColor(ResolveColor(color)); };
    return context;
}

} // namespace

frmLevelEdit::frmLevelEdit(LevelEditForm::Context context, QWidget *parent)
    : QWidget(parent), m_logic(withColors(std::move(context)))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    setAttribute(Qt::WA_DeleteOnClose);
    m_player = new SoundPlayer(QStringLiteral("frmLevelEdit:PlayFile"), this);
    m_player->Initialise();

    m_levels = new QStandardItemModel(0, 2, this);
    auto *view = new QTreeView(ui.cboLevel);
    view->setRootIsDecorated(false);
    view->setItemDelegateForColumn(0, new LevelDelegate(view));
    ui.cboLevel->setModel(m_levels);
    ui.cboLevel->setView(view);
    ui.cboLevel->setItemDelegate(new LevelDelegate(ui.cboLevel));
    ui.txtLevelName->setMaxLength(30);
    ui.cmdPLay->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    ui.cmdStop->setIcon(style()->standardIcon(QStyle::SP_MediaStop));
    m_browse = ui.txtSoundFile->addAction(style()->standardIcon(QStyle::SP_DirOpenIcon),
                                          QLineEdit::TrailingPosition);
    // The keyboard browses as in the option lists: F4 or Alt+Down in the field.
    m_browse->setShortcuts({QKeySequence(Qt::Key_F4), QKeySequence(Qt::AltModifier | Qt::Key_Down)});
    m_browse->setShortcutContext(Qt::WidgetShortcut);
    for (QToolButton *button : {ui.colBackground, ui.colForeground, ui.colShadow})
        button->setIconSize(QSize(40, 14));
    ui.Picture1->installEventFilter(this);
    m_hints = new HintPane(ui.lblHint, this, hinted(ui), &LevelEditForm::Hint);

    connect(ui.cboLevel, &QComboBox::currentIndexChanged, this, [this](int index) {
        stopPlayer();
        m_logic.cboLevel = m_levels->index(index, 0).data().toString();
        m_logic.EditCurrent();
        showFields();
    });
    connect(ui.txtLevelName, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_logic.txtLevelName = text;
        edited();
    });
    connect(ui.txtDescription, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_logic.txtDescription = text;
        edited();
    });
    connect(ui.cboAuthority, &QComboBox::activated, this, [this](int index) {
        m_logic.cboAuthority = index;
        edited();
    });
    connect(ui.colBackground, &QToolButton::clicked, this, [this] { chooseColor(m_logic.colBackground); });
    connect(ui.colForeground, &QToolButton::clicked, this, [this] { chooseColor(m_logic.colForeground); });
    connect(ui.colShadow, &QToolButton::clicked, this, [this] { chooseColor(m_logic.colShadow); });
    connect(ui.chkShadow, &QCheckBox::clicked, this, [this](bool checked) {
        m_logic.chkShadow = checked;
        edited();
    });
    connect(ui.cboSoundType, &QComboBox::activated, this, &frmLevelEdit::soundTypeChosen);
    connect(ui.txtSoundFile, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_logic.txtSoundFile = text;
        m_logic.txtSoundFile_Change();
        applyEnabling();
    });
    connect(m_browse, &QAction::triggered, this, &frmLevelEdit::browse);
    connect(ui.chkLooping, &QCheckBox::clicked, this, [this](bool checked) {
        m_logic.chkLooping = checked;
        edited();
    });
    connect(ui.cmdPLay, &QToolButton::clicked, this, &frmLevelEdit::play);
    connect(ui.cmdStop, &QToolButton::clicked, this, [this] {
        m_player->Stop();
        m_logic.cmdStop();
        applyEnabling();
    });
    connect(m_player, &SoundPlayer::SoundDone, this, [this] {
        m_logic.SoundDone();
        applyEnabling();
    });
    connect(ui.cmdAdd, &QPushButton::clicked, this, [this] { afterButton(m_logic.cmdAdd()); });
    connect(ui.cmdUpdate, &QPushButton::clicked, this, [this] { afterButton(m_logic.cmdUpdate()); });
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        if (m_logic.OKButton() == LevelEditForm::Close)
            close();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QWidget::close);
    connect(ui.DefaultButton, &QPushButton::clicked, this, [this] {
        stopPlayer();
        m_logic.DefaultButton();
        afterButton(true);
    });

    AssignLabels();
    m_logic.Load();
    fillLevels();
    showFields();
}

frmLevelEdit::~frmLevelEdit() = default;

std::function<bool(QString &path)> frmLevelEdit::defaultSharedPathRule()
{
    return [](QString &path) {
        // A file on a mount that has vanished since it was chosen is no longer there to share.
        if (!NetworkPaths::IsNetworkPath(path, {}) && !QFileInfo::exists(path))
            return false;
        return NetworkPaths::PathToUNC(path);
    };
}

void frmLevelEdit::AssignLabels()
{
    using T = LevelEditForm;
    setWindowTitle(ResString(T::Title));
    ui.lblLevel->setText(ResString(T::LabelLevels));
    ui.lblPreview->setText(ResString(T::LabelPreview));
    ui.fraGeneral->setTitle(ResString(T::FrameGeneral));
    ui.fraVisualEffects->setTitle(ResString(T::FrameVisual));
    ui.fraSoundEffects->setTitle(ResString(T::FrameSound));
    ui.lblLevelName->setText(ResString(T::LabelLevelName));
    ui.lblDescription->setText(ResString(T::LabelDescription));
    ui.lblAuthority->setText(ResString(T::LabelAuthority));
    ui.lblBackground->setText(ResString(T::LabelBackground));
    ui.lblForeground->setText(ResString(T::LabelForeground));
    ui.chkShadow->setText(ResString(T::CheckShadow));
    ui.lblSoundType->setText(ResString(T::LabelSoundType));
    ui.lblSoundFile->setText(ResString(T::LabelSoundFile));
    ui.chkLooping->setText(ResString(T::CheckLooping));
    ui.cmdAdd->setText(ResString(T::ButtonAdd));
    ui.cmdUpdate->setText(ResString(T::ButtonUpdate));
    ui.OKButton->setText(ResString(T::ButtonOK));
    ui.CancelButton->setText(ResString(T::ButtonCancel));
    ui.DefaultButton->setText(ResString(T::ButtonReset));
    m_browse->setText(ResString(9906));
    m_browse->setToolTip(ResString(9906));
    // The colour buttons show only their colour: they are called as their captions read.
    ui.colBackground->setAccessibleName(ResString(T::LabelBackground));
    ui.colForeground->setAccessibleName(ResString(T::LabelForeground));
    ui.colShadow->setAccessibleName(ResString(T::CheckShadow));
    ui.cmdPLay->setAccessibleName(ResString(AccessibleTexts::Play));
    ui.cmdStop->setAccessibleName(ResString(AccessibleTexts::Stop));
    ui.Picture1->setAccessibleName(ResString(T::LabelPreview));
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    m_levels->setHorizontalHeaderLabels({ResString(T::LabelLevelName), ResString(T::LabelDescription)});
    fillLists();
    Mnemonics::assign(this);
    if (m_hints)
        m_hints->refresh();
}

void frmLevelEdit::fillLists()
{
    const QSignalBlocker authority(ui.cboAuthority);
    const QSignalBlocker sound(ui.cboSoundType);
    ui.cboAuthority->clear();
    for (int index = 0; index < LevelEditForm::AuthorityCount; ++index)
        ui.cboAuthority->addItem(ResString(LevelEditForm::AuthorityFirst + index));
    ui.cboSoundType->clear();
    for (int code = 0; code < LevelEditForm::SoundTypeCount; ++code)
        ui.cboSoundType->addItem(ResString(LevelEditForm::SoundTypeFirst + code));
    // A code outside the lists shows as no choice and stays as it is.
    ui.cboAuthority->setCurrentIndex(
        m_logic.cboAuthority < LevelEditForm::AuthorityCount ? m_logic.cboAuthority : -1);
    ui.cboSoundType->setCurrentIndex(
        m_logic.cboSoundType < LevelEditForm::SoundTypeCount ? m_logic.cboSoundType : -1);
}

void frmLevelEdit::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QWidget::changeEvent(event);
}

void frmLevelEdit::closeEvent(QCloseEvent *event)
{
    m_player->Stop();
    event->accept();
}

void frmLevelEdit::keyPressEvent(QKeyEvent *event)
{
    // An open list or a field that uses Escape takes it first; only what they leave reaches here.
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

bool frmLevelEdit::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui.Picture1 && event->type() == QEvent::Paint) {
        QPainter painter(ui.Picture1);
        DrawLevelSample(painter, ui.Picture1->rect(), ui.txtLevelName->text(), m_logic.colBackground,
                        m_logic.colForeground, m_logic.colShadow, m_logic.chkShadow);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void frmLevelEdit::fillLevels()
{
    const QSignalBlocker blocker(ui.cboLevel);
    m_levels->removeRows(0, m_levels->rowCount());
    int chosen = -1;
    for (const level &row : m_logic.Levels()) {
        if (row.LevelName == m_logic.cboLevel)
            chosen = m_levels->rowCount();
        auto *name = new QStandardItem(row.LevelName);
        // Negative numbers are desktop colour indexes kept signed.
        name->setData(QVariantList{uint(qint64(row.BackColor)), uint(qint64(row.ForeColor)),
                                   uint(qint64(row.ShadowColor)), row.DrawShadow},
                      LevelDelegate::ColorRole);
        m_levels->appendRow({name, new QStandardItem(row.Description)});
    }
    ui.cboLevel->setCurrentIndex(chosen);
}

void frmLevelEdit::showFields()
{
    const QSignalBlocker blockers[] = {QSignalBlocker(ui.txtLevelName), QSignalBlocker(ui.txtDescription),
                                       QSignalBlocker(ui.txtSoundFile), QSignalBlocker(ui.chkShadow),
                                       QSignalBlocker(ui.chkLooping)};
    ui.txtLevelName->setText(m_logic.txtLevelName);
    ui.txtDescription->setText(m_logic.txtDescription);
    ui.txtSoundFile->setText(m_logic.txtSoundFile);
    ui.txtSoundFile->setToolTip(m_logic.txtSoundFileToolTip);
    ui.chkShadow->setChecked(m_logic.chkShadow);
    ui.chkLooping->setChecked(m_logic.chkLooping);
    fillLists();
    applyEnabling();
}

void frmLevelEdit::applyEnabling()
{
    ui.colBackground->setIcon(swatch(m_logic.colBackground));
    ui.colForeground->setIcon(swatch(m_logic.colForeground));
    ui.colShadow->setIcon(swatch(m_logic.colShadow));
    ui.txtSoundFile->setEnabled(m_logic.txtSoundFileEnabled);
    ui.chkLooping->setEnabled(m_logic.chkLoopingEnabled);
    ui.cmdPLay->setEnabled(m_logic.cmdPLayEnabled);
    ui.cmdStop->setEnabled(m_logic.cmdStopEnabled);
    // OK first: a pressed ADD or UPDATE that greys hands the keyboard on to it.
    ui.OKButton->setEnabled(m_logic.OKButtonEnabled);
    ui.DefaultButton->setEnabled(m_logic.DefaultButtonEnabled);
    ui.cmdAdd->setEnabled(m_logic.cmdAddEnabled);
    ui.cmdUpdate->setEnabled(m_logic.cmdUpdateEnabled);
    ui.Picture1->update();
}

void frmLevelEdit::edited()
{
    m_logic.EnableButtons();
    applyEnabling();
}

void frmLevelEdit::chooseColor(quint32 &color)
{
    TraceLog(QStringLiteral("frmLevelEdit:ColorEdit"));
    const QColor chosen = QColorDialog::getColor(ResolveColor(color), this);
    if (!chosen.isValid())
        return;
    color = storedColor(chosen);
    edited();
}

void frmLevelEdit::soundTypeChosen(int index)
{
    TraceLog(QStringLiteral("frmLevelEdit:cboSoundType_Click"));
    stopPlayer();
    m_logic.cboSoundType = index;
    m_logic.cboSoundType_Click();
    applyEnabling();
}

void frmLevelEdit::stopPlayer()
{
    m_player->Stop();
    if (m_logic.cmdStopEnabled)
        m_logic.SoundDone();
}

void frmLevelEdit::play()
{
    TraceLog(QStringLiteral("frmLevelEdit:cmdPLay_Click"));
    QString file = m_player->ResolveFile(qint16(m_logic.cboSoundType), m_logic.txtSoundFile);
    if (m_logic.cboSoundType == SoundCodes::File) {
        // A shared file is read through this machine's mount of its share.
        const QString local = NetworkPaths::LocalPathOf(file, NetworkPaths::ReadMounts());
        if (!local.isEmpty())
            file = local;
    }
    if (!m_logic.PlayFile(file)) {
        applyEnabling();
        return;
    }
    m_player->Open(file);
    if (m_logic.chkLooping)
        m_player->PlayLooping();
    else
        m_player->PlayOnce();
    applyEnabling();
}

void frmLevelEdit::browse()
{
    stopPlayer();
    applyEnabling();
    const QString path = QFileDialog::getOpenFileName(this, QString(), m_logic.txtSoundFile,
                                                      ResString(LevelEditForm::SoundFilter));
    if (m_logic.BrowseAccept(path))
        showFields();
}

void frmLevelEdit::afterButton(bool done)
{
    if (done)
        fillLevels();
    showFields();
}
