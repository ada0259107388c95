#include "ui/frmAbout.h"

#include "core/StringTable.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QEvent>

frmAbout::frmAbout(const Frontend::AboutFacts &facts, QWidget *parent) : QDialog(parent)
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui.lblVersion->setText(facts.version);
    ui.lblBuilt->setText(facts.buildDate);
    ui.lblQt->setText(facts.qtVersion);
    ui.lblData->setText(facts.dataFolder);
    ui.lblSettings->setText(facts.settingsFolder);
    ui.lblConnection->setText(facts.connection);
    connect(ui.OKButton, &QPushButton::clicked, this, &QDialog::accept);
    AssignLabels();
}

void frmAbout::AssignLabels()
{
    setWindowTitle(ResString(1280));
    ui.lblProduct->setText(QStringLiteral("<b>") + ResString(1281).toHtmlEscaped() + QStringLiteral("</b>"));
    const QList<QLabel *> captions = {ui.lblVersionCaption, ui.lblBuiltCaption,    ui.lblQtCaption,
                                      ui.lblDataCaption,    ui.lblSettingsCaption, ui.lblConnectionCaption};
    for (int n = 0; n < captions.size(); ++n)
        captions[n]->setText(ResString(1282 + n));
    ui.OKButton->setText(ResString(9900));
    Mnemonics::assign(this);
}

void frmAbout::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}
