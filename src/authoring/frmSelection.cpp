#include "authoring/frmSelection.h"

#include "authoring/AuthoringTexts.h"
#include "authoring/MessageForm.h"
#include "authoring/Selection.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "ui/ContextMenuKey.h"
#include "ui/GridState.h"
#include "ui/Mnemonics.h"
#include "ui/ScreenFit.h"

#include <QDir>
#include <QFile>
#include <QMenu>

frmSelection::frmSelection(QWidget *parent) : QDialog(parent)
{
    ui.setupUi(this);
    ScreenFit::keepOnScreen(this);
    ui.OKButton->setText(ResString(9900));
    ui.CancelButton->setText(ResString(9901));
    Mnemonics::assign(this);
    ContextMenuKey::attach(ui.grdSelection);
    ui.grdSelection->setHeaderLabels(
        {ResString(AuthoringTexts::ColumnName), ResString(AuthoringTexts::ColumnDescription)});
    mnuSelection = new QMenu(this);
    mnuSelectAll = mnuSelection->addAction(ResString(AuthoringTexts::SelectAll));
    mnuUnselectAll = mnuSelection->addAction(ResString(AuthoringTexts::UnselectAll));
    connect(ui.grdSelection, &QWidget::customContextMenuRequested, this, [this](const QPoint &at) {
        mnuUnselectAll->setEnabled(m_list.CanUnselectAll());
        mnuSelection->popup(ui.grdSelection->viewport()->mapToGlobal(at));
    });
    connect(mnuSelectAll, &QAction::triggered, this, [this] {
        m_list.SelectAll();
        showSelection();
    });
    connect(mnuUnselectAll, &QAction::triggered, this, [this] {
        m_list.UnselectAll();
        showSelection();
    });
    connect(ui.grdSelection, &QTreeWidget::itemSelectionChanged, this, [this] {
        for (int row = 0; row < ui.grdSelection->topLevelItemCount(); ++row)
            m_list.setSelected(row, ui.grdSelection->topLevelItem(row)->isSelected());
    });
    connect(ui.OKButton, &QPushButton::clicked, this, [this] {
        m_result = m_list.SaveSelection();
        accept();
    });
    connect(ui.CancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QDialog::rejected, this, [this] { m_result = m_target; });
}

void frmSelection::Initialize(int kind, const QList<SelectionList::Row> &rows, const QString &target)
{
    setWindowTitle(ResString(AuthoringTexts::SelectionTitleFirst + qBound(0, kind, 4)));
    ui.grdSelection->setAccessibleName(windowTitle());
    m_target = m_result = target;
    m_list.Initialize(rows, target);
    {
        // Rows going would untick the new list's rows before they show.
        const QSignalBlocker blocker(ui.grdSelection);
        ui.grdSelection->clear();
        for (const SelectionList::Row &row : rows)
            ui.grdSelection->addTopLevelItem(new QTreeWidgetItem({row.Name, row.Description}));
    }
    applyLayout(kind);
    showSelection();
}

void frmSelection::applyLayout(int kind)
{
    // The group kinds share one file; users and machines have their own.
    const QString name = kind == SelectUsers      ? QStringLiteral("UsersSelection.xgl")
                         : kind == SelectMachines ? QStringLiteral("MachinesSelection.xgl")
                                                  : QStringLiteral("GroupsSelection.xgl");
    const QString file = QDir(Selection::LayoutsBase()).filePath(QStringLiteral("Layouts/") + name);
    QFile in(file);
    GridState state;
    QString reason;
    if (!in.open(QIODevice::ReadOnly))
        reason = in.errorString();
    else if (!GridState::Read(in.read(GridState::MaxFileSize + 1), state, &reason))
        state = GridState();
    if (!reason.isEmpty())
        TraceLog(QStringLiteral("frmSelection:LoadLayout - ") + file + QStringLiteral(": ") + reason);
    static const QStringList columns = {QStringLiteral("colName"), QStringLiteral("colDescription")};
    bool applied = false;
    for (const GridState::Column &column : state.columns) {
        const int index = int(columns.indexOf(column.name));
        if (index < 0)
            continue;
        ui.grdSelection->setColumnWidth(index, column.width);
        ui.grdSelection->setColumnHidden(index, !column.visible);
        applied = true;
    }
    // Without a layout the names decide the first column's width.
    if (!applied)
        ui.grdSelection->resizeColumnToContents(0);
}

void frmSelection::showSelection()
{
    const QSignalBlocker blocker(ui.grdSelection);
    for (int row = 0; row < ui.grdSelection->topLevelItemCount(); ++row)
        ui.grdSelection->topLevelItem(row)->setSelected(m_list.isSelected(row));
}
