#pragma once

#include "console/ConsoleContext.h"
#include "console/DirectoryList.h"
#include "console/DirectoryModel.h"
#include "ui_frmDirectory.h"

#include <QSortFilterProxyModel>
#include <QWidget>

class GridColumns;
class QMenu;

// One directory list of the console's pane: users, machines, groups or role
// holders, with the quick filter, the members of the focused group and the
// popup menu. What the rows are and what a command does is the list's logic.
class frmDirectory final : public QWidget
{
    Q_OBJECT
public:
    frmDirectory(int list, ConsoleContext context, QWidget *parent = nullptr);
    ~frmDirectory() override;

    int list() const { return int(m_directory.kind()); }
    // Reads every row anew.
    void LoadData();
    // Keeps the layout for the next list; once.
    void Unload();
    QMenu *menu() const { return m_menu; }
    QStringList selectedKeys() const;
    Ui::frmDirectory ui;

Q_SIGNALS:
    // A refresh went to the server; its answer re-creates the list.
    void waitingForServer();

protected:
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    void showMenu(const QPoint &at);
    void run(DirectoryList::Item item);
    void showMembers();
    // The role editor, empty or on the focused holder.
    void editRole(bool edit);
    QString focusedKey() const;
    int selectedCount() const;

    ConsoleContext m_ctx;
    DirectoryList m_directory;
    DirectoryModel m_model;
    QSortFilterProxyModel m_filter;
    GridColumns *m_columns = nullptr;
    QMenu *m_menu = nullptr;
    QList<std::pair<DirectoryList::Item, QAction *>> m_actions;
    QAction *m_export = nullptr;
};
