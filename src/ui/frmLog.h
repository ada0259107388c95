#pragma once

#include <QDialog>

class QPlainTextEdit;
class QPushButton;

// Shows client.log as it stands when the form opens; reopen it to see later lines.
class frmLog final : public QDialog
{
    Q_OBJECT
public:
    explicit frmLog(const QString &logFileName, QWidget *parent = nullptr);

    QPlainTextEdit *rtfLog = nullptr;
    QPushButton *btnCopy = nullptr;
    QPushButton *OKButton = nullptr;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    void btnCopy_Click();
};
