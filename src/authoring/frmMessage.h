#pragma once

#include "authoring/MessageForm.h"
#include "ui_frmMessage.h"

#include <QWidget>

class HintPane;
class QStandardItemModel;

// The composer of messages and templates. It shows the fields of its logic and
// passes the person's actions to it; one instance is reused while it is open.
class frmMessage final : public QWidget
{
    Q_OBJECT
public:
    // The package composer when package is set: the same form without level and reply.
    explicit frmMessage(AuthoringContext context, bool package = false, QWidget *parent = nullptr);

    MessageForm &logic() { return m_logic; }
    // On show with fields the person changed since it was opened.
    bool BeingWritten();
    // Loads the form afresh, then the record of the mode.
    void OpenNew(int action, const QString &msgID, const QString &target);
    void EditMessage(const DVMessage &msg, int action);
    void ViewMessage(const DVMessage &msg);
    bool DuplicateMessage(Database &store, const QString &table, const QString &oldID, const QString &newID);
    // The answer to a directory request that this form made has been stored.
    void DisplayList(int kind);

    void AssignLabels();
    Ui::frmMessage ui;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void load();
    void showFields();
    void readFields();
    void applyEnabling();
    void fillLevels();
    void updateSample();
    void pressOK();
    void recipients(int kind);

    MessageForm m_logic;
    QStandardItemModel *m_levels = nullptr;
    HintPane *m_hints = nullptr;
};
