#pragma once

#include "core/Frontend.h"
#include "ui_frmAbout.h"

#include <QDialog>

// What this client is and where it keeps its things: the program, its
// version and build, the Qt it runs on, its folders and its link.
class frmAbout final : public QDialog
{
    Q_OBJECT
public:
    explicit frmAbout(const Frontend::AboutFacts &facts, QWidget *parent = nullptr);
    Ui::frmAbout ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
};
