#pragma once

#include "authoring/ReplyForm.h"
#include "ui_frmReply.h"

#include <QWidget>

class HintPane;

// The reply to a message read on the banner. It shows the fields of its logic
// and passes the person's actions to it.
class frmReply final : public QWidget
{
    Q_OBJECT
public:
    explicit frmReply(AuthoringContext context, QWidget *parent = nullptr);

    ReplyForm &logic() { return m_logic; }
    // On show with fields the person changed since it was opened.
    bool BeingWritten();
    // Loads the form afresh for the message answered, widened to all when asked.
    void Open(const DVMessage &msg, const QString &newID, bool toAll);
    void AssignLabels();
    Ui::frmReply ui;

protected:
    void changeEvent(QEvent *event) override;

private:
    void showFields();
    void readFields();
    void applyEnabling();

    ReplyForm m_logic;
    HintPane *m_hints = nullptr;
};
