#include "console/frmDirectory.h"

#include "console/ConsoleFrame.h"
#include "console/GridColumns.h"
#include "core/Frontend.h"
#include "core/StringTable.h"
#include "ui/ContextMenuKey.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>

namespace {

int captionOf(DirectoryList::Item item)
{
    static const int texts[] = {1260, 1224, 1261, 1262, 1263, 1231, 1220, 1221, 1225};
    return texts[item];
}

// The file prefix of each list's layouts, by its number from the domain groups on.
QString prefixOf(DirectoryList::Kind kind)
{
    static const char *const prefixes[] = {"DomainGroups", "KorvaneGroups", "MyGroups",
                                           "Users",        "Machines",      "AdminsList"};
    return QLatin1String(prefixes[kind - DirectoryList::DomainGroups]);
}

} // namespace

frmDirectory::frmDirectory(int list, ConsoleContext context, QWidget *parent)
    : QWidget(parent), m_ctx(context),
      m_directory(DirectoryList::Kind(list),
                  DirectoryList::Context{context.clientDB, context.tempDB, context.frontend, context.process,
                                         context.session, context.user, context.sendData})
{
    ui.setupUi(this);
    m_filter.setSourceModel(&m_model);
    // The quick filter looks at every cell, in any case.
    m_filter.setFilterKeyColumn(-1);
    m_filter.setFilterCaseSensitivity(Qt::CaseInsensitive);
    ui.grid->setModel(&m_filter);
    ui.grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ui.grid->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    ui.grid->sortByColumn(-1, Qt::AscendingOrder);
    const QString prefix = prefixOf(m_directory.kind());
    m_columns = new GridColumns(ui.grid, ui.grid->horizontalHeader(), m_ctx, prefix,
                                QStringLiteral("frm") + prefix, this);
    ContextMenuKey::attach(ui.grid);
    ui.gridMembers->setVisible(m_directory.HasMembers());
    connect(ui.txtFilter, &QLineEdit::textChanged, &m_filter, &QSortFilterProxyModel::setFilterFixedString);
    connect(ui.grid, &QWidget::customContextMenuRequested, this, &frmDirectory::showMenu);
    connect(ui.grid->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &frmDirectory::showMembers);

    m_menu = new QMenu(this);
    for (DirectoryList::Item item : m_directory.Items()) {
        QAction *action = m_menu->addAction(QString());
        connect(action, &QAction::triggered, this, [this, item] { run(item); });
        m_actions << std::pair{item, action};
        if (item == DirectoryList::mnuDelete) {
            // The keyboard's Delete, under the same rule as the menu's.
            auto *key = new QAction(this);
            key->setShortcut(QKeySequence::Delete);
            key->setShortcutContext(Qt::WidgetShortcut);
            connect(key, &QAction::triggered, this, [this] {
                if (m_directory.Enabled(DirectoryList::mnuDelete, selectedCount()))
                    run(DirectoryList::mnuDelete);
            });
            ui.grid->addAction(key);
        }
    }
    m_menu->addSeparator();
    m_export = m_menu->addAction(QString(), m_columns, &GridColumns::exportCsv);
    AssignLabels();
    LoadData();
    m_columns->Load();
}

frmDirectory::~frmDirectory()
{
    Unload();
}

void frmDirectory::Unload()
{
    m_columns->Unload();
}

void frmDirectory::AssignLabels()
{
    ui.txtFilter->setPlaceholderText(ResString(1234));
    ui.txtFilter->setAccessibleName(ResString(1234));
    ui.grid->setAccessibleName(ResString(ConsoleFrame::CaptionOf(list())));
    ui.gridMembers->setHeaderLabels({ResString(1272)});
    ui.gridMembers->setAccessibleName(ResString(1272));
    for (const auto &[item, action] : m_actions)
        action->setText(ResString(captionOf(item)));
    m_export->setText(ResString(1238));
    m_model.retranslate();
}

void frmDirectory::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        AssignLabels();
        // The role words of the administrators' list are read as the rows load.
        if (m_directory.kind() == DirectoryList::Administrators)
            LoadData();
    }
    QWidget::changeEvent(event);
}

void frmDirectory::LoadData()
{
    QStringList columns;
    QList<QStringList> rows = m_directory.LoadData(&columns);
    m_model.setRows(columns, std::move(rows));
    showMembers();
}

int frmDirectory::selectedCount() const
{
    return int(ui.grid->selectionModel()->selectedRows().size());
}

QString frmDirectory::focusedKey() const
{
    const QModelIndex current = ui.grid->currentIndex();
    return current.isValid() ? m_filter.index(current.row(), 0).data().toString() : QString();
}

QStringList frmDirectory::selectedKeys() const
{
    // In the order the person selected them.
    const QModelIndexList rows = ui.grid->selectionModel()->selectedRows();
    QStringList keys;
    for (const QModelIndex &row : rows)
        keys << row.data().toString();
    return keys;
}

void frmDirectory::showMenu(const QPoint &at)
{
    const int selected = selectedCount();
    for (const auto &[item, action] : m_actions)
        action->setEnabled(m_directory.Enabled(item, selected));
    m_menu->popup(ui.grid->viewport()->mapToGlobal(at));
}

void frmDirectory::run(DirectoryList::Item item)
{
    switch (item) {
    case DirectoryList::mnuSend:
        m_directory.Send(selectedKeys());
        break;
    case DirectoryList::mnuDelete: {
        const QModelIndex current = ui.grid->currentIndex();
        if (current.isValid() && m_directory.Delete(focusedKey()))
            m_filter.removeRow(current.row());
        showMembers();
        break;
    }
    case DirectoryList::mnuChangeName:
        m_directory.ChangeName();
        break;
    case DirectoryList::mnuChangeLanguage:
    case DirectoryList::mnuChangeAgent:
        // Kept as they always were: items with nothing behind them.
        break;
    case DirectoryList::mnuNew:
    case DirectoryList::mnuEdit:
    case DirectoryList::mnuDuplicate: {
        if (m_directory.kind() == DirectoryList::Administrators) {
            editRole(item == DirectoryList::mnuEdit);
            break;
        }
        // New starts empty; Edit and Duplicate start from the focused group.
        QString name, description, members;
        if (item != DirectoryList::mnuNew) {
            name = focusedKey();
            description = m_filter.index(ui.grid->currentIndex().row(), 1).data().toString();
            members = m_directory.Members(name).join(QLatin1Char(','));
        }
        // The list on screen is the one the editor changed: it shows the change whatever CurrentList says.
        if (m_ctx.frontend.EditGroupForm(m_directory.GroupAction(item), name, description, members))
            LoadData();
        break;
    }
    case DirectoryList::mnuRefresh:
        if (m_directory.Refresh()) {
            LoadData();
        } else {
            m_model.removeRows(0, m_model.rowCount());
            Q_EMIT waitingForServer();
        }
        break;
    }
}

void frmDirectory::editRole(bool edit)
{
    QString userID;
    int authority = 0;
    if (edit) {
        // The role as its index: the row shows its word.
        const QString word = m_filter.index(ui.grid->currentIndex().row(), 1).data().toString();
        while (authority < 4 && ResString(1268 + authority) != word)
            ++authority;
        // A role no version knows opens on the least one: OK must never grant more by itself.
        if (authority == 4)
            authority = 0;
        userID = focusedKey();
    }
    if (m_ctx.frontend.EditRoleForm(userID, authority))
        LoadData();
}

void frmDirectory::showMembers()
{
    ui.gridMembers->clear();
    if (!m_directory.HasMembers())
        return;
    const QString group = focusedKey();
    if (group.isEmpty())
        return;
    for (const QString &member : m_directory.Members(group))
        ui.gridMembers->addTopLevelItem(new QTreeWidgetItem(QStringList{member}));
}
