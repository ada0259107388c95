#pragma once

#include "editors/ClientConfigForm.h"
#include "ui_frmClientConfig.h"

#include <QDialog>

// The reader's display options, shown modally from the menu.
class frmClientConfig final : public QDialog
{
    Q_OBJECT
public:
    explicit frmClientConfig(ClientConfigForm::Context context, QWidget *parent = nullptr);

    ClientConfigForm &logic() { return m_logic; }
    Ui::frmClientConfig ui;

public Q_SLOTS:
    // Escape and the window's close come here too: nothing is stored.
    void reject() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    // Greys the rows whose settings the administrator locked, with a tip that says so.
    void AssignLocks();
    // The rows from the logic's values, and back.
    void SetInfos();
    void readRows();
    void OnEditing(const QString &key);
    void OnEdited(const QString &key);
    void OnEditButtonClick(const QString &key);
    void UpdateFontInfos();

    ClientConfigForm m_logic;
    QString m_hintKey;
};
