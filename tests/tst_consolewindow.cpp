// The console as a window on screen: a list replaced under a window of its own, commands that
// act on the rows chosen when the menu opened, and sizes that survive a reopening.
#include "console/CodeCellDelegate.h"
#include "console/LevelCellDelegate.h"
#include "console/frmAdmin.h"
#include "console/frmDirectory.h"
#include "console/frmList.h"
#include "core/Failure.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "delivery/MessageIntake.h"
#include "delivery/Replication.h"
#include "store/DBFunctions.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "ui/DesktopFrontend.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

struct Fixture : AuthoringFixture
{
    QString userStore = profile.path() + u"/Client.conf"_s;
    // The engine's own state, as the engine reads it to tell the open list.
    ConsoleContext console{ClientDB(),     TempDB(),          clock,  frontend, gProcess(), session,
                           user,           policies,          levels, send,     nullptr,    userStore,
                           profile.path(), profile.dataHome()};

    Fixture() { user.setMyAuthority(UserInfos::RoleAdministrator); }
};

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

// Stores a message in a table of the client's store.
void store(const QString &table, const QString &id, const QString &subject, int status = 1, int delivery = 0)
{
    DVMessage msg;
    msg.MsgID = msg.InitID = id;
    msg.UserID = u"jdoe"_s;
    msg.Subject = subject;
    msg.Status = status;
    msg.MsgDelivery = delivery;
    msg.StartDate = QDateTime(QDate(2026, 7, 1), QTime(9, 30), Qt::UTC);
    QVERIFY(SaveMessage(ClientDB(), table, msg, false, true));
}

QStringList stored(const QString &table)
{
    return StoreFixture::column(ClientDB(), u"SELECT MsgID FROM "_s + table + u" ORDER BY MsgID"_s);
}

// Picks an item of the menu that opens next (a header's menu runs its own loop).
void pickNext(const QString &text)
{
    QTimer::singleShot(0, qApp, [text] {
        if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
            for (QAction *item : menu->actions())
                if (item->text().remove(u'&') == text)
                    item->trigger();
            menu->close();
        }
    });
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
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        console.show();
        QVERIFY(QTest::qWaitForWindowExposed(&console));

        QPointer<frmList> outbox = console.currentList();
        QVERIFY(outbox);
        gProcess().CurrentList = 13;
        QHeaderView *columns = outbox->ui.grid->horizontalHeader();
        answerWhileOpen(console, 13, [&] { Q_EMIT columns->customContextMenuRequested(QPoint(5, 5)); });
        QVERIFY(!outbox);
        auto *users = qobject_cast<frmDirectory *>(console.currentChild());
        QVERIFY(users && users->list() == 13 && users->isVisible());

        // The domain's groups are a directory like the others.
        console.Display(10);
        QVERIFY(qobject_cast<frmDirectory *>(console.currentChild()));
        console.Display(12);
        auto *groups = qobject_cast<frmDirectory *>(console.currentChild());
        QVERIFY(groups && groups->list() == 12);
        QPointer<frmDirectory> old = groups;
        groups->ui.grid->selectRow(0);
        answerWhileOpen(console, 11, [&] { action(groups->menu(), u"Edit"_s)->trigger(); });
        QVERIFY(!old);
        QCOMPARE(qobject_cast<frmDirectory *>(console.currentChild())->list(), 11);

        gProcess().CurrentList = 2;
        console.Display(2);
        outbox = console.currentList();
        answerWhileOpen(console, 11, [&] { action(outbox->menu(), u"Export to CSV..."_s)->trigger(); });
        QVERIFY(!outbox);
    }

    // The menu opened on a row the server then takes away: Delete removes nothing, not the row the
    // focus fell to. The keyboard's Delete takes the rows of the moment.
    void commandsActOnTheChosenRows()
    {
        Fixture f;
        for (const char *id : {"A", "B", "C"})
            store(u"Inbox"_s, QLatin1String(id), u"Subject "_s + QLatin1String(id));
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        gProcess().CurrentList = 1;
        console.Display(1);
        frmList *inbox = console.currentList();
        QCOMPARE(inbox->model().rowCount(), 3);
        inbox->ui.grid->selectRow(inbox->model().Locate(u"B"_s));
        Q_EMIT inbox->ui.grid->customContextMenuRequested(QPoint(5, 5));
        // The server retargets B away from this user while the menu is open.
        DeleteMessage(ClientDB(), u"Inbox"_s, u"B"_s);
        inbox->DelRecord(u"B"_s);
        QVERIFY(inbox->ui.grid->currentIndex().isValid());
        action(inbox->menu(), u"Delete"_s)->trigger();
        inbox->menu()->close();
        QCOMPARE(stored(u"Inbox"_s), (QStringList{u"A"_s, u"C"_s}));
        console.show();
        QVERIFY(QTest::qWaitForWindowActive(&console));
        inbox->ui.grid->setFocus();
        inbox->ui.grid->selectRow(inbox->model().Locate(u"C"_s));
        QTest::keyClick(inbox->ui.grid, Qt::Key_Delete);
        QCOMPARE(stored(u"Inbox"_s), QStringList{u"A"_s});
    }

    // Grouped, a heading is no row of the commands: chosen alone it enables none of them, and the
    // commands of one row take the one row chosen under it.
    void headingsAreNoRows()
    {
        Fixture f;
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s);
        store(u"Outbox"_s, u"M2"_s, u"Lunch"_s);
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        console.show();
        frmList *outbox = console.currentList();
        QHeaderView *columns = outbox->ui.grid->horizontalHeader();
        const int subject = 3;
        pickNext(u"Group by "_s + outbox->model().headerData(subject, Qt::Horizontal).toString());
        Q_EMIT columns->customContextMenuRequested(
            QPoint(columns->sectionViewportPosition(subject) + 2, columns->height() / 2));
        QTreeView *tree = outbox->ui.groupGrid;
        QVERIFY(tree->isVisible());
        const QModelIndex heading = tree->model()->index(0, 0);
        QVERIFY(tree->model()->hasChildren(heading));
        tree->setCurrentIndex(heading);
        tree->selectionModel()->select(heading,
                                       QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        Q_EMIT tree->customContextMenuRequested(QPoint(5, 5));
        for (const QString &text : {u"Duplicate"_s, u"Cancel"_s, u"Edit"_s, u"Delete"_s})
            QVERIFY2(!action(outbox->menu(), text)->isEnabled(), qPrintable(text));
        action(outbox->menu(), u"Duplicate"_s)->trigger();
        outbox->menu()->close();
        f.sent.clear();
        tree->setFocus();
        QTest::keyClick(tree, Qt::Key_Delete);
        QCOMPARE(f.sent, QStringList());

        tree->selectionModel()->select(tree->model()->index(1, 0, heading),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
        Q_EMIT tree->customContextMenuRequested(QPoint(5, 5));
        QVERIFY(action(outbox->menu(), u"Duplicate"_s)->isEnabled());
        action(outbox->menu(), u"Duplicate"_s)->trigger();
        outbox->menu()->close();
        QCOMPARE(f.sent.size(), 1);
        QVERIFY(f.sent.first().startsWith(u"MDU\u0001M"_s));
        QVERIFY(!f.sent.first().endsWith(u"\u0001"_s));
    }

    // Grouped by Status, the headings name the words shown, their captions stand in the first column
    // shown with no cell values beside them, and a row arriving keeps closed headings and chosen rows.
    void groupingKeepsItsRows()
    {
        Fixture f;
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s, 0);
        store(u"Outbox"_s, u"M2"_s, u"Dinner"_s, 1);
        store(u"Outbox"_s, u"M3"_s, u"Tea"_s, 1);
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        console.show();
        frmList *outbox = console.currentList();
        QHeaderView *columns = outbox->ui.grid->horizontalHeader();
        const int status = 21, subject = 3;
        QCOMPARE(columns->logicalIndex(0), subject);
        pickNext(u"Group by "_s + outbox->model().headerData(status, Qt::Horizontal).toString());
        Q_EMIT columns->customContextMenuRequested(
            QPoint(columns->sectionViewportPosition(status) + 2, columns->height() / 2));
        QTreeView *tree = outbox->ui.groupGrid;
        QAbstractItemModel *rows = tree->model();
        const auto headings = [rows](int column) {
            QStringList texts;
            for (int heading = 0; heading < rows->rowCount(); ++heading)
                texts << rows->index(heading, column).data().toString();
            return texts;
        };
        QCOMPARE(headings(subject), (QStringList{u"Active (2)"_s, u"Cancelled (1)"_s}));
        QCOMPARE(headings(0), (QStringList{QString(), QString()}));
        QCOMPARE(headings(6), (QStringList{QString(), QString()}));
        // A code's painter shows its word, not its number, and names it from its own column's words.
        QStyleOptionViewItem option;
        option.initFrom(outbox->ui.grid);
        QVERIFY(outbox->ui.grid->itemDelegateForColumn(status)
                    ->sizeHint(option, outbox->model().index(0, status))
                    .width() > outbox->fontMetrics().horizontalAdvance(u"Active"_s));
        // A code no version knows stays its number.
        QCOMPARE((QStringList{CodeCellDelegate::NameOf(CodeCellDelegate::Status, 0),
                              CodeCellDelegate::NameOf(CodeCellDelegate::Delivery, 0),
                              CodeCellDelegate::NameOf(CodeCellDelegate::Status, 99),
                              CodeCellDelegate::NameOf(CodeCellDelegate::Delivery, -1)}),
                 (QStringList{u"Cancelled"_s, u"Immediate"_s, u"99"_s, u"-1"_s}));
        // and is drawn with none of the known codes' icons, just past them or below them.
        QStandardItemModel unknown(2, 3);
        for (int column : {0, 1, 2})
            unknown.setData(unknown.index(0, column), QList<int>{5, 4, -1}.at(column));
        for (const auto &[codes, column] : {std::pair{CodeCellDelegate::Status, 0},
                                            {CodeCellDelegate::Status, 2},
                                            {CodeCellDelegate::Delivery, 1},
                                            {CodeCellDelegate::Delivery, 2}})
            QVERIFY(CodeCellDelegate(codes, nullptr).sizeHint(option, unknown.index(0, column)).width() > 0);
        // A known code is drawn as its word beside its own sign: Active beside the style's tick,
        // Immediate beside its play sign.
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
        QStandardItemModel expected(2, 1);
        const QStyledItemDelegate plain;
        for (const auto &[codes, row, word, sign] :
             {std::tuple{CodeCellDelegate::Status, 0, u"Active"_s, QStyle::SP_DialogApplyButton},
              {CodeCellDelegate::Delivery, 1, u"Immediate"_s, QStyle::SP_MediaPlay}}) {
            unknown.setData(unknown.index(row, 0), codes == CodeCellDelegate::Status ? 1 : 0);
            expected.setData(expected.index(row, 0), word);
            expected.setData(expected.index(row, 0), QApplication::style()->standardIcon(sign),
                             Qt::DecorationRole);
            QCOMPARE(drawn(CodeCellDelegate(codes, nullptr), unknown.index(row, 0)),
                     drawn(plain, expected.index(row, 0)));
        }
        // Nor does the delivery's painter make one up: the heading's cell stays one colour.
        const QImage shot = tree->viewport()->grab().toImage();
        const QRect cell = tree->visualRect(rows->index(0, 6)).adjusted(2, 2, -2, -2);
        QVERIFY(cell.width() > 20);
        for (int x = cell.left(); x <= cell.right(); ++x)
            for (int y = cell.top(); y <= cell.bottom(); ++y)
                QCOMPARE(shot.pixel(x, y), shot.pixel(cell.topLeft()));

        tree->collapse(rows->index(1, 0));
        const QModelIndex dinner = rows->index(0, subject, rows->index(0, 0));
        QCOMPARE(dinner.data().toString(), u"Dinner"_s);
        tree->setCurrentIndex(dinner);
        DVMessage arriving;
        arriving.MsgID = u"M4"_s;
        arriving.Subject = u"Supper"_s;
        arriving.Status = 1;
        outbox->AddRecord(arriving);
        QCOMPARE(headings(subject), (QStringList{u"Active (3)"_s, u"Cancelled (1)"_s}));
        QVERIFY(tree->isExpanded(rows->index(0, 0)) && !tree->isExpanded(rows->index(1, 0)));
        QCOMPARE(tree->currentIndex().siblingAtColumn(subject).data().toString(), u"Dinner"_s);
        const QModelIndexList chosen = tree->selectionModel()->selectedRows(subject);
        QCOMPARE(chosen.size(), 1);
        QCOMPARE(chosen.first().data().toString(), u"Dinner"_s);
    }

    // The open list follows the server through the engine: the author's own message comes back into
    // the Outbox, a status change and a deletion show in it, an edited message shows its new text in
    // the Inbox, all without reopening the list.
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
        frmList *outbox = desktop.console()->currentList();
        QCOMPARE(outbox->list(), 2);
        Replication replication(f.send);
        MessageIntake intake(
            f.send, [] { return u"10.0.5.7"_s; }, replication);
        DVMessage own;
        own.MsgID = own.InitID = u"M1"_s;
        own.UserID = u"jdoe"_s;
        own.Subject = u"Lunch"_s;
        own.Target = u"bob"_s;
        own.Status = StatusActive;
        own.StartDate = f.clock.currentDateTime();
        own.ExpirationDate = own.StartDate.addDays(1);
        intake.MessageReceived(own.ToString(), false);
        const auto row = [](frmList *list, const QString &id) {
            const int at = list->model().Locate(id);
            return at < 0 ? QString()
                          : list->model().shownText(at, 3) + u'/' + list->model().shownText(at, 21);
        };
        QCOMPARE(row(outbox, u"M1"_s), u"Lunch/Active"_s);
        Failure failure;
        replication.MessageStatusChanged(u"0"_s + QChar(2) + u"M1"_s, failure);
        QCOMPARE(row(outbox, u"M1"_s), u"Lunch/Active"_s);
        replication.MessagesDeleted(u"M1"_s);
        QCOMPARE(row(outbox, u"M1"_s), QString());

        gProcess().CurrentList = 1;
        desktop.console()->Display(1);
        frmList *inbox = desktop.console()->currentList();
        DVMessage other = own;
        other.MsgID = other.InitID = u"M2"_s;
        other.UserID = u"ann"_s;
        other.Target = u"jdoe"_s;
        intake.MessageReceived(other.ToString(), false);
        QCOMPARE(row(inbox, u"M2"_s), u"Lunch/Active"_s);
        other.Subject = u"Dinner"_s;
        intake.MessageReceived(other.ToString(), false);
        QCOMPARE(row(inbox, u"M2"_s), u"Dinner/Active"_s);
        replication.MessageStatusChanged(u"0"_s + QChar(2) + u"M2"_s, failure);
        QCOMPARE(row(inbox, u"M2"_s), u"Dinner/Cancelled"_s);
        // A package's status change shows in the open list of received packages.
        store(u"InPkg"_s, u"P1"_s, u"Tool"_s);
        gProcess().CurrentList = 7;
        desktop.console()->Display(7);
        replication.PackageStatusChanged(u"0"_s + QChar(2) + u"P1"_s, failure);
        QCOMPARE(row(desktop.console()->currentList(), u"P1"_s), u"Tool/Cancelled"_s);
        // A directory in the pane has no rows of messages to read anew.
        gProcess().CurrentList = 13;
        desktop.console()->Display(13);
        replication.MessageStatusChanged(u"1"_s + QChar(2) + u"M2"_s, failure);
        QCOMPARE(desktop.console()->currentList(), nullptr);
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
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        console.show();
        frmList *outbox = console.currentList();
        const auto shown = [outbox] {
            QStringList ids;
            for (int row = 0; row < outbox->model().rowCount(); ++row)
                ids << outbox->model().record(row).text(ListRecord::MsgID);
            return ids;
        };
        for (const auto &[language, word, ids] : {std::tuple{0, u"cancelled"_s, QStringList{u"M1"_s}},
                                                  std::tuple{0, u"Immediate"_s, QStringList{u"M2"_s}},
                                                  std::tuple{0, u"Sched"_s, QStringList{u"M1"_s}},
                                                  std::tuple{1, u"Annulé"_s, QStringList{u"M1"_s}},
                                                  std::tuple{1, u"Cancelled"_s, QStringList()}}) {
            gOptions().Language = language;
            outbox->ui.txtFilter->clear();
            outbox->ui.txtFilter->setText(word);
            QCOMPARE(shown(), ids);
        }
        // The history of a message that has none says so in the language in force.
        outbox->ui.txtFilter->clear();
        outbox->ui.grid->setCurrentIndex(outbox->model().index(1, 3));
        QCOMPARE(outbox->ui.gridHistory->topLevelItem(0)->text(0), u"Aucun historique"_s);
        outbox->ui.grid->clearSelection();
        gOptions().Language = 0;

        const QString file = f.profile.path() + u"/outbox.csv"_s;
        QTimer::singleShot(0, qApp, [file] {
            if (auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget())) {
                dialog->selectFile(file);
                QMetaObject::invokeMethod(dialog, "accept");
            }
        });
        action(outbox->menu(), u"Export to CSV..."_s)->trigger();
        QFile csv(file);
        QVERIFY(csv.open(QIODevice::ReadOnly));
        QCOMPARE(
            csv.readAll(),
            "\xEF\xBB\xBFSubject,Level,Delivery,StartDate,ExpirationDate,Target,UserName,Status,MsgID\r\n"
            "Lunch,,Scheduled,2026-07-01T09:30:00+02:00,,,,Cancelled,M1\r\n"
            "Dinner,,Immediate,2026-07-01T09:30:00+02:00,,,,Active,M2\r\n");
    }

    // A sort chosen by a click on a header comes back with the person's own layout; the Received
    // packages, which have no command, still export.
    void sortKeptAndEveryListExports()
    {
        Fixture f;
        store(u"Outbox"_s, u"M1"_s, u"Lunch"_s);
        store(u"Outbox"_s, u"M2"_s, u"Dinner"_s);
        UserStore(f.userStore).write(u"Setup"_s, u"OutboxLayout"_s, u"2"_s);
        for (int opening = 0; opening < 2; ++opening) {
            frmAdmin console(f.console);
            console.setAttribute(Qt::WA_DeleteOnClose, false);
            console.show();
            QVERIFY(QTest::qWaitForWindowExposed(&console));
            frmList *outbox = console.currentList();
            QHeaderView *columns = outbox->ui.grid->horizontalHeader();
            if (opening == 0) {
                QTest::mouseClick(columns->viewport(), Qt::LeftButton, {},
                                  QPoint(columns->sectionViewportPosition(3) + 5, columns->height() / 2));
                QCOMPARE(columns->sortIndicatorSection(), 3);
            } else {
                QCOMPARE(columns->sortIndicatorSection(), 3);
                QCOMPARE(outbox->model().record(0).text(ListRecord::Subject), u"Dinner"_s);
            }
        }
        // A damaged file of the person's gives way to the full layout the program ships, with its sort.
        f.profile.writeFile(u"Layouts/OutboxMax.xgl"_s, "korvane-grid 1\nsort colStartDate desc\n");
        QFile custom(f.profile.dataHome() + u"/OutboxCust.xgl"_s);
        QVERIFY(custom.open(QIODevice::WriteOnly) && custom.write("not a layout") > 0);
        custom.close();
        {
            frmAdmin console(f.console);
            QCOMPARE(console.currentList()->ui.grid->horizontalHeader()->sortIndicatorSection(), 12);
        }
        // A column the person hid, kept with no width, shows again at the grid's width.
        QVERIFY(custom.open(QIODevice::WriteOnly) &&
                custom.write("korvane-grid 1\ncolumn colSubject 200 1\ncolumn colLevel 0 0\n") > 0);
        custom.close();
        {
            frmAdmin console(f.console);
            QHeaderView *columns = console.currentList()->ui.grid->horizontalHeader();
            QVERIFY(columns->isSectionHidden(5));
            columns->setSectionHidden(5, false);
            QCOMPARE(columns->sectionSize(5), columns->defaultSectionSize());
        }
        gProcess().CurrentList = 7;
        frmAdmin console(f.console);
        console.Display(7);
        QVERIFY(action(console.currentList()->menu(), u"Export to CSV..."_s));
    }

    // The console's place and size come back as they were kept, for any screen up to 8K, and the
    // grid's height in its pane stays what the person left at every opening.
    void sizesSurviveReopening()
    {
        Fixture f;
        const UserStore settings(f.userStore);
        for (const QRect &place :
             {QRect(-7680, 0, 7680, 4320), QRect(100, 50, 2300, 1200), QRect(0, 0, 1, 1)}) {
            ConsoleFrame::WriteGeometry(settings, place);
            QCOMPARE(ConsoleFrame::ReadGeometry(settings), place);
        }
        ConsoleFrame::WriteGeometry(settings, QRect(0, 0, 800, 560));
        settings.write(u"Setup"_s, u"OutboxAS1Splitter"_s, u"150"_s);
        for (int opening = 0; opening < 3; ++opening) {
            frmAdmin console(f.console);
            console.setAttribute(Qt::WA_DeleteOnClose, false);
            console.show();
            QVERIFY(QTest::qWaitForWindowExposed(&console));
            QTRY_COMPARE(console.currentList()->ui.ActiveSizer1->sizes().value(0), 150);
        }
        QCOMPARE(settings.read(u"Setup"_s, u"OutboxAS1Splitter"_s, QString()), u"150"_s);
        // A list replaced before it ever showed leaves the kept height alone.
        {
            frmAdmin console(f.console);
            gProcess().CurrentList = 1;
            console.Display(1);
        }
        QCOMPARE(settings.read(u"Setup"_s, u"OutboxAS1Splitter"_s, QString()), u"150"_s);
    }

    // A user leaves the list only once the question is answered Yes.
    void userDeletedOnlyWhenAnswered()
    {
        Fixture f;
        QVERIFY(TempDB().exec(u"INSERT INTO Users (UserID) VALUES ('ann'), ('bob')"_s));
        f.session.UsersLoaded = true;
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        gProcess().CurrentList = 13;
        console.Display(13);
        auto *users = qobject_cast<frmDirectory *>(console.currentChild());
        QAbstractItemModel *rows = users->ui.grid->model();
        users->ui.grid->setCurrentIndex(rows->index(0, 0));
        f.frontend.answerBox(ResultNo);
        action(users->menu(), u"Delete"_s)->trigger();
        QCOMPARE(rows->rowCount(), 2);
        f.frontend.answerBox(ResultYes);
        action(users->menu(), u"Delete"_s)->trigger();
        QCOMPARE(rows->rowCount(), 1);
        QCOMPARE(f.sent.filter(u"USD"_s), QStringList{u"USD\u0001ann"_s});
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
            if (canvas.pen().color() != QColor(Qt::blue))
                return QColor();
            return QColor(image.pixel(0, 10));
        };
        QCOMPARE(edge(0, false), QColor(Qt::red));
        QCOMPARE(edge(0, true), QColor(Qt::green));
        QCOMPARE(edge(1, false), QColor(Qt::white));
    }

    // Edit in the Administrators list opens the role editor on the row's role, out of the four
    // roles, and OK sends and shows the one chosen.
    void roleEditedFromItsRow()
    {
        Fixture f;
        QVERIFY(
            TempDB().exec(u"INSERT INTO Administrators (UserID, Authority) VALUES ('ann', 3), ('zed', 7)"_s));
        f.session.AdminsLoaded = true;
        frmAdmin console(f.console);
        console.setAttribute(Qt::WA_DeleteOnClose, false);
        console.show();
        gProcess().CurrentList = 15;
        console.Display(15);
        QStringList roles;
        // Opens the editor on a row, notes the roles offered and the one shown, and picks another.
        const auto edit = [&](int row, int picked) {
            auto *admins = qobject_cast<frmDirectory *>(console.currentChild());
            admins->ui.grid->setCurrentIndex(admins->ui.grid->model()->index(row, 0));
            int shown = -1;
            QTimer::singleShot(0, qApp, [&] {
                auto *role = QApplication::activeModalWidget()->findChild<QComboBox *>(u"cboRole"_s);
                roles.clear();
                for (int n = 0; n < role->count(); ++n)
                    roles << role->itemText(n);
                shown = role->currentIndex();
                role->setCurrentIndex(picked);
                QApplication::activeModalWidget()->findChild<QPushButton *>(u"OKButton"_s)->click();
            });
            action(admins->menu(), u"Edit"_s)->trigger();
            return shown;
        };
        QCOMPARE(edit(0, 1), 3);
        QCOMPARE(roles, (QStringList{u"User"_s, u"Postmaster"_s, u"Packager"_s, u"Administrator"_s}));
        QCOMPARE(f.sent.last(), u"ADM\u0001ann\u00021"_s);
        auto *admins = qobject_cast<frmDirectory *>(console.currentChild());
        QCOMPARE(admins->ui.grid->model()->index(0, 1).data().toString(), u"Postmaster"_s);
        // A role no version knows is shown as the least one, so that OK grants nothing more.
        QCOMPARE(admins->ui.grid->model()->index(1, 1).data().toString(), u"7"_s);
        QCOMPARE(edit(1, 0), 0);
        QCOMPARE(f.sent.last(), u"ADM\u0001zed\u00020"_s);
    }
};

QTEST_MAIN(TestConsoleWindow)
#include "tst_consolewindow.moc"
