#include "editors/frmClientConfig.h"

#include "core/PropertyRows.h"
#include "core/StringTable.h"
#include "ui/AccessibleTexts.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QEvent>
#include <QFontDialog>

using namespace Qt::StringLiterals;

frmClientConfig::frmClientConfig(ClientConfigForm::Context context, QWidget *parent)
    : QDialog(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    ui.propConfig->addRows(ClientConfigForm::Rows());
    connect(ui.propConfig, &PropertyInspector::editing, this, &frmClientConfig::OnEditing);
    connect(ui.propConfig, &PropertyInspector::edited, this, &frmClientConfig::OnEdited);
    connect(ui.propConfig, &PropertyInspector::buttonClicked, this, &frmClientConfig::OnEditButtonClick);
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        // OK pressed by its letter leaves the focus in a row that may still hold typed digits.
        ui.propConfig->commit();
        readRows();
        if (m_logic.OKButton() == ClientConfigForm::Close)
            accept();
    });
    connect(ui.DefaultButton, &QPushButton::clicked, this, [this] {
        if (m_logic.DefaultButton() == ClientConfigForm::Close)
            accept();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &frmClientConfig::reject);
    AssignLabels();
    SetInfos();
    ui.propConfig->setCurrentKey(ClientConfigForm::Rows().constFirst().key);
}

void frmClientConfig::AssignLabels()
{
    setWindowTitle(ClientConfigForm::Title());
    for (const PropertyRow &row : ClientConfigForm::Rows()) {
        ui.propConfig->setCaption(row.key, PropertyHints::Caption(row.hint));
        if (row.kind == PropertyKind::List)
            ui.propConfig->setListItems(row.key, ClientConfigForm::ListItems(row.key));
    }
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    ui.DefaultButton->setText(ResString(1452));
    ui.propConfig->setAccessibleName(ResString(AccessibleTexts::Properties));
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    AssignLocks();
    Mnemonics::assign(this);
    OnEditing(m_hintKey);
}

void frmClientConfig::AssignLocks()
{
    for (const PropertyRow &row : ClientConfigForm::Rows()) {
        if (!m_logic.isLocked(row.key))
            continue;
        ui.propConfig->setRowEnabled(row.key, false);
        ui.propConfig->setRowToolTip(row.key, ClientConfigForm::LockedHint());
    }
}

void frmClientConfig::SetInfos()
{
    for (const PropertyRow &row : ClientConfigForm::Rows())
        ui.propConfig->setValue(row.key, m_logic.value(row.key));
}

void frmClientConfig::readRows()
{
    for (const PropertyRow &row : ClientConfigForm::Rows())
        m_logic.setValue(row.key, ui.propConfig->value(row.key));
}

void frmClientConfig::OnEditing(const QString &key)
{
    // A key without a row (none yet) leaves the hint as it stands.
    const PropertyRow *row = PropertyHints::find(ClientConfigForm::Rows(), key);
    if (!row)
        return;
    m_hintKey = key;
    ui.lblHint->setHtml(PropertyHints::Html(row->hint));
}

void frmClientConfig::OnEdited(const QString &key)
{
    if (key == "Language"_L1) {
        // The pending edits of the other rows survive the new words.
        readRows();
        m_logic.LanguageChosen(ui.propConfig->value(key).toInt());
        AssignLabels();
        SetInfos();
    } else if (key.startsWith("Font"_L1)) {
        UpdateFontInfos();
    }
}

void frmClientConfig::OnEditButtonClick(const QString &key)
{
    if (key != "Font"_L1 && key != "FontName"_L1)
        return;
    readRows();
    const ClientConfigForm::Values &values = m_logic.values;
    // A name this machine lacks gets the nearest font in the dialog; the row keeps it until a choice.
    QFont font(values.FontName);
    if (values.FontSize > 0)
        font.setPointSize(values.FontSize);
    font.setBold(values.FontBold);
    font.setItalic(values.FontItalic);
    bool ok = false;
    const QFont chosen = QFontDialog::getFont(&ok, font, this);
    if (!ok)
        return;
    m_logic.FontChosen(chosen.family(), chosen.pointSize(), chosen.bold(), chosen.italic());
    SetInfos();
}

void frmClientConfig::UpdateFontInfos()
{
    readRows();
    ui.propConfig->setValue(u"Font"_s, m_logic.FontSummary());
}

void frmClientConfig::reject()
{
    m_logic.CancelButton();
    QDialog::reject();
}

void frmClientConfig::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}
