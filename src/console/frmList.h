#pragma once

#include "console/ConsoleContext.h"
#include "console/GridLayout.h"
#include "console/GroupedRecords.h"
#include "console/MessageList.h"
#include "console/RecordModel.h"
#include "console/TemplateList.h"
#include "ui/GridState.h"
#include "ui_frmList.h"

#include <QWidget>

#include <memory>

class QHeaderView;
class QMenu;

// One list of the console's pane: a message, package or template list, its
// quick filter, its detail grids and its popup menu. What the rows are and what
// a command does is its list's logic; this shows them.
class frmList final : public QWidget
{
    Q_OBJECT
public:
    frmList(int list, ConsoleContext context, QWidget *parent = nullptr);
    ~frmList() override;

    int list() const { return m_list; }
    // The engine's and the composers' calls while the list is shown.
    void AddRecord(const DVMessage &msg);
    void DelRecord(const QString &msgID);
    // The row of this ID read anew from the list's table, through its filter.
    void RecordChanged(const QString &msgID) { reloadRow(msgID); }
    // Reads every row anew.
    void LoadData();
    // Keeps the layout, the splitter and the view of replies for the next list; once.
    void Unload();

    RecordModel &model() { return m_model; }
    QMenu *menu() const { return m_menu; }
    Ui::frmList ui;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void AssignLabels();
    // The flat grid, or the tree while a column is grouped.
    QAbstractItemView *view() const;
    QHeaderView *header() const;
    void buildMenu();
    void showMenu(const QPoint &at);
    void run(int item);
    void showDetails();
    QString focusedID() const;
    QStringList selectedIDs() const;
    // The rows a command acts on, taken when its menu opens or its key is pressed: by ID, so that a
    // row the server moves or removes meanwhile is never taken for its neighbour. Headings are no rows.
    struct Chosen
    {
        QString focused;
        QStringList selected;
    };
    Chosen chosen() const;
    // The first column the grid shows, by its place.
    int firstShownVisual() const;
    void keepGrouping();
    void restoreGrouping();
    void reloadRow(const QString &msgID);
    // Columns: the design ones, those of a layout file, and what the person arranged.
    void designColumns();
    void applyLayout();
    void applyState(const GridState &state);
    // Groups the rows under a column's values (-1: no grouping), keeping the columns as they stand.
    void setGrouping(int column);
    // The row of the list's model that a shown row stands for; -1 for a group's row.
    int sourceRowOf(const QModelIndex &viewIndex) const;
    GridState columnState() const;
    bool saveCustom() const;
    void showLayoutMenu(const QPoint &at);
    void chooseLayout(GridLayout::Number number);
    void exportCsv();
    QString traceName() const;
    QString splitterKey() const;

    int m_list;
    ConsoleContext m_ctx;
    std::unique_ptr<MessageList> m_messages;
    std::unique_ptr<TemplateList> m_templates;
    RecordModel m_model;
    GroupedRecords m_grouped{&m_model};
    // The header section pressed, while a drag of it may end on the group panel.
    int m_dragColumn = -1;
    QMenu *m_menu = nullptr;
    QList<std::pair<int, QAction *>> m_actions;
    QAction *m_export = nullptr;
    Chosen m_chosen;
    // What a regrouping keeps: the rows chosen and the headings the person closed.
    struct Kept
    {
        Chosen rows;
        QStringList closed;
    } m_kept;
    GridLayout m_layout;
    bool m_applying = false;
    bool m_unloaded = false;
    // The grid's height kept from the last time, until the pane first has its own.
    int m_gridHeight = 0;
    bool m_splitterShown = false;
};
