#pragma once

#include "authoring/AdminsEditForm.h"
#include "ui_frmAdminsEdit.h"

#include <QDialog>

// The role editor, shown modally from the role holders' list.
class frmAdminsEdit final : public QDialog
{
    Q_OBJECT
public:
    explicit frmAdminsEdit(AdminsEditForm::Context context, QWidget *parent = nullptr);

    AdminsEditForm &logic() { return m_logic; }
    void showFields();
    // The editor on screen, which the users' answer with "L" reaches; nullptr when none.
    static frmAdminsEdit *current();
    void DisplayUsers();
    Ui::frmAdminsEdit ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    void readFields();

    AdminsEditForm m_logic;
};
