#pragma once

#include "console/ConsoleContext.h"
#include "console/ConsoleFrame.h"
#include "ui_frmAdmin.h"

#include <QPointer>
#include <QWidget>

class frmList;

// The console: the side bar at the left, and one list at a time in the pane,
// made anew at each choice. What a role sees and what a click does is the
// frame's logic; this shows it.
class frmAdmin final : public QWidget
{
    Q_OBJECT
public:
    explicit frmAdmin(ConsoleContext context, QWidget *parent = nullptr);
    ~frmAdmin() override;

    // A directory's answer is stored: its list shows if the person still waits for it.
    void Display(int list);
    // The message, package or template list in the pane, nullptr when another or none stands there.
    frmList *currentList() const;
    // The list in the pane, whatever its kind.
    QWidget *currentChild() const { return m_child; }
    Ui::frmAdmin ui;

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void AssignLabels();
    void replaceChild(int list);
    void clicked(QTreeWidgetItem *item);

    ConsoleContext m_ctx;
    ConsoleFrame m_frame;
    QPointer<QWidget> m_child;
};
