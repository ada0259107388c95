#include "console/frmList.h"

#include "core/Globals.h"
#include "core/Log.h"
#include "core/StringTable.h"
#include "core/UserStore.h"
#include "store/DBFunctions.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>

namespace {

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
    : QWidget(parent), m_list(list), m_ctx(std::move(context))
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
    m_filter.setSourceModel(&m_model);
    m_filter.setShownColumns(ShownColumns);
    ui.grid->setModel(&m_filter);
    for (int column = 0; column < m_model.columnCount(); ++column)
        ui.grid->setColumnHidden(column, !ShownColumns.contains(column));
    for (int visual = 0; visual < ShownColumns.size(); ++visual)
        ui.grid->header()->moveSection(ui.grid->header()->visualIndex(ShownColumns[visual]), visual);
    ui.txtFilter->setPlaceholderText(ResString(1234));
    ui.tabDetails->setTabText(0, ResString(1236));
    ui.tabDetails->setTabText(1, ResString(1237));
    const bool receipts = m_messages && m_messages->HasReceipts();
    const bool history = m_messages && m_messages->HasHistory();
    ui.tabDetails->setTabVisible(0, receipts);
    ui.tabDetails->setTabVisible(1, history);
    ui.tabDetails->setVisible(receipts || history);

    connect(ui.txtFilter, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_filter.setQuickFilter(text); });
    connect(ui.grid, &QWidget::customContextMenuRequested, this, &frmList::showMenu);
    connect(ui.grid->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmList::showDetails);
    buildMenu();
    LoadData();
}

frmList::~frmList()
{
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
        QAction *action = m_menu->addAction(ResString(captionOf(item, !m_messages)));
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
                const int selected = int(ui.grid->selectionModel()->selectedRows().size());
                const bool enabled = m_messages ? m_messages->Enabled(MessageList::Item(item), selected)
                                                : m_templates->Enabled(TemplateList::Item(item), selected);
                if (enabled)
                    run(item);
            });
            ui.grid->addAction(key);
        }
        if (m_messages && item == MessageList::mnuViewMyReplies) {
            action->setCheckable(true);
            action->setChecked(m_messages->ViewMyReplies);
        }
    }
}

void frmList::showMenu(const QPoint &at)
{
    if (m_actions.isEmpty())
        return;
    const int selected = int(ui.grid->selectionModel()->selectedRows().size());
    for (const auto &[item, action] : m_actions)
        action->setEnabled(m_messages ? m_messages->Enabled(MessageList::Item(item), selected)
                                      : m_templates->Enabled(TemplateList::Item(item), selected));
    m_menu->popup(ui.grid->viewport()->mapToGlobal(at));
}

QString frmList::focusedID() const
{
    const QModelIndex current = m_filter.mapToSource(ui.grid->currentIndex());
    return current.isValid() ? m_model.record(current.row()).MsgID : QString();
}

QStringList frmList::selectedIDs() const
{
    QModelIndexList rows = ui.grid->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(),
              [](const QModelIndex &a, const QModelIndex &b) { return a.row() < b.row(); });
    QStringList ids;
    for (const QModelIndex &row : rows)
        ids << m_model.record(m_filter.mapToSource(row).row()).MsgID;
    return ids;
}

void frmList::reloadRow(const QString &msgID)
{
    const QList<DVMessage> rows = m_messages ? m_messages->LoadData(msgID) : m_templates->LoadData(msgID);
    if (rows.isEmpty())
        m_model.DelRecord(msgID);
    else
        m_model.AddRecord(rows.first());
}

void frmList::run(int item)
{
    const QString focused = focusedID();
    if (m_templates) {
        switch (TemplateList::Item(item)) {
        case TemplateList::mnuNew:
            m_templates->New();
            break;
        case TemplateList::mnuCreateFromTemplate:
            m_templates->CreateFromTemplate(focused);
            break;
        case TemplateList::mnuEdit:
            m_ctx.editMessage(GetMessage(m_templates->store(), m_templates->table(), focused),
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
            for (const QString &id : m_templates->Delete(focused, selectedIDs()))
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
        // Packages are edited in their own composer, which comes with the packages.
        if (list.kind() != MessageList::AllPkgs)
            m_ctx.editMessage(GetMessage(list.store(), list.table(), focused), 1);
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
        for (const QString &id : list.Delete(focused, selectedIDs()))
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
    m_model.AddRecord(msg);
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
    const QModelIndex current = m_filter.mapToSource(ui.grid->currentIndex());
    if (!current.isValid())
        return;
    const DVMessage &row = m_model.record(current.row());
    if (m_messages->HasReceipts())
        for (const QStringList &receipt : m_messages->Receipts(row.MsgID))
            ui.gridReceipt->addTopLevelItem(new QTreeWidgetItem(receipt));
    if (m_messages->HasHistory())
        for (const QStringList &entry : m_messages->History(row.InitID))
            ui.gridHistory->addTopLevelItem(new QTreeWidgetItem(entry));
}
