#include "console/frmList.h"

#include "console/ConsoleFrame.h"
#include "console/CsvExport.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserStore.h"
#include "store/DBFunctions.h"
#include "ui/AccessibleTexts.h"
#include "ui/CodeCellDelegate.h"
#include "ui/ContextMenuKey.h"
#include "ui/LevelCellDelegate.h"

#include <QAction>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>
#include <QSaveFile>

namespace {

// The file prefix of each list's layouts.
QString prefixOf(int list)
{
    switch (list) {
    case 1:
        return QStringLiteral("Inbox");
    case 2:
        return QStringLiteral("Outbox");
    case 3:
        return QStringLiteral("DeletedMsg");
    case 4:
        return QStringLiteral("AllMsgs");
    case 5:
        return QStringLiteral("Stemplates");
    case 6:
        return QStringLiteral("Ptemplates");
    case 7:
        return QStringLiteral("InPkg");
    default:
        return QStringLiteral("OutPkg");
    }
}

// The columns a list shows until the person arranges them.
const QList<int> ShownColumns = {3, 5, 6, 12, 13, 20, 18, 21, 0};

// The caption of each menu item, by the message lists' item numbers.
int captionOf(int item, bool templates)
{
    if (templates) {
        static const int texts[] = {1220, 1232, 1221, 1225, 1226, 1227, 1224, 1231};
        return texts[item];
    }
    static const int texts[] = {1220, 1221, 1222, 1223, 1224, 1225, 1226, 1227, 1228, 1229, 1230, 1231};
    return texts[item];
}

} // namespace

frmList::frmList(int list, ConsoleContext context, QWidget *parent)
    : QWidget(parent), m_list(list), m_ctx(std::move(context)),
      m_layout(prefixOf(list), m_ctx.programDir, m_ctx.dataDir)
{
    ui.setupUi(this);
    if (list == TemplateList::Shared || list == TemplateList::Personal) {
        m_templates = std::make_unique<TemplateList>(
            TemplateList::Kind(list), TemplateList::Context{m_ctx.clientDB, m_ctx.tempDB, m_ctx.user,
                                                            m_ctx.process, m_ctx.session, m_ctx.sendData});
    } else {
        m_messages = std::make_unique<MessageList>(
            MessageList::Kind(list),
            MessageList::Context{m_ctx.clientDB, m_ctx.tempDB, m_ctx.clock, m_ctx.frontend, m_ctx.process,
                                 m_ctx.session, m_ctx.sendData});
        if (list == MessageList::Outbox)
            m_messages->ViewMyReplies =
                UserStore(m_ctx.userStoreFile)
                    .read(QStringLiteral("Setup"), QStringLiteral("OutboxViewReplies"),
                          QStringLiteral("1")) == QLatin1String("1");
    }
    ui.grid->setModel(&m_model);
    ui.groupGrid->setModel(&m_grouped);
    // Headings open and close in the first column shown, where their caption stands.
    ui.groupGrid->setTreePosition(-1);
    // A row arriving regroups the list: the headings closed and the rows chosen stay so.
    connect(&m_grouped, &QAbstractItemModel::modelAboutToBeReset, this, &frmList::keepGrouping);
    connect(&m_grouped, &QAbstractItemModel::modelReset, this, &frmList::restoreGrouping);
    // Rows of one line and one height: the grid never measures them, so an
    // insert into 100,000 rows costs no layout of the others.
    ui.grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ui.grid->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    ui.grid->horizontalHeader()->setStretchLastSection(true);
    const auto arranged = [this] {
        m_grouped.setCaptionColumn(header()->logicalIndex(firstShownVisual()));
        if (!m_applying)
            m_layout.ColumnsChanged();
    };
    for (QAbstractItemView *grid :
         {static_cast<QAbstractItemView *>(ui.grid), static_cast<QAbstractItemView *>(ui.groupGrid)}) {
        grid->setItemDelegateForColumn(5, new LevelCellDelegate(m_ctx.levels, grid));
        grid->setItemDelegateForColumn(6, new CodeCellDelegate(CodeCellDelegate::Delivery, grid));
        grid->setItemDelegateForColumn(21, new CodeCellDelegate(CodeCellDelegate::Status, grid));
        connect(grid, &QWidget::customContextMenuRequested, this, &frmList::showMenu);
        connect(grid->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmList::showDetails);
    }
    for (QHeaderView *columns : {ui.grid->horizontalHeader(), ui.groupGrid->header()}) {
        columns->setSectionsMovable(true);
        columns->setContextMenuPolicy(Qt::CustomContextMenu);
        connect(columns, &QWidget::customContextMenuRequested, this, &frmList::showLayoutMenu);
        connect(columns, &QHeaderView::sectionMoved, this, arranged);
        connect(columns, &QHeaderView::sectionResized, this, arranged);
        // A sort chosen by a click is part of the person's own layout.
        connect(columns, &QHeaderView::sortIndicatorChanged, this, arranged);
        columns->viewport()->installEventFilter(this);
    }
    connect(ui.lblGroupPanel, &QWidget::customContextMenuRequested, this, [this](const QPoint &at) {
        showLayoutMenu(header()->mapFromGlobal(ui.lblGroupPanel->mapToGlobal(at)));
    });
    m_layout.Load(UserStore(m_ctx.userStoreFile)
                      .read(QStringLiteral("Setup"), m_layout.LayoutKey(), QStringLiteral("0")));
    if (m_layout.Activate())
        applyLayout();
    // The grid's height in the pane, as the person left it; the templates keep none. It is applied
    // once the pane has its own height, which the layout gives it only when shown.
    if (!m_templates) {
        bool ok = false;
        const int grid = UserStore(m_ctx.userStoreFile)
                             .read(QStringLiteral("Setup"), splitterKey(), QString())
                             .trimmed()
                             .toInt(&ok);
        m_gridHeight = ok && grid > 0 ? grid : 0;
        ui.ActiveSizer1->installEventFilter(this);
    }
    for (QAbstractItemView *grid :
         {static_cast<QAbstractItemView *>(ui.grid), static_cast<QAbstractItemView *>(ui.groupGrid)}) {
        ContextMenuKey::attach(grid);
        grid->installEventFilter(this);
    }
    const bool receipts = m_messages && m_messages->HasReceipts();
    const bool history = m_messages && m_messages->HasHistory();
    ui.tabDetails->setTabVisible(0, receipts);
    ui.tabDetails->setTabVisible(1, history);
    ui.tabDetails->setVisible(receipts || history);

    connect(ui.txtFilter, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_model.setQuickFilter(text); });
    buildMenu();
    AssignLabels();
    LoadData();
}

void frmList::AssignLabels()
{
    ui.txtFilter->setPlaceholderText(ResString(1234));
    ui.txtFilter->setAccessibleName(ResString(1234));
    ui.tabDetails->setTabText(0, ResString(1236));
    ui.tabDetails->setTabText(1, ResString(1237));
    ui.gridReceipt->setAccessibleName(ResString(1236));
    ui.gridHistory->setAccessibleName(ResString(1237));
    ui.grid->setAccessibleName(ResString(ConsoleFrame::CaptionOf(m_list)));
    ui.groupGrid->setAccessibleName(ResString(ConsoleFrame::CaptionOf(m_list)));
    for (const auto &[item, action] : m_actions)
        action->setText(ResString(captionOf(item, !m_messages)));
    if (m_export)
        m_export->setText(ResString(1238));
    // The panel's hint has always ended with a blank; grouped, it names the column.
    if (m_grouped.groupColumn() < 0)
        ui.lblGroupPanel->setText(ResString(1252));
}

void frmList::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QWidget::changeEvent(event);
}

frmList::~frmList()
{
    Unload();
}

void frmList::Unload()
{
    if (std::exchange(m_unloaded, true))
        return;
    UserStore(m_ctx.userStoreFile)
        .write(QStringLiteral("Setup"), m_layout.LayoutKey(), m_layout.StoredNumber());
    if (m_layout.SaveOnUnload())
        saveCustom();
    // A pane never shown has no height of its own to keep.
    if (!m_templates && m_splitterShown)
        UserStore(m_ctx.userStoreFile)
            .write(QStringLiteral("Setup"), splitterKey(),
                   QString::number(ui.ActiveSizer1->sizes().value(0)));
    if (m_messages && m_list == MessageList::Outbox)
        UserStore(m_ctx.userStoreFile)
            .write(QStringLiteral("Setup"), QStringLiteral("OutboxViewReplies"),
                   m_messages->ViewMyReplies ? QStringLiteral("1") : QStringLiteral("0"));
}

void frmList::buildMenu()
{
    m_menu = new QMenu(this);
    QList<int> items;
    if (m_messages)
        for (MessageList::Item item : m_messages->Items())
            items << int(item);
    else
        for (TemplateList::Item item : m_templates->Items())
            items << int(item);
    for (int item : items) {
        QAction *action = m_menu->addAction(QString());
        connect(action, &QAction::triggered, this, [this, item] { run(item); });
        m_actions << std::pair{item, action};
        // The keyboard reaches the everyday commands from the grid.
        const bool isNew = m_messages ? item == MessageList::mnuNew : item == TemplateList::mnuNew;
        const bool isEdit = m_messages ? item == MessageList::mnuEdit : item == TemplateList::mnuEdit;
        const bool isDelete = m_messages ? item == MessageList::mnuDelete : item == TemplateList::mnuDelete;
        if (isNew || isEdit || isDelete) {
            auto *key = new QAction(this);
            key->setShortcut(isNew    ? QKeySequence::New
                             : isEdit ? QKeySequence(Qt::Key_Return)
                                      : QKeySequence::Delete);
            key->setShortcutContext(Qt::WidgetShortcut);
            connect(key, &QAction::triggered, this, [this, item] {
                m_chosen = chosen();
                const int selected = int(m_chosen.selected.size());
                const bool enabled = m_messages ? m_messages->Enabled(MessageList::Item(item), selected)
                                                : m_templates->Enabled(TemplateList::Item(item), selected);
                if (enabled)
                    run(item);
            });
            ui.grid->addAction(key);
            ui.groupGrid->addAction(key);
        }
        if (m_messages && item == MessageList::mnuViewMyReplies) {
            action->setCheckable(true);
            action->setChecked(m_messages->ViewMyReplies);
        }
    }
    // Every list exports, the Received packages too, which have no command of their own.
    if (!m_actions.isEmpty())
        m_menu->addSeparator();
    m_export = m_menu->addAction(QString(), this, &frmList::exportCsv);
}

int frmList::firstShownVisual() const
{
    const QHeaderView *columns = ui.groupGrid->header();
    for (int visual = 0; visual < columns->count(); ++visual)
        if (!columns->isSectionHidden(columns->logicalIndex(visual)))
            return visual;
    return 0;
}

void frmList::keepGrouping()
{
    m_kept = {chosen(), {}};
    for (int heading = 0; heading < m_grouped.rowCount(); ++heading)
        if (!ui.groupGrid->isExpanded(m_grouped.index(heading, 0)))
            m_kept.closed << m_grouped.groupValue(heading);
}

void frmList::restoreGrouping()
{
    ui.groupGrid->setTreePosition(-1);
    for (int heading = 0; heading < m_grouped.rowCount(); ++heading)
        ui.groupGrid->setExpanded(m_grouped.index(heading, 0),
                                  !m_kept.closed.contains(m_grouped.groupValue(heading)));
    QItemSelection rows;
    for (const QString &id : m_kept.rows.selected)
        if (const QModelIndex row = m_grouped.indexOfSource(m_model.Locate(id)); row.isValid())
            rows.select(row, row.siblingAtColumn(m_grouped.columnCount() - 1));
    QItemSelectionModel *selection = ui.groupGrid->selectionModel();
    if (const QModelIndex focused = m_grouped.indexOfSource(m_model.Locate(m_kept.rows.focused));
        focused.isValid())
        selection->setCurrentIndex(focused, QItemSelectionModel::NoUpdate);
    selection->select(rows, QItemSelectionModel::ClearAndSelect);
}

QAbstractItemView *frmList::view() const
{
    return m_grouped.groupColumn() < 0 ? static_cast<QAbstractItemView *>(ui.grid) : ui.groupGrid;
}

QHeaderView *frmList::header() const
{
    return m_grouped.groupColumn() < 0 ? ui.grid->horizontalHeader() : ui.groupGrid->header();
}

bool frmList::eventFilter(QObject *watched, QEvent *event)
{
    // The window settles its layout in a few steps before it first paints: the kept height is
    // applied at each, and from then on the splitter is the person's.
    if (watched == ui.ActiveSizer1 && !m_splitterShown) {
        // The sizes share the room the handle leaves.
        const int room = ui.ActiveSizer1->height() - ui.ActiveSizer1->handleWidth();
        if (event->type() == QEvent::Resize && m_gridHeight > 0 && room > 1)
            ui.ActiveSizer1->setSizes({qMin(m_gridHeight, room - 1), qMax(1, room - m_gridHeight)});
        else if (event->type() == QEvent::Paint)
            m_splitterShown = true;
    }
    // Ctrl+Shift+F10, or Ctrl with the Menu key, opens the header's menu at the focused column.
    if ((watched == ui.grid || watched == ui.groupGrid) && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        const Qt::KeyboardModifiers modifiers = key->modifiers() & ~Qt::KeypadModifier;
        if ((key->key() == Qt::Key_F10 && modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) ||
            (key->key() == Qt::Key_Menu && modifiers == Qt::ControlModifier)) {
            const auto *grid = static_cast<QAbstractItemView *>(watched);
            const int column = qMax(0, grid->currentIndex().column());
            QHeaderView *columns = header();
            const int x = columns->sectionViewportPosition(column) + columns->sectionSize(column) / 2;
            showLayoutMenu(QPoint(qBound(0, x, columns->width() - 1), columns->height() / 2));
            return true;
        }
    }
    if (watched == header()->viewport()) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        if (event->type() == QEvent::MouseButtonPress) {
            m_dragColumn = header()->logicalIndexAt(mouse->position().toPoint());
        } else if (event->type() == QEvent::MouseButtonRelease && m_dragColumn >= 0) {
            const int column = std::exchange(m_dragColumn, -1);
            // A header dropped on the group panel groups by its column, once the
            // header has ended its own drag.
            if (ui.lblGroupPanel->rect().contains(
                    ui.lblGroupPanel->mapFromGlobal(mouse->globalPosition().toPoint())))
                QMetaObject::invokeMethod(
                    this, [this, column] { setGrouping(column); }, Qt::QueuedConnection);
        }
    }
    return QWidget::eventFilter(watched, event);
}

QString frmList::splitterKey() const
{
    return prefixOf(m_list) + QStringLiteral("AS1Splitter");
}

QString frmList::traceName() const
{
    static const QHash<int, QString> forms = {
        {1, QStringLiteral("frmInbox")},           {2, QStringLiteral("frmOutbox")},
        {3, QStringLiteral("frmDeletedMsg")},      {4, QStringLiteral("frmAllMsgs")},
        {5, QStringLiteral("frmSharedTemplates")}, {6, QStringLiteral("frmMyTemplates")},
        {7, QStringLiteral("frmReceived")},        {9, QStringLiteral("frmAllPkgs")}};
    return forms.value(m_list);
}

void frmList::designColumns()
{
    for (int column = 0; column < m_model.columnCount(); ++column)
        header()->setSectionHidden(column, !ShownColumns.contains(column));
    for (int visual = 0; visual < ShownColumns.size(); ++visual)
        header()->moveSection(header()->visualIndex(ShownColumns[visual]), visual);
    m_model.setShownColumns(ShownColumns);
}

void frmList::applyLayout()
{
    // A damaged person's file gives way to the full one; without the fixed files the design columns stand.
    QStringList failures;
    const GridState state = m_layout.Read(&failures);
    for (const QString &failure : failures)
        TraceLog(traceName() + QStringLiteral(":LoadLayout - ") + failure);
    applyState(state);
}

void frmList::applyState(const GridState &state)
{
    m_applying = true;
    const int group =
        state.groupBy.isEmpty() ? -1 : int(RecordModel::Columns().indexOf(state.groupBy.first()));
    if (group != m_grouped.groupColumn()) {
        m_grouped.setGroupColumn(group);
        ui.grid->setVisible(group < 0);
        ui.groupGrid->setVisible(group >= 0);
    }
    designColumns();
    QList<int> shown;
    int position = 0;
    for (const GridState::Column &column : state.columns) {
        const int logical = int(RecordModel::Columns().indexOf(column.name));
        if (logical < 0)
            continue;
        header()->moveSection(header()->visualIndex(logical), position++);
        // A column kept hidden has no width of its own: it comes back at the grid's.
        header()->resizeSection(logical, column.width > 0 ? column.width : header()->defaultSectionSize());
        header()->setSectionHidden(logical, !column.visible);
        if (column.visible)
            shown << logical;
    }
    if (!state.columns.isEmpty()) {
        for (int column = 0; column < m_model.columnCount(); ++column)
            if (!shown.contains(column))
                header()->setSectionHidden(column, true);
        m_model.setShownColumns(shown);
    }
    const int sort = int(RecordModel::Columns().indexOf(state.sortColumn));
    if (sort >= 0 && group < 0)
        ui.grid->sortByColumn(sort, state.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    m_grouped.setCaptionColumn(header()->logicalIndex(firstShownVisual()));
    if (group >= 0)
        ui.groupGrid->expandAll();
    ui.lblGroupPanel->setText(group >= 0 ? m_model.headerData(group, Qt::Horizontal).toString()
                                         : ResString(1252));
    m_applying = false;
}

void frmList::setGrouping(int column)
{
    GridState state = columnState();
    state.groupBy.clear();
    if (column >= 0)
        state.groupBy << RecordModel::Columns().at(column);
    applyState(state);
    m_layout.ColumnsChanged();
}

int frmList::sourceRowOf(const QModelIndex &viewIndex) const
{
    if (!viewIndex.isValid())
        return -1;
    return m_grouped.groupColumn() < 0 ? viewIndex.row() : m_grouped.sourceRow(viewIndex);
}

GridState frmList::columnState() const
{
    GridState state;
    const QHeaderView *columns = header();
    for (int visual = 0; visual < columns->count(); ++visual) {
        const int logical = columns->logicalIndex(visual);
        state.columns.append({RecordModel::Columns().at(logical),
                              qBound(0, columns->sectionSize(logical), GridState::MaxWidth),
                              !columns->isSectionHidden(logical)});
    }
    if (m_grouped.groupColumn() >= 0)
        state.groupBy << RecordModel::Columns().at(m_grouped.groupColumn());
    const int sort = columns->sortIndicatorSection();
    if (m_grouped.groupColumn() < 0 && sort >= 0 && sort < RecordModel::Columns().size()) {
        state.sortColumn = RecordModel::Columns().at(sort);
        state.descending = columns->sortIndicatorOrder() == Qt::DescendingOrder;
    }
    return state;
}

bool frmList::saveCustom() const
{
    QString error;
    if (m_layout.SaveCustom(columnState(), &error))
        return true;
    WriteLog(traceName() + QStringLiteral(":SaveLayout - ") + error);
    return false;
}

void frmList::chooseLayout(GridLayout::Number number)
{
    const GridLayout::Change change = m_layout.Choose(number);
    if (change.saveCustom)
        saveCustom();
    if (change.reload)
        applyLayout();
}

void frmList::showLayoutMenu(const QPoint &at)
{
    QMenu menu(this);
    const GridLayout::Menu state = m_layout.LayoutMenu(m_grouped.groupColumn() >= 0 ? 1 : 0);
    menu.addAction(ResString(1239), this, [this] { chooseLayout(GridLayout::Full); })
        ->setEnabled(state.fullEnabled);
    menu.addAction(ResString(1240), this, [this] { chooseLayout(GridLayout::Simple); })
        ->setEnabled(state.simpleEnabled);
    menu.addAction(ResString(1241), this, [this] { chooseLayout(GridLayout::Custom); });
    const int column = header()->logicalIndexAt(at);
    if (column >= 0) {
        const QString name = m_model.headerData(column, Qt::Horizontal).toString();
        menu.addAction(ResString(1250).arg(name), this, [this, column] { setGrouping(column); });
        // What a click on the header does, for those who reach the header from the keyboard.
        if (m_grouped.groupColumn() < 0)
            for (const auto &[text, order] :
                 {std::pair(AccessibleTexts::SortAscending, Qt::AscendingOrder),
                  std::pair(AccessibleTexts::SortDescending, Qt::DescendingOrder)})
                menu.addAction(ResString(text).arg(name), this,
                               [this, column, order = order] { ui.grid->sortByColumn(column, order); });
    }
    if (state.resetVisible) {
        menu.addSeparator();
        menu.addAction(ResString(1251), this, [this] { setGrouping(-1); });
    }
    // The column chooser: a column shown or hidden makes the layout the person's own.
    QMenu *columns = menu.addMenu(ResString(1242));
    for (int column = 0; column < m_model.columnCount(); ++column) {
        QAction *toggle = columns->addAction(m_model.headerData(column, Qt::Horizontal).toString());
        toggle->setCheckable(true);
        toggle->setChecked(!header()->isSectionHidden(column));
        connect(toggle, &QAction::toggled, this, [this, column](bool shown) {
            if (m_layout.number() != GridLayout::Custom)
                chooseLayout(GridLayout::Custom);
            header()->setSectionHidden(column, !shown);
            m_layout.ColumnsChanged();
        });
    }
    menu.exec(header()->mapToGlobal(at));
}

void frmList::exportCsv()
{
    const QString file = QFileDialog::getSaveFileName(
        this, QString(), prefixOf(m_list) + QStringLiteral(".csv"), ResString(1243));
    if (file.isEmpty())
        return;
    const QHeaderView *shown = header();
    QList<int> columns;
    QStringList names;
    for (int visual = 0; visual < shown->count(); ++visual) {
        const int logical = shown->logicalIndex(visual);
        if (!shown->isSectionHidden(logical)) {
            columns << logical;
            names << m_model.headerData(logical, Qt::Horizontal).toString();
        }
    }
    // The selected rows, or all the list shows when none is selected, in the list's order.
    QList<int> rows;
    for (const QString &id : selectedIDs())
        rows << m_model.Locate(id);
    if (rows.isEmpty())
        for (int row = 0; row < m_model.rowCount(); ++row)
            rows << row;
    QList<QStringList> lines;
    for (int row : rows) {
        QStringList fields;
        for (int column : columns)
            fields << m_model.exportText(row, column);
        lines << fields;
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(CsvExport::Write(names, lines)) < 0 || !out.commit())
        m_ctx.frontend.MessageBoxShow(ResString(1244) + QLatin1Char('\n') + file, ResString(1238),
                                      IconCritical, ButtonsOk);
}

void frmList::showMenu(const QPoint &at)
{
    m_chosen = chosen();
    const int selected = int(m_chosen.selected.size());
    for (const auto &[item, action] : m_actions)
        action->setEnabled(m_messages ? m_messages->Enabled(MessageList::Item(item), selected)
                                      : m_templates->Enabled(TemplateList::Item(item), selected));
    m_menu->popup(view()->viewport()->mapToGlobal(at));
}

QString frmList::focusedID() const
{
    const int row = sourceRowOf(view()->currentIndex());
    return row >= 0 ? m_model.record(row).text(ListRecord::MsgID) : QString();
}

QStringList frmList::selectedIDs() const
{
    QModelIndexList rows = view()->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex &a, const QModelIndex &b) { return a.row() < b.row(); });
    QStringList ids;
    for (const QModelIndex &row : rows)
        if (const int source = sourceRowOf(row); source >= 0)
            ids << m_model.record(source).text(ListRecord::MsgID);
    return ids;
}

frmList::Chosen frmList::chosen() const
{
    Chosen rows{focusedID(), selectedIDs()};
    // A heading has the focus: the one row chosen under it is the row of the commands.
    if (rows.focused.isEmpty() && rows.selected.size() == 1)
        rows.focused = rows.selected.first();
    return rows;
}

void frmList::reloadRow(const QString &msgID)
{
    const QList<ListRecord> rows = m_messages ? m_messages->LoadData(msgID) : m_templates->LoadData(msgID);
    if (rows.isEmpty())
        m_model.DelRecord(msgID);
    else
        m_model.AddRecord(rows.first());
}

void frmList::run(int item)
{
    // What went since the rows were chosen is no longer there to act on.
    const auto gone = [this](const QString &id) { return m_model.Locate(id) < 0; };
    const QString focused = gone(m_chosen.focused) ? QString() : m_chosen.focused;
    QStringList selected = m_chosen.selected;
    selected.removeIf(gone);
    const bool forRow = m_templates
                            ? item != TemplateList::mnuNew && item != TemplateList::mnuRefresh &&
                                  item != TemplateList::mnuDelete
                            : item != MessageList::mnuNew && item != MessageList::mnuRefresh &&
                                  item != MessageList::mnuDelete && item != MessageList::mnuViewMyReplies;
    if (forRow && focused.isEmpty())
        return;
    if (m_templates) {
        switch (TemplateList::Item(item)) {
        case TemplateList::mnuNew:
            m_templates->New();
            break;
        case TemplateList::mnuCreateFromTemplate:
            m_templates->CreateFromTemplate(focused);
            break;
        case TemplateList::mnuEdit:
            m_ctx.frontend.EditMessageForm(GetMessage(m_templates->store(), m_templates->table(), focused),
                                           m_templates->EditAction());
            break;
        case TemplateList::mnuDuplicate:
            m_templates->Duplicate(focused);
            break;
        case TemplateList::mnuPersonalTemplate:
            m_templates->PersonalTemplate(focused);
            break;
        case TemplateList::mnuSharedTemplate:
            m_templates->SharedTemplate(focused);
            break;
        case TemplateList::mnuDelete:
            for (const QString &id : m_templates->Delete(focused, selected))
                m_model.DelRecord(id);
            break;
        case TemplateList::mnuRefresh:
            m_templates->Refresh();
            m_model.setRecords({});
            break;
        }
        return;
    }
    MessageList &list = *m_messages;
    switch (MessageList::Item(item)) {
    case MessageList::mnuNew:
        list.New();
        break;
    case MessageList::mnuEdit:
        // A package goes to the package composer by its level.
        m_ctx.frontend.EditMessageForm(GetMessage(list.store(), list.table(), focused), 1);
        break;
    case MessageList::mnuCancel:
        if (list.Cancel(focused))
            reloadRow(focused);
        break;
    case MessageList::mnuResubmit:
        if (list.Resubmit(focused))
            reloadRow(focused);
        break;
    case MessageList::mnuDelete:
        for (const QString &id : list.Delete(focused, selected))
            m_model.DelRecord(id);
        break;
    case MessageList::mnuDuplicate:
        list.Duplicate(focused);
        break;
    case MessageList::mnuPersonalTemplate:
        list.PersonalTemplate(focused);
        break;
    case MessageList::mnuSharedTemplate:
        list.SharedTemplate(focused);
        break;
    case MessageList::mnuViewMyReplies:
        list.ViewMyReplies = !list.ViewMyReplies;
        LoadData();
        break;
    case MessageList::mnuRepost:
        list.Repost(focused);
        break;
    case MessageList::mnuUndelete:
        if (list.Undelete(focused))
            m_model.DelRecord(focused);
        break;
    case MessageList::mnuRefresh:
        if (list.kind() == MessageList::AllMsgs) {
            list.Refresh();
            m_model.setRecords({});
        }
        break;
    }
}

void frmList::LoadData()
{
    m_model.setRecords(m_messages ? m_messages->LoadData() : m_templates->LoadData());
    showDetails();
}

void frmList::AddRecord(const DVMessage &msg)
{
    // An insert or an update of the row, with the values as given.
    m_model.AddRecord(ListRecord::FromMessage(msg));
}

void frmList::DelRecord(const QString &msgID)
{
    m_model.DelRecord(msgID);
}

void frmList::showDetails()
{
    ui.gridReceipt->clear();
    ui.gridHistory->clear();
    if (!m_messages)
        return;
    const int current = sourceRowOf(view()->currentIndex());
    if (current < 0)
        return;
    const ListRecord &row = m_model.record(current);
    if (m_messages->HasReceipts())
        for (const QStringList &receipt : m_messages->Receipts(row.text(ListRecord::MsgID)))
            ui.gridReceipt->addTopLevelItem(new QTreeWidgetItem(receipt));
    if (m_messages->HasHistory())
        for (const QStringList &entry : m_messages->History(row.text(ListRecord::InitID)))
            ui.gridHistory->addTopLevelItem(new QTreeWidgetItem(entry));
}
