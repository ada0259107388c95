#pragma once

#include "editors/PoliciesForm.h"
#include "ui_frmPolicies.h"

#include <QDialog>

class HintPane;

// The policies editor, shown without blocking the console; it goes when closed.
class frmPolicies final : public QDialog
{
    Q_OBJECT
public:
    explicit frmPolicies(PoliciesForm::Context context, QWidget *parent = nullptr);

    void Initialise(const QString &target, const QString &text);
    void Initialise(const QString &target, const Policies &policies);
    PoliciesForm &logic() { return m_logic; }
    void AssignLabels();
    Ui::frmPolicies ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void showFields();
    void readFields();
    void applyEnabling();
    void setIcon();
    // What the person changed; a check box also redoes the enabling.
    void controlChanged(bool checkBox);

    PoliciesForm m_logic;
    HintPane *m_hints = nullptr;
    // Set while the fields are filled from the record, which is no change of the person's.
    bool m_showing = false;
};
