#include "console/GridColumns.h"

#include "console/CsvExport.h"
#include "core/Frontend.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserStore.h"
#include "ui/AccessibleTexts.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QSaveFile>

GridColumns::GridColumns(QAbstractItemView *grid, QHeaderView *header, const ConsoleContext &context,
                         const QString &prefix, QString traceName, QObject *parent)
    : QObject(parent), m_grid(grid), m_header(header), m_frontend(context.frontend),
      m_userStoreFile(context.userStoreFile), m_trace(std::move(traceName)),
      m_layout(prefix, context.programDir, context.dataDir)
{
    m_header->setSectionsMovable(true);
    m_header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_header, &QWidget::customContextMenuRequested, this, &GridColumns::showMenu);
    connect(m_header, &QHeaderView::sectionMoved, this, &GridColumns::arranged);
    connect(m_header, &QHeaderView::sectionResized, this, [this](int section) {
        // The stretched last column follows the window, not the person.
        int last = m_header->count() - 1;
        while (last > 0 && m_header->isSectionHidden(m_header->logicalIndex(last)))
            --last;
        if (!m_header->stretchLastSection() || m_header->visualIndex(section) != last)
            arranged();
    });
    connect(m_header, &QHeaderView::sortIndicatorChanged, this, &GridColumns::arranged);
    m_grid->installEventFilter(this);
}

void GridColumns::arranged()
{
    if (!m_applying)
        m_layout.ColumnsChanged();
}

void GridColumns::Load()
{
    m_layout.Load(
        UserStore(m_userStoreFile).read(QStringLiteral("Setup"), m_layout.LayoutKey(), QStringLiteral("0")));
    if (m_layout.Activate())
        loadColumns();
}

void GridColumns::Unload()
{
    if (std::exchange(m_unloaded, true))
        return;
    UserStore(m_userStoreFile).write(QStringLiteral("Setup"), m_layout.LayoutKey(), m_layout.StoredNumber());
    if (m_layout.SaveOnUnload())
        saveCustom();
}

int GridColumns::logicalOf(const QString &name) const
{
    for (int logical = 0; !name.isEmpty() && logical < m_header->count(); ++logical)
        if (m_header->model()->headerData(logical, Qt::Horizontal, GridState::NameRole).toString() == name)
            return logical;
    return -1;
}

void GridColumns::loadColumns()
{
    QStringList failures;
    const GridState state = m_layout.Read(&failures);
    for (const QString &failure : failures)
        TraceLog(m_trace + QStringLiteral(":LoadLayout - ") + failure);
    apply(state);
}

void GridColumns::saveCustom() const
{
    QString error;
    if (!m_layout.SaveCustom(state(), &error))
        WriteLog(m_trace + QStringLiteral(":SaveLayout - ") + error);
}

GridState GridColumns::state() const
{
    GridState state;
    for (int visual = 0; visual < m_header->count(); ++visual) {
        const int logical = m_header->logicalIndex(visual);
        const bool hidden = m_header->isSectionHidden(logical);
        const int width = hidden ? m_hiddenWidths.value(logical, m_header->defaultSectionSize())
                                 : m_header->sectionSize(logical);
        state.columns.append(
            {m_header->model()->headerData(logical, Qt::Horizontal, GridState::NameRole).toString(),
             qBound(0, width, GridState::MaxWidth), !hidden});
    }
    const int sort = m_header->sortIndicatorSection();
    if (sort >= 0 && sort < m_header->count()) {
        state.sortColumn =
            m_header->model()->headerData(sort, Qt::Horizontal, GridState::NameRole).toString();
        state.descending = m_header->sortIndicatorOrder() == Qt::DescendingOrder;
    }
    return state;
}

void GridColumns::apply(const GridState &state)
{
    m_applying = true;
    m_hiddenWidths.clear();
    QList<int> named;
    for (const GridState::Column &column : state.columns) {
        const int logical = logicalOf(column.name);
        if (logical < 0)
            continue;
        // A hidden column written with no width shows again at the usual one.
        const int width = column.width > 0 ? column.width : m_header->defaultSectionSize();
        m_header->setSectionHidden(logical, false);
        m_header->moveSection(m_header->visualIndex(logical), int(named.size()));
        m_header->resizeSection(logical, width);
        m_header->setSectionHidden(logical, !column.visible);
        if (!column.visible)
            m_hiddenWidths.insert(logical, width);
        named << logical;
    }
    // The rest follow in the model's order: hidden when the file named some, all shown at their
    // usual width when it named none.
    for (int logical = 0; logical < m_header->count(); ++logical) {
        if (named.contains(logical))
            continue;
        m_header->setSectionHidden(logical, false);
        m_header->moveSection(m_header->visualIndex(logical), m_header->count() - 1);
        m_header->resizeSection(logical, m_header->defaultSectionSize());
        if (!named.isEmpty()) {
            m_hiddenWidths.insert(logical, m_header->defaultSectionSize());
            m_header->setSectionHidden(logical, true);
        }
    }
    m_header->setSortIndicator(logicalOf(state.sortColumn),
                               state.descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    m_applying = false;
}

void GridColumns::choose(GridLayout::Number number)
{
    const GridLayout::Change change = m_layout.Choose(number);
    if (change.saveCustom)
        saveCustom();
    if (change.reload)
        loadColumns();
}

void GridColumns::showMenu(const QPoint &at)
{
    QMenu menu(m_grid);
    menu.addAction(ResString(1239), this, [this] { choose(GridLayout::Full); })
        ->setEnabled(m_layout.LayoutMenu(0).fullEnabled);
    menu.addAction(ResString(1241), this, [this] { choose(GridLayout::Custom); });
    QAbstractItemModel *model = m_header->model();
    if (const int column = m_header->logicalIndexAt(at); column >= 0) {
        const QString name = model->headerData(column, Qt::Horizontal).toString();
        for (const auto &[text, order] : {std::pair(AccessibleTexts::SortAscending, Qt::AscendingOrder),
                                          std::pair(AccessibleTexts::SortDescending, Qt::DescendingOrder)})
            menu.addAction(ResString(text).arg(name), this,
                           [this, column, order = order] { m_header->setSortIndicator(column, order); });
    }
    // The column chooser: a column shown or hidden makes the layout the person's own.
    QMenu *columns = menu.addMenu(ResString(1242));
    const int shown = m_header->count() - m_header->hiddenSectionCount();
    for (int column = 0; column < m_header->count(); ++column) {
        QAction *toggle = columns->addAction(model->headerData(column, Qt::Horizontal).toString());
        toggle->setCheckable(true);
        toggle->setChecked(!m_header->isSectionHidden(column));
        // The last column shown stays.
        toggle->setEnabled(shown > 1 || m_header->isSectionHidden(column));
        connect(toggle, &QAction::toggled, this, [this, column](bool show) {
            if (m_layout.number() != GridLayout::Custom)
                choose(GridLayout::Custom);
            if (!show && !m_header->isSectionHidden(column))
                m_hiddenWidths.insert(column, m_header->sectionSize(column));
            m_header->setSectionHidden(column, !show);
            m_layout.ColumnsChanged();
        });
    }
    menu.exec(m_header->mapToGlobal(at));
}

bool GridColumns::eventFilter(QObject *watched, QEvent *event)
{
    // Ctrl+Shift+F10, or Ctrl with the Menu key, opens the header's menu at the focused column.
    if (watched == m_grid && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        const Qt::KeyboardModifiers modifiers = key->modifiers() & ~Qt::KeypadModifier;
        if ((key->key() == Qt::Key_F10 && modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) ||
            (key->key() == Qt::Key_Menu && modifiers == Qt::ControlModifier)) {
            const int column = qMax(0, m_grid->currentIndex().column());
            const int x = m_header->sectionViewportPosition(column) + m_header->sectionSize(column) / 2;
            showMenu(QPoint(qBound(0, x, m_header->width() - 1), m_header->height() / 2));
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

void GridColumns::exportCsv() const
{
    const QString file = QFileDialog::getSaveFileName(
        m_grid, QString(), m_layout.prefix() + QStringLiteral(".csv"), ResString(1243));
    if (file.isEmpty())
        return;
    const QAbstractItemModel *model = m_grid->model();
    QList<int> columns;
    QStringList names;
    for (int visual = 0; visual < m_header->count(); ++visual)
        if (const int logical = m_header->logicalIndex(visual); !m_header->isSectionHidden(logical)) {
            columns << logical;
            names << model->headerData(logical, Qt::Horizontal).toString();
        }
    QList<int> rows;
    for (const QModelIndex &row : m_grid->selectionModel()->selectedRows())
        rows << row.row();
    std::sort(rows.begin(), rows.end());
    if (rows.isEmpty())
        for (int row = 0; row < model->rowCount(); ++row)
            rows << row;
    QList<QStringList> lines;
    for (int row : rows) {
        QStringList fields;
        for (int column : columns)
            fields << model->index(row, column).data().toString();
        lines << fields;
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(CsvExport::Write(names, lines)) < 0 || !out.commit())
        m_frontend.MessageBoxShow(ResString(1244) + QLatin1Char('\n') + file, ResString(1238), IconCritical,
                                  ButtonsOk);
}
