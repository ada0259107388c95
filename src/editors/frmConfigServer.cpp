#include "editors/frmConfigServer.h"

#include "core/PropertyRows.h"
#include "core/StringTable.h"
#include "ui/AccessibleTexts.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QEvent>

frmConfigServer::frmConfigServer(ServerConfigForm::Context context, QWidget *parent)
    : QDialog(parent), m_logic(std::move(context))
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setModal(false);
    ui.propConfig->addRows(ServerConfigForm::Rows());
    connect(ui.propConfig, &PropertyInspector::editing, this, &frmConfigServer::OnEditing);
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        // OK pressed by its letter leaves the focus in a row that may still hold typed digits.
        ui.propConfig->commit();
        readRows();
        const ServerConfigForm::Outcome outcome = m_logic.OKButton();
        // On No to the port question the old port is back in its row.
        showRows();
        if (outcome == ServerConfigForm::Close)
            close();
    });
    connect(ui.DefaultButton, &QPushButton::clicked, this, [this] {
        m_logic.DefaultButton();
        showRows();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QDialog::close);
    AssignLabels();
    showRows();
    ui.propConfig->setCurrentKey(ServerConfigForm::Rows().constFirst().key);
}

void frmConfigServer::SetConfig(const ServerConfig &config)
{
    m_logic.SetConfig(config);
    showRows();
}

void frmConfigServer::SetConfig(const QString &text)
{
    m_logic.SetConfig(text);
    showRows();
}

void frmConfigServer::AssignLabels()
{
    setWindowTitle(ServerConfigForm::Title());
    for (const PropertyRow &row : ServerConfigForm::Rows())
        ui.propConfig->setCaption(row.key, PropertyHints::Caption(row.hint));
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    ui.DefaultButton->setText(ResString(1452));
    ui.propConfig->setAccessibleName(ResString(AccessibleTexts::Properties));
    ui.lblHint->setAccessibleName(ResString(AccessibleTexts::FieldHelp));
    Mnemonics::assign(this);
    OnEditing(m_hintKey);
}

void frmConfigServer::showRows()
{
    for (const PropertyRow &row : ServerConfigForm::Rows())
        ui.propConfig->setValue(row.key, m_logic.value(row.key));
}

void frmConfigServer::readRows()
{
    for (const PropertyRow &row : ServerConfigForm::Rows())
        m_logic.setValue(row.key, ui.propConfig->value(row.key));
}

void frmConfigServer::OnEditing(const QString &key)
{
    const PropertyRow *row = PropertyHints::find(ServerConfigForm::Rows(), key);
    if (!row)
        return;
    m_hintKey = key;
    ui.lblHint->setHtml(PropertyHints::Html(row->hint));
}

void frmConfigServer::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}
