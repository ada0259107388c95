#pragma once

#include "authoring/GroupEditForm.h"
#include "ui_frmGroupEdit.h"

#include <QDialog>

// The group editor: the name, the description and the members of a personal
// or shared group, shown modally. What OK saves and sends is its logic's.
class frmGroupEdit final : public QDialog
{
    Q_OBJECT
public:
    frmGroupEdit(GroupEditForm::Context context, GroupEditForm::Action action, QWidget *parent = nullptr);
    ~frmGroupEdit() override;

    GroupEditForm &logic() { return m_logic; }
    // Fields set by the caller after construction show through this.
    void showFields();
    // The editor on screen, which a directory's answer with "G" reaches; nullptr when none.
    static frmGroupEdit *current();
    // The directory asked for has come: its selection shows now.
    void DisplayList(int kind);
    Ui::frmGroupEdit ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    void readFields();
    void pressOK();

    GroupEditForm m_logic;
};
