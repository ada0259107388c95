// The console as a window on screen: a list replaced under a window of its own, commands that
// act on the rows chosen when the menu opened, and sizes that survive a reopening.
#include "app/DesktopFrontend.h"
#include "console/frmAdmin.h"
#include "console/frmDirectory.h"
#include "console/frmList.h"
#include "core/Failure.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "delivery/MessageIntake.h"
#include "delivery/Replication.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/ModalDialog.h"
#include "ui/CodeCellDelegate.h"
#include "ui/LevelCellDelegate.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

struct Fixture : AuthoringFixture
{
    QString userStore = profile.path() + u"/Client.conf"_s;
    // The engine's own state, as the engine reads it to tell the open list; the forms of the other
    // features open through the interface given.
    ConsoleContext contextFor(Frontend &opener)
    {
        return {ClientDB(), TempDB(), clock, opener,    gProcess(),     session,           user,
                policies,   levels,   send,  userStore, profile.path(), profile.dataHome()};
    }
    ConsoleContext console = contextFor(frontend);

    Fixture() { user.setMyAuthority(UserInfos::RoleAdministrator); }
};

// As the side bar opens a list: the process notes it, then the pane shows it.
void open(frmAdmin &console, int list)
{
    gProcess().CurrentList = list;
    console.Display(list);
}

// A console the test owns (closing it deletes nothing), on screen unless asked, showing the list given.
std::unique_ptr<frmAdmin> ownConsole(const ConsoleContext &context, int list = 0, bool onScreen = true)
{
    auto console = std::make_unique<frmAdmin>(context);
    console->setAttribute(Qt::WA_DeleteOnClose, false);
    if (onScreen) {
        console->show();
        if (!QTest::qWaitForWindowExposed(console.get()))
            QTest::qFail("the console never showed", __FILE__, __LINE__);
    }
    if (list != 0)
        open(*console, list);
    return console;
}

frmDirectory *directory(const frmAdmin &console)
{
    return qobject_cast<frmDirectory *>(console.currentChild());
}

// Runs open(), which starts a window's own event loop, and while that window is open lets the
// server's answer replace the list; then closes the window.
void answerWhileOpen(frmAdmin &console, int list, const std::function<void()> &open)
{
    bool answered = false;
    QTimer::singleShot(0, qApp, [&] {
        console.Display(list);
        answered = true;
        if (QWidget *popup = QApplication::activePopupWidget())
            popup->close();
        else if (QWidget *modal = QApplication::activeModalWidget())
            modal->close();
    });
    open();
    QVERIFY(answered);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

DVMessage message(const QString &id, const QString &subject, int status = 1, int delivery = 0)
{
    DVMessage msg;
    std::tie(msg.MsgID, msg.InitID, msg.UserID, msg.Subject, msg.Status, msg.MsgDelivery) =
        std::tuple(id, id, u"jdoe"_s, subject, status, delivery);
    msg.StartDate = QDateTime(QDate(2026, 7, 1), QTime(9, 30), Qt::UTC);
    return msg;
}

void store(const QString &table, const QString &id, const QString &subject, int status = 1, int delivery = 0)
{
    QVERIFY(SaveMessage(ClientDB(), table, message(id, subject, status, delivery), false, true));
}

QStringList stored(const QString &table)
{
    return StoreFixture::column(ClientDB(), u"SELECT MsgID FROM "_s + table + u" ORDER BY MsgID"_s);
}

QAction *action(QMenu *menu, const QString &text)
{
    for (QAction *item : menu->actions())
        if (item->text().remove(u'&') == text)
            return item;
    return nullptr;
}

} // namespace

class TestConsoleWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The header's menu, the file dialog of an export and a group editor, each open when the answer
    // for another list arrives: the new list shows, the old one goes once its window has returned.
    void answerUnderAWindow()
    {
        Fixture f;
        QVERIFY(
            ClientDB().exec(u"INSERT INTO MyGroups (GroupName, Description) VALUES ('team', 'The team')"_s));
        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroupUsers (GroupName, UserID) VALUES ('team', 'ann')"_s));
        const auto console = ownConsole(f.console);
        QPointer<frmList> outbox = console->currentList();
        gProcess().CurrentList = 13;
        QHeaderView *columns = outbox->ui.grid->horizontalHeader();
        answerWhileOpen(*console, 13, [&] { Q_EMIT columns->customContextMenuRequested(QPoint(5, 5)); });
        QVERIFY(!outbox);
        const frmDirectory *users = directory(*console);
        QVERIFY(users && users->list() == 13 && users->isVisible());

        // The domain's groups are a directory like the others.
        console->Display(10);
        QVERIFY(directory(*console));
        console->Display(12);
        QPointer<frmDirectory> groups = directory(*console);
        QVERIFY(groups && groups->list() == 12);
        groups->ui.grid->selectRow(0);
        answerWhileOpen(*console, 11, [&] { action(groups->menu(), u"Edit"_s)->trigger(); });
        QVERIFY(!groups);
        QCOMPARE(directory(*console)->list(), 11);

        open(*console, 2);
        outbox = console->currentList();
        answerWhileOpen(*console, 11, [&] { action(outbox->menu(), u"Export to CSV..."_s)->trigger(); });
        QVERIFY(!outbox);
    }

    // The menu opened on a row the server then takes away: Delete removes nothing, not the row the
    // focus fell to. The keyboard's Delete takes the rows of the moment.
    void commandsActOnTheChosenRows()
    {
        Fixture f;
        for (const char *id : {"A", "B", "C"})
            store(u"Inbox"_s, QLatin1String(id), u"Subject "_s + QLatin1String(id));
        const auto console = ownConsole(f.console, 1, false);
        frmList *inbox = console->currentList();
        inbox->ui.grid->selectRow(inbox->model().Locate(u"B"_s));
        Q_EMIT inbox->ui.grid->customContextMenuRequested(QPoint(5, 5));
        // The server retargets B away from this user while the menu is open.
        DeleteMessage(ClientDB(), u"Inbox"_s, u"B"_s);
        inbox->DelRecord(u"B"_s);
        QVERIFY(inbox->ui.grid->currentIndex().isValid());
        action(inbox->menu(), u"Delete"_s)->trigger();
        inbox->menu()->close();
        QCOMPARE(stored(u"Inbox"_s), (QStringList{u"A"_s, u"C"_s}));
        console->show();
        QVERIFY(QTest::qWaitForWindowActive(console.get()));
        inbox->ui.grid->setFocus();
        inbox->ui.grid->selectRow(inbox->model().Locate(u"C"_s));
        QTest::keyClick(inbox->ui.grid, Qt::Key_Delete);
        QCOMPARE(stored(u"Inbox"_s), QStringList{u"A"_s});
        // New needs no chosen row: on the empty list of personal templates it asks the server for an ID.
        open(*console, 6);
        frmList *mine = console->currentList();
        Q_EMIT mine->ui.grid->customContextMenuRequested(QPoint(5, 5));
        action(mine->menu(), u"New"_s)->trigger();
        mine->menu()->close();
        QCOMPARE(f.sent.value(f.sent.size() - 1), u"PTI"_s);
        // Edit opens the composer on the chosen row, asked of the interface to the person.
        store(u"Outbox"_s, u"D"_s, u"Draft"_s);
        open(*console, 2);
        frmList *outbox = console->currentList();
        outbox->ui.grid->selectRow(outbox->model().Locate(u"D"_s));
        Q_EMIT outbox->ui.grid->customContextMenuRequested(QPoint(5, 5));
        action(outbox->menu(), u"Edit"_s)->trigger();
        outbox->menu()->close();
        QCOMPARE(f.frontend.events.value(f.frontend.events.size() - 1), u"edit D 1"_s);
    }

    // Grouped by Status from its header's menu, the headings name the words shown, their captions stand
    // in the first column shown with no cell values beside them. A heading is no row of the commands:
    // chosen alone it enables none, and they take the one row chosen under it. A row arriving keeps
    // closed headings and chosen rows.
    void groupedRows()
    {
        Fixture f;
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s, 0);
        store(u"Outbox"_s, u"M2"_s, u"Dinner"_s, 1);
        store(u"Outbox"_s, u"M3"_s, u"Tea"_s, 1);
        const auto console = ownConsole(f.console);
        frmList *outbox = console->currentList();
        const int status = 21, subject = 3;
        // Chooses that item from the menu of the header shown, over the column; false if it is not offered.
        const auto fromHeaderMenu = [outbox](int column, const QString &text) {
            bool found = false;
            QTimer::singleShot(0, qApp, [&] {
                if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
                    if (QAction *item = action(menu, text); (found = item))
                        item->trigger();
                    menu->close();
                }
            });
            QHeaderView *shown = outbox->ui.groupGrid->isVisible()
                                     ? outbox->ui.groupGrid->header()
                                     : static_cast<QHeaderView *>(outbox->ui.grid->horizontalHeader());
            Q_EMIT shown->customContextMenuRequested(
                QPoint(shown->sectionViewportPosition(column) + 2, shown->height() / 2));
            return found;
        };
        QVERIFY(fromHeaderMenu(status, u"Group by Status"_s));
        QTreeView *tree = outbox->ui.groupGrid;
        QVERIFY(tree->isVisible());
        QAbstractItemModel *rows = tree->model();
        const auto headings = [rows](int column) {
            QStringList texts;
            for (int heading = 0; heading < rows->rowCount(); ++heading)
                texts << rows->index(heading, column).data().toString();
            return texts;
        };
        QCOMPARE(headings(subject), (QStringList{u"Active (2)"_s, u"Cancelled (1)"_s}));
        QCOMPARE(headings(0) + headings(6), QStringList(4, QString()));
        // The grid's painter of a code shows its word, not its number.
        QStyleOptionViewItem option;
        option.initFrom(outbox->ui.grid);
        QVERIFY(outbox->ui.grid->itemDelegateForColumn(status)
                    ->sizeHint(option, outbox->model().index(0, status))
                    .width() > outbox->fontMetrics().horizontalAdvance(u"Active"_s));
        // A known code is drawn as its word beside its own sign (Active beside the style's tick,
        // Immediate beside its play sign); one no version knows, past them or below them, as any cell.
        const auto drawn = [&option](const QAbstractItemDelegate &painter, const QModelIndex &index) {
            QImage image(140, 20, QImage::Format_ARGB32);
            image.fill(Qt::white);
            QPainter canvas(&image);
            QStyleOptionViewItem cell = option;
            cell.rect = image.rect();
            cell.decorationSize = QSize(16, 16);
            painter.paint(&canvas, cell, index);
            return image;
        };
        QStandardItemModel codes, expected;
        const QStyledItemDelegate plain;
        for (const auto &[kind, code, word, sign] :
             std::initializer_list<std::tuple<CodeCellDelegate::Codes, int, QString, int>>{
                 {CodeCellDelegate::Status, 1, u"Active"_s, QStyle::SP_DialogApplyButton},
                 {CodeCellDelegate::Delivery, 0, u"Immediate"_s, QStyle::SP_MediaPlay},
                 {CodeCellDelegate::Status, 0, u"Cancelled"_s, QStyle::SP_DialogCancelButton},
                 {CodeCellDelegate::Status, 5, u"5"_s, -1},
                 {CodeCellDelegate::Status, 99, u"99"_s, -1},
                 {CodeCellDelegate::Status, -1, u"-1"_s, -1},
                 {CodeCellDelegate::Delivery, 4, u"4"_s, -1},
                 {CodeCellDelegate::Delivery, -1, u"-1"_s, -1}}) {
            auto *cell = new QStandardItem;
            cell->setData(code, Qt::DisplayRole);
            codes.appendRow(cell);
            expected.appendRow(
                sign < 0 ? cell->clone()
                         : new QStandardItem(
                               QApplication::style()->standardIcon(QStyle::StandardPixmap(sign)), word));
            QCOMPARE(CodeCellDelegate::NameOf(kind, code), word);
            QCOMPARE(drawn(CodeCellDelegate(kind, nullptr), cell->index()),
                     drawn(plain, expected.index(cell->row(), 0)));
        }
        // Nor does the delivery's painter make one up: the heading's cell stays one colour.
        const QImage shot = tree->viewport()->grab().toImage().copy(
            tree->visualRect(rows->index(0, 6)).adjusted(2, 2, -2, -2));
        QImage flat = shot;
        flat.fill(shot.pixelColor(0, 0));
        QVERIFY(shot.width() > 20);
        QCOMPARE(shot, flat);

        const QModelIndex heading = rows->index(0, 0);
        tree->setCurrentIndex(heading);
        tree->selectionModel()->select(heading,
                                       QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        Q_EMIT tree->customContextMenuRequested(QPoint(5, 5));
        for (const QString &text : {u"Duplicate"_s, u"Cancel"_s, u"Edit"_s, u"Delete"_s})
            QVERIFY2(!action(outbox->menu(), text)->isEnabled(), qPrintable(text));
        outbox->menu()->close();
        f.sent.clear();
        tree->setFocus();
        QTest::keyClick(tree, Qt::Key_Delete);
        QCOMPARE(f.sent, QStringList());
        tree->selectionModel()->select(rows->index(1, 0, heading),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
        Q_EMIT tree->customContextMenuRequested(QPoint(5, 5));
        action(outbox->menu(), u"Duplicate"_s)->trigger();
        outbox->menu()->close();
        QCOMPARE(f.sent, QStringList{u"MDU\u0001M3"_s});

        tree->collapse(rows->index(1, 0));
        tree->setCurrentIndex(rows->index(0, subject, heading));
        outbox->AddRecord(message(u"M4"_s, u"Supper"_s));
        QCOMPARE(headings(subject), (QStringList{u"Active (3)"_s, u"Cancelled (1)"_s}));
        QVERIFY(tree->isExpanded(rows->index(0, 0)) && !tree->isExpanded(rows->index(1, 0)));
        QStringList chosen{tree->currentIndex().siblingAtColumn(subject).data().toString()};
        for (const QModelIndex &row : tree->selectionModel()->selectedRows(subject))
            chosen << row.data().toString();
        QCOMPARE(chosen, (QStringList{u"Dinner"_s, u"Dinner"_s}));

        // Grouped by the first column, the header's menu still offers to clear the grouping, and the
        // flat list comes back.
        QVERIFY(fromHeaderMenu(status, u"Clear Group Columns"_s) && outbox->ui.grid->isVisible());
        const QString first = outbox->model().headerData(0, Qt::Horizontal).toString();
        QVERIFY(fromHeaderMenu(0, u"Group by "_s + first) && tree->isVisible());
        QVERIFY(fromHeaderMenu(0, u"Clear Group Columns"_s) && outbox->ui.grid->isVisible());
    }

    // The open list follows the server through the engine, without being reopened: the author's own
    // message comes back into the Outbox, where a status change and a deletion show; an edited message
    // shows its new text in the Inbox, a package's status change in the received packages.
    void listsStayCurrent()
    {
        Fixture f;
        UserInfos me(u"jdoe"_s);
        me.setMachineID(u"ws-7"_s);
        ReplaceUserInfos(me);
        DesktopFrontend desktop;
        Frontend::install(&desktop);
        desktop.setConsole(f.console);
        desktop.ShowConsole();
        frmAdmin *console = desktop.console();
        Replication replication(f.send);
        MessageIntake intake(
            f.send, [] { return u"10.0.5.7"_s; }, replication);
        DVMessage own = message(u"M1"_s, u"Lunch"_s, StatusActive);
        own.Target = u"bob"_s;
        own.StartDate = f.clock.currentDateTime();
        own.ExpirationDate = own.StartDate.addDays(1);
        DVMessage other = own;
        std::tie(other.MsgID, other.InitID, other.UserID, other.Target) =
            std::tuple(u"M2"_s, u"M2"_s, u"ann"_s, u"jdoe"_s);
        Failure failure;
        const auto row = [console](const QString &id) {
            const RecordModel &rows = console->currentList()->model();
            const int at = rows.Locate(id);
            return at < 0 ? QString() : rows.shownText(at, 3) + u'/' + rows.shownText(at, 21);
        };
        intake.MessageReceived(own.ToString(), false);
        QCOMPARE(row(u"M1"_s), u"Lunch/Active"_s);
        replication.MessageStatusChanged(u"0"_s + QChar(2) + u"M1"_s, failure);
        QCOMPARE(row(u"M1"_s), u"Lunch/Active"_s);
        replication.MessagesDeleted(u"M1"_s);
        QCOMPARE(row(u"M1"_s), QString());

        open(*console, 1);
        intake.MessageReceived(other.ToString(), false);
        QCOMPARE(row(u"M2"_s), u"Lunch/Active"_s);
        // A row given for another list stays out of the one shown, whatever the process last noted.
        std::tie(own.MsgID, own.InitID) = std::pair(u"M3"_s, u"M3"_s);
        desktop.AddRecord(2, own);
        desktop.DelRecord(2, u"M2"_s);
        QCOMPARE(row(u"M3"_s) + row(u"M2"_s), u"Lunch/Active"_s);
        other.Subject = u"Dinner"_s;
        intake.MessageReceived(other.ToString(), false);
        QCOMPARE(row(u"M2"_s), u"Dinner/Active"_s);
        replication.MessageStatusChanged(u"0"_s + QChar(2) + u"M2"_s, failure);
        QCOMPARE(row(u"M2"_s), u"Dinner/Cancelled"_s);

        store(u"InPkg"_s, u"P1"_s, u"Tool"_s);
        open(*console, 7);
        replication.PackageStatusChanged(u"0"_s + QChar(2) + u"P1"_s, failure);
        QCOMPARE(row(u"P1"_s), u"Tool/Cancelled"_s);
        // A directory in the pane has no rows of messages to read anew.
        open(*console, 13);
        replication.MessageStatusChanged(u"1"_s + QChar(2) + u"M2"_s, failure);
        QCOMPARE(console->currentList(), nullptr);
        Frontend::install(&f.frontend);
    }

    // The quick filter finds the words the grid shows, in the language in force; an export writes
    // them too, and a date as the local time it is, with its offset.
    void filterAndExportAsShown()
    {
        Fixture f;
        qputenv("TZ", "Europe/Paris");
        tzset();
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s, 0, 3);
        store(u"Outbox"_s, u"M2"_s, u"Dinner"_s, 1, 0);
        const auto console = ownConsole(f.console);
        frmList *outbox = console->currentList();
        for (const auto &[language, word, ids] : {std::tuple{0, u"cancelled"_s, QStringList{u"M1"_s}},
                                                  std::tuple{0, u"Immediate"_s, QStringList{u"M2"_s}},
                                                  std::tuple{0, u"Sched"_s, QStringList{u"M1"_s}},
                                                  std::tuple{1, u"Annulé"_s, QStringList{u"M1"_s}},
                                                  std::tuple{1, u"Cancelled"_s, QStringList()}}) {
            gOptions().Language = language;
            outbox->ui.txtFilter->clear();
            outbox->ui.txtFilter->setText(word);
            QStringList shown;
            for (int row = 0; row < outbox->model().rowCount(); ++row)
                shown << outbox->model().record(row).text(ListRecord::MsgID);
            QCOMPARE(shown, ids);
        }
        // The history of a message that has none says so in the language in force.
        outbox->ui.txtFilter->clear();
        outbox->ui.grid->setCurrentIndex(outbox->model().index(1, 3));
        QCOMPARE(outbox->ui.gridHistory->topLevelItem(0)->text(0), u"Aucun historique"_s);
        outbox->ui.grid->clearSelection();
        gOptions().Language = 0;

        const QString file = f.profile.path() + u"/outbox.csv"_s;
        answerFileDialog(file);
        action(outbox->menu(), u"Export to CSV..."_s)->trigger();
        QCOMPARE(
            f.profile.readFile(u"outbox.csv"_s),
            "\xEF\xBB\xBFSubject,Level,Delivery,StartDate,ExpirationDate,Target,UserName,Status,MsgID\r\n"
            "Lunch,,Scheduled,2026-07-01T09:30:00+02:00,,,,Cancelled,M1\r\n"
            "Dinner,,Immediate,2026-07-01T09:30:00+02:00,,,,Active,M2\r\n");
    }

    // Reopened, the console comes back with the grid's height in its pane the person left and the sort
    // a click on a header chose, kept with the person's own layout.
    void reopenedAsLeft()
    {
        Fixture f;
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s);
        store(u"Outbox"_s, u"M2"_s, u"Dinner"_s);
        const UserStore settings(f.userStore);
        ConsoleFrame::WriteGeometry(settings, QRect(0, 0, 800, 560));
        settings.write(u"Setup"_s, u"OutboxAS1Splitter"_s, u"150"_s);
        settings.write(u"Setup"_s, u"OutboxLayout"_s, u"2"_s);
        const auto keptHeight = [&settings] {
            return settings.read(u"Setup"_s, u"OutboxAS1Splitter"_s, QString());
        };
        for (int opening = 0; opening < 3; ++opening) {
            const auto console = ownConsole(f.console);
            frmList *outbox = console->currentList();
            QHeaderView *columns = outbox->ui.grid->horizontalHeader();
            QTRY_COMPARE(outbox->ui.ActiveSizer1->sizes().value(0), 150);
            if (opening == 0)
                QTest::mouseClick(columns->viewport(), Qt::LeftButton, {},
                                  QPoint(columns->sectionViewportPosition(3) + 5, columns->height() / 2));
            else
                QCOMPARE(outbox->model().record(0).text(ListRecord::Subject), u"Dinner"_s);
            QCOMPARE(columns->sortIndicatorSection(), 3);
        }
        QCOMPARE(keptHeight(), u"150"_s);
        {
            // Once shown, the panes are the person's: a resize of the window keeps what they dragged.
            const auto console = ownConsole(f.console);
            QSplitter *panes = console->currentList()->ui.ActiveSizer1;
            QTRY_COMPARE(panes->sizes().value(0), 150);
            panes->repaint();
            panes->setSizes({220, panes->height() - panes->handleWidth() - 220});
            const int before = panes->height();
            console->resize(console->width(), console->height() + 40);
            QTRY_VERIFY(panes->height() != before);
            QVERIFY2(panes->sizes().value(0) >= 220, qPrintable(QString::number(panes->sizes().value(0))));
        }
        settings.write(u"Setup"_s, u"OutboxAS1Splitter"_s, u"150"_s);
        // A damaged file of the person's gives way to the full layout the program ships, with its sort.
        f.profile.writeFile(u"Layouts/OutboxMax.xgl"_s, "korvane-grid 1\nsort colStartDate desc\n");
        f.profile.writeFile(u"data/OutboxCust.xgl"_s, "not a layout");
        QCOMPARE(ownConsole(f.console, 0, false)
                     ->currentList()
                     ->ui.grid->horizontalHeader()
                     ->sortIndicatorSection(),
                 12);
        // A column the person hid, kept with no width, shows again at the grid's width.
        f.profile.writeFile(u"data/OutboxCust.xgl"_s,
                            "korvane-grid 1\ncolumn colSubject 200 1\ncolumn colLevel 0 0\n");
        {
            const auto console = ownConsole(f.console, 0, false);
            QHeaderView *columns = console->currentList()->ui.grid->horizontalHeader();
            QVERIFY(columns->isSectionHidden(5));
            columns->setSectionHidden(5, false);
            QCOMPARE(columns->sectionSize(5), columns->defaultSectionSize());
        }
        // The Received packages, which have no command, still export.
        QVERIFY(action(ownConsole(f.console, 7, false)->currentList()->menu(), u"Export to CSV..."_s));
        // A list replaced before it ever showed leaves the kept height alone.
        ownConsole(f.console, 1, false);
        QCOMPARE(keptHeight(), u"150"_s);
    }

    // A user leaves the list only once the question is answered Yes. Edit in the Administrators list
    // opens the role editor on the row's role, out of the four roles, and OK sends and shows the one
    // chosen.
    void directoryCommands()
    {
        Fixture f;
        QVERIFY(TempDB().exec(u"INSERT INTO Users (UserID) VALUES ('ann'), ('bob')"_s));
        QVERIFY(
            TempDB().exec(u"INSERT INTO Administrators (UserID, Authority) VALUES ('ann', 3), ('zed', 7)"_s));
        f.session.UsersLoaded = f.session.AdminsLoaded = true;
        const auto console = ownConsole(f.console, 13);
        QAbstractItemModel *users = directory(*console)->ui.grid->model();
        directory(*console)->ui.grid->setCurrentIndex(users->index(0, 0));
        for (const auto &[answer, left] : {std::pair{ResultNo, 2}, {ResultYes, 1}}) {
            f.frontend.answerBox(answer);
            action(directory(*console)->menu(), u"Delete"_s)->trigger();
            QCOMPARE(users->rowCount(), left);
        }
        QCOMPARE(f.sent.filter(u"USD"_s), QStringList{u"USD\u0001ann"_s});

        // A group's members show beside it when it is chosen.
        QVERIFY(TempDB().exec(
                    u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Operations')"_s) &&
                TempDB().exec(u"INSERT INTO KorvaneGroupUsers (GroupName, UserID) VALUES ('ops', 'bob'), "
                              "('ops', 'ann')"_s));
        f.session.GroupsKorvanLoaded = true;
        open(*console, 11);
        directory(*console)->ui.grid->setCurrentIndex(directory(*console)->ui.grid->model()->index(0, 0));
        QStringList members;
        for (const QTreeWidget *grid = directory(*console)->ui.gridMembers;
             members.size() < grid->topLevelItemCount();)
            members << grid->topLevelItem(int(members.size()))->text(0);
        QCOMPARE(members, (QStringList{u"bob"_s, u"ann"_s}));
        // Edit and Duplicate hand the group editor the chosen group (a duplicate is a new group), New
        // an empty one.
        for (const auto &[item, asked] : {std::pair{u"Edit"_s, u"group 3 ops Operations bob,ann"_s},
                                          {u"Duplicate"_s, u"group 2 ops Operations bob,ann"_s},
                                          {u"New"_s, u"group 2   "_s}}) {
            action(directory(*console)->menu(), item)->trigger();
            QCOMPARE(f.frontend.events.value(f.frontend.events.size() - 1), asked);
        }

        // The role editor opens on the row's role, out of the four; a role no version knows shows as the
        // least one, so that OK grants nothing more. OK sends and shows the one chosen.
        // The role editor is authoring's: the wiring opens it for the directory.
        DesktopFrontend desktop;
        desktop.setConsole(f.contextFor(desktop));
        const auto wired = ownConsole(f.contextFor(desktop), 15);
        QAbstractItemModel *admins = directory(*wired)->ui.grid->model();
        const auto roles = [admins] {
            return QStringList{admins->index(0, 1).data().toString(), admins->index(1, 1).data().toString()};
        };
        QCOMPARE(roles(), (QStringList{u"Administrator"_s, u"7"_s}));
        for (const auto &[row, shown, picked, sent] :
             {std::tuple{0, u"Administrator"_s, 1, u"ADM\u0001ann\u00021"_s},
              {1, u"User"_s, 0, u"ADM\u0001zed\u00020"_s}}) {
            directory(*wired)->ui.grid->setCurrentIndex(admins->index(row, 0));
            QStringList seen;
            QTimer::singleShot(0, qApp, [&, picked = picked] {
                auto *role = QApplication::activeModalWidget()->findChild<QComboBox *>(u"cboRole"_s);
                for (int n = 0; n < role->count(); ++n)
                    seen << role->itemText(n);
                seen << role->currentText();
                role->setCurrentIndex(picked);
                QApplication::activeModalWidget()->findChild<QPushButton *>(u"OKButton"_s)->click();
            });
            action(directory(*wired)->menu(), u"Edit"_s)->trigger();
            QCOMPARE(seen << f.sent.last(), (QStringList{u"User"_s, u"Postmaster"_s, u"Packager"_s,
                                                         u"Administrator"_s, shown, sent}));
        }
        QCOMPARE(roles(), (QStringList{u"Postmaster"_s, u"User"_s}));
    }

    // The group editor is authoring's too: through the wiring, Edit opens it on the chosen group, OK
    // sends the change and the list shows it; Cancel sends nothing. Without a console, nothing opens.
    void groupEditorThroughTheWiring()
    {
        QVERIFY(!DesktopFrontend().EditGroupForm(3, u"ops"_s, {}, {}));
        Fixture f;
        QVERIFY(TempDB().exec(
                    u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Operations')"_s) &&
                TempDB().exec(u"INSERT INTO KorvaneGroupUsers (GroupName, UserID) VALUES ('ops', 'bob'), "
                              "('ops', 'ann')"_s));
        f.session.GroupsKorvanLoaded = true;
        DesktopFrontend desktop;
        desktop.setConsole(f.contextFor(desktop));
        const auto wired = ownConsole(f.contextFor(desktop), 11);
        QTableView *grid = directory(*wired)->ui.grid;
        for (const auto &[button, described] :
             {std::pair{u"CancelButton"_s, u"Operations"_s}, {u"OKButton"_s, u"Ops team"_s}}) {
            grid->setCurrentIndex(grid->model()->index(0, 0));
            QStringList seen;
            QTimer::singleShot(0, qApp, [&, button = button] {
                QWidget *editor = QApplication::activeModalWidget();
                for (const QString &field : {u"txtGroupName"_s, u"txtDescription"_s, u"txtTarget"_s})
                    seen << editor->findChild<QLineEdit *>(field)->text();
                editor->findChild<QLineEdit *>(u"txtDescription"_s)->setText(u"Ops team"_s);
                editor->findChild<QPushButton *>(button)->click();
            });
            const qsizetype before = f.sent.size();
            action(directory(*wired)->menu(), u"Edit"_s)->trigger();
            QCOMPARE(seen, (QStringList{u"ops"_s, u"Operations"_s, u"bob,ann"_s}));
            QCOMPARE(f.sent.size() - before, qsizetype(button == u"OKButton"_s));
            QCOMPARE(grid->model()->index(0, 1).data().toString(), described);
        }
        QVERIFY(f.sent.last().startsWith(u"KVG\u0001ops\u0002Ops team\u0002"_s));
    }

    // A level's cell is drawn in the level's colours, framed in the highlight when chosen; a level
    // this workstation does not know is drawn as any cell.
    void levelCellsInTheirColours()
    {
        LevelCollection levels;
        level urgent;
        urgent.LevelName = u"Urgent"_s;
        urgent.BackColor = 255; // red, as the server writes colours
        levels.add(urgent);
        const LevelCellDelegate painter(levels, nullptr);
        QStandardItemModel cells(2, 1);
        cells.setData(cells.index(0, 0), u"Urgent"_s);
        cells.setData(cells.index(1, 0), u"Gone"_s);
        QStyleOptionViewItem option;
        option.rect = QRect(0, 0, 100, 20);
        option.palette.setColor(QPalette::Highlight, Qt::green);
        const auto edge = [&](int row, bool chosen) {
            QImage image(100, 20, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter canvas(&image);
            canvas.setPen(Qt::blue);
            QStyleOptionViewItem cell = option;
            cell.state.setFlag(QStyle::State_Selected, chosen);
            painter.paint(&canvas, cell, cells.index(row, 0));
            // The grid's painter goes on to the next cell as it was.
            return canvas.pen().color() == QColor(Qt::blue) ? QColor(image.pixel(0, 10)) : QColor();
        };
        QCOMPARE((QList<QColor>{edge(0, false), edge(0, true), edge(1, false)}),
                 (QList<QColor>{Qt::red, Qt::green, Qt::white}));
    }
};

QTEST_MAIN(TestConsoleWindow)
#include "tst_consolewindow.moc"
