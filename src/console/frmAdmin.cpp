#include "console/frmAdmin.h"

#include "console/frmDirectory.h"
#include "console/frmList.h"
#include "core/Globals.h"
#include "core/StringTable.h"
#include "core/UserStore.h"
#include "ui/AccessibleTexts.h"
#include "ui/ScreenFit.h"

#include <QCloseEvent>

namespace {

constexpr int KeyRole = Qt::UserRole + 1;
// The number of an item's text in the string table.
constexpr int TextRole = Qt::UserRole + 2;

// The lists whose windows stand so far; the directory lists come with their own part.
// The lists of directories, groups and role holders, against those of records.
bool isDirectory(int list)
{
    return list >= DirectoryList::DomainGroups && list <= DirectoryList::Administrators;
}

} // namespace

frmAdmin::frmAdmin(ConsoleContext context, QWidget *parent)
    : QWidget(parent), m_ctx(std::move(context)),
      m_frame(m_ctx.process, m_ctx.session, m_ctx.user, m_ctx.policies, m_ctx.sendData)
{
    ui.setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // The place is the window's frame, title bar included, as it was kept.
    const QRect place = ConsoleFrame::ReadGeometry(UserStore(m_ctx.userStoreFile));
    resize(place.size());
    move(place.topLeft());
    // Kept as saved, but a place from a larger screen is pulled inside this one when shown.
    ScreenFit::keepOnScreen(this);
    ui.lblProgress->hide();
    const QList<ConsoleFrame::Item> items = m_frame.Load();
    for (const auto &[group, text] : ConsoleFrame::Groups()) {
        auto *top = new QTreeWidgetItem(ui.dxSideBar1);
        top->setData(0, TextRole, text);
        top->setFlags(Qt::ItemIsEnabled);
        for (const ConsoleFrame::Item &item : items)
            if (item.group == group) {
                auto *entry = new QTreeWidgetItem(top);
                entry->setData(0, TextRole, item.text);
                entry->setData(0, KeyRole, item.key);
            }
        if (top->childCount() == 0)
            delete top;
    }
    ui.dxSideBar1->expandAll();
    AssignLabels();
    ui.splitter->setStretchFactor(1, 1);
    connect(ui.dxSideBar1, &QTreeWidget::itemActivated, this, &frmAdmin::clicked);
    connect(ui.dxSideBar1, &QTreeWidget::itemClicked, this, &frmAdmin::clicked);
    // It always opens on the Outbox.
    replaceChild(m_ctx.process.CurrentList);
}

frmAdmin::~frmAdmin()
{
    m_frame.QueryUnload();
}

void frmAdmin::AssignLabels()
{
    setWindowTitle(ResString(1233));
    ui.lblProgress->setText(ResString(1235));
    for (QTreeWidgetItemIterator it(ui.dxSideBar1); *it; ++it)
        (*it)->setText(0, ResString((*it)->data(0, TextRole).toInt()));
    ui.dxSideBar1->setAccessibleName(ResString(AccessibleTexts::ConsoleLists));
}

void frmAdmin::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        AssignLabels();
    QWidget::changeEvent(event);
}

void frmAdmin::closeEvent(QCloseEvent *event)
{
    ConsoleFrame::WriteGeometry(UserStore(m_ctx.userStoreFile), QRect(pos(), size()));
    QWidget::closeEvent(event);
}

void frmAdmin::clicked(QTreeWidgetItem *item)
{
    const QString key = item ? item->data(0, KeyRole).toString() : QString();
    if (key.isEmpty())
        return;
    const ConsoleFrame::Step step = m_frame.OnClickItemLink(key);
    ui.lblProgress->setVisible(step.progress);
    if (step.show)
        replaceChild(step.show);
}

void frmAdmin::Display(int list)
{
    if (!m_frame.MayDisplay(list))
        return;
    ui.lblProgress->hide();
    replaceChild(list);
}

void frmAdmin::replaceChild(int list)
{
    // The list is always made anew: it reads its rows afresh. The old one leaves the pane now but
    // goes only once a window of its own (a menu, a file dialog, a question, an editor) has returned.
    if (m_child) {
        if (auto *records = qobject_cast<frmList *>(m_child.data()))
            records->Unload();
        else if (auto *directory = qobject_cast<frmDirectory *>(m_child.data()))
            directory->Unload();
        ui.layoutPane->removeWidget(m_child);
        m_child->hide();
        m_child->deleteLater();
    }
    if (isDirectory(list)) {
        auto *directory = new frmDirectory(list, m_ctx, ui.ActiveSizer2);
        connect(directory, &frmDirectory::waitingForServer, ui.lblProgress, &QWidget::show);
        m_child = directory;
        ui.layoutPane->addWidget(directory);
        // Shown at once, so that the focus given to its grid is on a control Tab can leave.
        directory->show();
        directory->ui.grid->setFocus();
        return;
    }
    auto *records = new frmList(list, m_ctx, ui.ActiveSizer2);
    m_child = records;
    ui.layoutPane->addWidget(records);
    records->show();
    records->ui.grid->setFocus();
}

frmList *frmAdmin::currentList() const
{
    return qobject_cast<frmList *>(m_child.data());
}
