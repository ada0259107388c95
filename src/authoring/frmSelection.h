#pragma once

#include "authoring/SelectionList.h"
#include "ui_frmSelection.h"

#include <QDialog>

class QMenu;

// The dialog in which the person ticks the entries of one directory into a
// target. What is ticked and what survives is the list's business.
class frmSelection final : public QDialog
{
    Q_OBJECT
public:
    explicit frmSelection(QWidget *parent = nullptr);

    void Initialize(int kind, const QList<SelectionList::Row> &rows, const QString &target);
    // The target as it stands after OK, or as it was given after Cancel.
    QString Result() const { return m_result; }
    SelectionList &list() { return m_list; }

    Ui::frmSelection ui;
    QMenu *mnuSelection = nullptr;
    QAction *mnuSelectAll = nullptr;
    QAction *mnuUnselectAll = nullptr;

private:
    // The kind's fixed layout file, else the names' width.
    void applyLayout(int kind);
    void showSelection();

    SelectionList m_list;
    QString m_target;
    QString m_result;
};
