#include "editors/frmPolicies.h"

#include "core/StringTable.h"
#include "ui/AccessibleTexts.h"
#include "ui/HintPane.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QApplication>
#include <QEvent>
#include <QStyle>

namespace {

// A theme icon from the first name the desktop knows, else one of the style's own,
// so the window never goes without.
QIcon themedIcon(const QStringList &names, QStyle::StandardPixmap fallback)
{
    for (const QString &name : names) {
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    }
    return QApplication::style()->standardIcon(fallback);
}

} // namespace

frmPolicies::frmPolicies(PoliciesForm::Context context, QWidget *parent)
    : QDialog(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui.numLifetime->setRange(PoliciesForm::LifetimeMin, PoliciesForm::LifetimeMax);
    ui.numReconnect->setRange(PoliciesForm::ReconnectMin, PoliciesForm::ReconnectMax);

    QList<QWidget *> hinted;
    for (QWidget *control : findChildren<QWidget *>()) {
        if (!PoliciesForm::Hint(control->objectName()).isEmpty())
            hinted.append(control);
    }
    m_hints =
        new HintPane(ui.lblHint, this, hinted, [](const QString &name) { return PoliciesForm::Hint(name); });
    for (QCheckBox *check : findChildren<QCheckBox *>())
        connect(check, &QCheckBox::toggled, this, [this] { controlChanged(true); });
    connect(ui.numLifetime, &QSpinBox::valueChanged, this, [this] { controlChanged(false); });
    connect(ui.numReconnect, &QSpinBox::valueChanged, this, [this] { controlChanged(false); });
    connect(ui.txtExtensions, &QLineEdit::textChanged, this, [this] { controlChanged(false); });

    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        readFields();
        const bool sent = m_logic.OKButton();
        showFields();
        if (sent)
            close();
    });
    connect(ui.DefaultButton, &QPushButton::clicked, this, [this] {
        m_logic.DefaultButton();
        showFields();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, [this] {
        m_logic.CancelButton();
        close();
    });
    showFields();
    AssignLabels();
}

void frmPolicies::Initialise(const QString &target, const QString &text)
{
    m_logic.Initialise(target, text);
    setIcon();
    showFields();
    AssignLabels();
}

void frmPolicies::Initialise(const QString &target, const Policies &policies)
{
    m_logic.Initialise(target, policies);
    setIcon();
    showFields();
    AssignLabels();
}

void frmPolicies::setIcon()
{
    if (m_logic.Icon() == PoliciesForm::WindowIcon::Universal)
        setWindowIcon(themedIcon({QStringLiteral("system-users"), QStringLiteral("user-group-properties"),
                                  QStringLiteral("preferences-system-network")},
                                 QStyle::SP_DriveNetIcon));
    else
        setWindowIcon(
            themedIcon({QStringLiteral("avatar-default"), QStringLiteral("user-identity"),
                        QStringLiteral("user-info"), QStringLiteral("preferences-desktop-personal")},
                       QStyle::SP_DirHomeIcon));
}

void frmPolicies::AssignLabels()
{
    setWindowTitle(m_logic.Caption());
    for (QAbstractButton *button : findChildren<QAbstractButton *>()) {
        const QString text = PoliciesForm::Label(button->objectName());
        if (!text.isEmpty())
            button->setText(text);
    }
    for (QLabel *label : findChildren<QLabel *>()) {
        const QString text = PoliciesForm::Label(label->objectName());
        if (!text.isEmpty())
            label->setText(text);
    }
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    Mnemonics::assign(this);
    if (m_hints)
        m_hints->refresh();
}

void frmPolicies::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}

void frmPolicies::controlChanged(bool checkBox)
{
    if (m_showing)
        return;
    readFields();
    if (checkBox)
        m_logic.CheckChanged();
    else
        m_logic.Changed();
    applyEnabling();
}

void frmPolicies::showFields()
{
    m_showing = true;
    ui.chkBroadcast->setChecked(m_logic.chkBroadcast);
    ui.chkExitClient->setChecked(m_logic.chkExitClient);
    ui.chkModify->setChecked(m_logic.chkModify);
    ui.chkAdminister->setChecked(m_logic.chkAdminister);
    ui.chkSendMessages->setChecked(m_logic.chkSendMessages);
    ui.numLifetime->setValue(m_logic.numLifetime);
    ui.chkSendToAll->setChecked(m_logic.chkSendToAll);
    ui.chkRepeating->setChecked(m_logic.chkRepeating);
    ui.chkRequestNotification->setChecked(m_logic.chkRequestNotification);
    ui.chkUseKorvan->setChecked(m_logic.chkUseKorvan);
    ui.chkUseDomain->setChecked(m_logic.chkUseDomain);
    ui.chkLink->setChecked(m_logic.chkLink);
    ui.txtExtensions->setText(m_logic.txtExtensions);
    ui.numReconnect->setValue(m_logic.numReconnect);
    m_showing = false;
    applyEnabling();
}

void frmPolicies::readFields()
{
    m_logic.chkBroadcast = ui.chkBroadcast->isChecked();
    m_logic.chkExitClient = ui.chkExitClient->isChecked();
    m_logic.chkModify = ui.chkModify->isChecked();
    m_logic.chkAdminister = ui.chkAdminister->isChecked();
    m_logic.chkSendMessages = ui.chkSendMessages->isChecked();
    m_logic.numLifetime = ui.numLifetime->value();
    m_logic.chkSendToAll = ui.chkSendToAll->isChecked();
    m_logic.chkRepeating = ui.chkRepeating->isChecked();
    m_logic.chkRequestNotification = ui.chkRequestNotification->isChecked();
    m_logic.chkUseKorvan = ui.chkUseKorvan->isChecked();
    m_logic.chkUseDomain = ui.chkUseDomain->isChecked();
    m_logic.chkLink = ui.chkLink->isChecked();
    m_logic.txtExtensions = ui.txtExtensions->text();
    m_logic.numReconnect = ui.numReconnect->value();
}

void frmPolicies::applyEnabling()
{
    for (QWidget *control : findChildren<QWidget *>()) {
        // The parts that Qt makes inside a control follow their control.
        if (!control->objectName().isEmpty() && !control->objectName().startsWith(QLatin1String("qt_")))
            control->setEnabled(m_logic.IsEnabled(control->objectName()));
    }
}
