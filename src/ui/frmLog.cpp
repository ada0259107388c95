#include "ui/frmLog.h"

#include "core/Frontend.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmLog::frmLog(const QString &logFileName, QWidget *parent) : QDialog(parent)
{
    TraceLog(QStringLiteral("frmLog:Form_Load"));
    setAttribute(Qt::WA_DeleteOnClose);
    rtfLog = new QPlainTextEdit(this);
    rtfLog->setReadOnly(true);
    rtfLog->setLineWrapMode(QPlainTextEdit::NoWrap);
    btnCopy = new QPushButton(this);
    OKButton = new QPushButton(this);
    OKButton->setDefault(true);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(btnCopy);
    buttons->addStretch(1);
    buttons->addWidget(OKButton);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(rtfLog, 1);
    layout->addLayout(buttons);
    resize(720, 420);
    ScreenFit::keepOnScreen(this);

    AssignLabels();
    connect(btnCopy, &QPushButton::clicked, this, &frmLog::btnCopy_Click);
    connect(OKButton, &QPushButton::clicked, this, &QDialog::accept);

    QFile file(logFileName);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text))
        rtfLog->setPlainText(QString::fromUtf8(file.readAll()));
    else if (file.exists())
        WriteLog(QStringLiteral("frmLog:Form_Load - ") + file.errorString());
}

void frmLog::AssignLabels()
{
    setWindowTitle(ResString(9904));
    btnCopy->setText(ResString(9905));
    OKButton->setText(ResString(9900));
    rtfLog->setAccessibleName(ResString(9904));
    Mnemonics::assign(this);
}

void frmLog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QDialog::changeEvent(event);
}

void frmLog::btnCopy_Click()
{
    TraceLog(QStringLiteral("frmLog:btnCopy_Click"));
    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(rtfLog->toPlainText());
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(QStringLiteral("Text copied to clipboard"), QStringLiteral("Copy log text"),
                                 IconInformation, ButtonsOk);
}
