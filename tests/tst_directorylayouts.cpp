// The console's directory lists: headers in the person's language, the header's menu of layouts, sorts and
// shown columns, a layout kept across a reopening or given up when damaged, and an export of what is shown.
#include "console/frmAdmin.h"
#include "console/frmDirectory.h"
#include "core/UserStore.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"
#include "support/ModalDialog.h"
#include "support/Untranslated.h"

#include <QApplication>
#include <QDir>
#include <QHeaderView>
#include <QMenu>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

struct Fixture : AuthoringFixture
{
    QString userStore = profile.path() + u"/Client.conf"_s;
    ConsoleContext console{ClientDB(), TempDB(), clock, frontend,  process,        session,           user,
                           policies,   levels,   send,  userStore, profile.path(), profile.dataHome()};

    Fixture()
    {
        // Stored in neither the keys' nor the logons' order.
        TempDB().exec(
            u"INSERT INTO Users VALUES ('bob', 'Bob Ray', '2026-06-30', 'PC-2', 0, 1), "
            u"('cyd', 'Cyd Park', '2026-07-02', 'PC-9', 1, 0), ('ann', 'Ann Lee', '2026-07-01', 'PC-7', 1, 0)"_s);
        user.setMyAuthority(UserInfos::RoleAdministrator);
        gOptions().Trace = true;
        // A fixed layout of the users: two of the six columns, the language hidden.
        profile.writeFile(
            u"Layouts/Users.xgl"_s,
            "korvane-grid 1\ncolumn UserName 150 1\ncolumn UserID 90 1\ncolumn Language 70 0\n");
    }
};

QHeaderView *header(QWidget *list)
{
    return static_cast<frmDirectory *>(list)->ui.grid->horizontalHeader();
}

// The titles of the columns shown, in their order.
QString shown(QWidget *list)
{
    QStringList titles;
    for (int visual = 0; visual < header(list)->count(); ++visual)
        if (const int logical = header(list)->logicalIndex(visual); !header(list)->isSectionHidden(logical))
            titles << header(list)->model()->headerData(logical, Qt::Horizontal).toString();
    return titles.join(u'|');
}

// The keys of the rows, in the grid's order.
QString keys(QWidget *list)
{
    QStringList keys;
    for (int row = 0; row < header(list)->model()->rowCount(); ++row)
        keys << header(list)->model()->index(row, 0).data().toString();
    return keys.join(u' ');
}

// Opens the header's menu on a column and picks an item, through a submenu (the menu runs its own loop);
// by a key with Ctrl+Shift, the menu opens at the grid's focused column. Tells whether a menu opened.
bool pick(QWidget *list, int column, const QStringList &path, int key = 0)
{
    const auto opened = std::make_shared<bool>(false);
    QTimer::singleShot(0, qApp, [path, opened] {
        QMenu *top = qobject_cast<QMenu *>(QApplication::activePopupWidget()), *menu = top;
        for (const QString &text : path)
            for (QAction *item : menu ? menu->actions() : QList<QAction *>())
                if (item->text() == text)
                    item->menu() ? void(menu = item->menu()) : item->trigger();
        *opened = top != nullptr;
        if (top)
            top->close();
    });
    if (key) {
        QTableView *grid = static_cast<frmDirectory *>(list)->ui.grid;
        grid->setCurrentIndex(grid->model()->index(0, column));
        QTest::keyClick(grid, Qt::Key(key), Qt::ControlModifier | Qt::ShiftModifier);
    } else {
        Q_EMIT header(list)->customContextMenuRequested(
            QPoint(header(list)->sectionViewportPosition(column) + 3, header(list)->height() / 2));
    }
    QCoreApplication::processEvents();
    return *opened;
}

QByteArray exported(frmDirectory &list, const QString &file)
{
    answerFileDialog(file);
    list.menu()->actions().last()->trigger();
    QFile csv(file);
    return csv.open(QIODevice::ReadOnly) ? csv.readAll() : QByteArray();
}

} // namespace

class TestDirectoryLayouts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Under the shipped layouts every list shows each column of its table, following a switch of language.
    void shippedLayoutsInEitherLanguage()
    {
        Fixture f;
        const QDir shipped(QStringLiteral(QT_TESTCASE_SOURCEDIR "/../resources/layouts"));
        QFile::remove(f.profile.path() + u"/Layouts/Users.xgl"_s);
        for (const QString &name : shipped.entryList({u"*.xgl"_s}))
            QVERIFY(QFile::copy(shipped.filePath(name), f.profile.path() + u"/Layouts/"_s + name));
        const QString groups = u"Group Name|Description|Creator|Created"_s,
                      groupes = u"Nom du groupe|Description|Créateur|Créé le"_s;
        for (const auto &[list, english, french] :
             {std::tuple{10, u"Group Name|Description"_s, u"Nom du groupe|Description"_s},
              {11, groups, groupes},
              {12, groups, groupes},
              {13, u"User ID|Name|Machine|Last Logon|Connected|Language"_s,
               u"Identifiant|Nom|Poste|Dernière connexion|Connecté|Langue"_s},
              {14, u"Machine|IP Address|User ID|Last Logon|Connected|Version|Agent"_s,
               u"Poste|Adresse IP|Identifiant|Dernière connexion|Connecté|Version|Agent"_s},
              {15, u"User ID|Role"_s, u"Identifiant|Rôle"_s}}) {
            frmDirectory directory(list, f.console);
            for (const auto &[language, columns, item] :
                 {std::tuple{1, french, u"Exporter en CSV..."_s}, {0, english, u"Export to CSV..."_s}}) {
                switchLanguage(&directory, language);
                QCOMPARE(std::pair(shown(&directory), directory.menu()->actions().last()->text()),
                         std::pair(columns, item));
            }
        }
        QVERIFY2(!logText().contains(u"LoadLayout"_s), qPrintable(logText()));
    }

    // Columns arranged from the menu and with the mouse come back in that list alone; a damaged own file
    // gives way to the shipped one, a missing shipped one to the table's columns, each traced. An export
    // writes the columns shown, of the selected rows or else of all the rows the quick filter leaves.
    void layoutKeptOrGivenUpAndExported()
    {
        Fixture f;
        const auto damage = [&f](const QString &list) {
            UserStore(f.userStore).write(u"Setup"_s, list + u"Layout"_s, u"2"_s);
            f.profile.writeFile(u"data/"_s + list + u"Cust.xgl"_s, "korvane-grid 1\ncolumn UserID wide 1\n");
        };
        damage(u"Machines"_s);
        auto console = std::make_unique<frmAdmin>(f.console);
        console->setAttribute(Qt::WA_DeleteOnClose, false);
        console->show();
        QVERIFY(QTest::qWaitForWindowExposed(console.get()));
        const auto open = [&console, &f](int list) {
            f.process.CurrentList = list;
            console->Display(list);
            return console->currentChild();
        };
        QWidget *users = open(13);
        const int userID = 0, name = 1, lastLogon = 2;
        QCOMPARE(std::tuple(shown(users), header(users)->sectionSize(name), keys(users)),
                 std::tuple(u"Name|User ID"_s, 150, u"bob cyd ann"_s));
        QVERIFY(pick(users, userID, {u"Custom Layout"_s}));
        QVERIFY(pick(users, userID, {u"Sort by User ID, Ascending"_s}, Qt::Key_F10));
        QCOMPARE(keys(users), u"ann bob cyd"_s);
        // Another letter with the same modifiers is the grid's own: no menu opens.
        QVERIFY(!pick(users, userID, {}, Qt::Key_A));
        pick(users, userID, {u"Sort by User ID, Descending"_s});
        QCOMPARE(keys(users), u"cyd bob ann"_s);
        pick(users, userID, {u"Columns"_s, u"Last Logon"_s});
        pick(users, userID, {u"Columns"_s, u"Name"_s});
        QCOMPARE(shown(users), u"User ID|Last Logon"_s);
        header(users)->moveSection(header(users)->visualIndex(lastLogon), 0);
        header(users)->resizeSection(lastLogon, 140);
        // A click on a header sorts by it, whichever way Qt starts.
        QTest::mouseClick(
            header(users)->viewport(), Qt::LeftButton, {},
            QPoint(header(users)->sectionViewportPosition(lastLogon) + 5, header(users)->height() / 2));
        const QString byLogon = keys(users);
        QVERIFY2(byLogon == u"bob ann cyd"_s || byLogon == u"cyd ann bob"_s, qPrintable(byLogon));

        // Another list keeps its own layout, here its table's columns as they come, whatever was dragged.
        const QString machineColumns = u"Machine|IP Address|Last Logon|Version|User ID|Connected|Agent"_s;
        QWidget *machines = open(14);
        QCOMPARE(shown(machines), machineColumns);
        header(machines)->moveSection(header(machines)->count() - 1, 0);
        pick(machines, 0, {u"Full Layout"_s});
        QCOMPARE(shown(machines), machineColumns);
        // A column hidden from the menu under the full layout makes the layout the person's own, kept.
        pick(machines, 0, {u"Columns"_s, u"Agent"_s});
        open(13);
        QCOMPARE(shown(open(14)), machineColumns.chopped(6));
        QCOMPARE(UserStore(f.userStore).read(u"Setup"_s, u"UsersLayout"_s, QString()), u"2"_s);
        QVERIFY(QFile::exists(f.profile.dataHome() + u"/UsersCust.xgl"_s));
        users = open(13);
        QCOMPARE(std::tuple(shown(users), header(users)->sectionSize(lastLogon), keys(users)),
                 std::tuple(u"Last Logon|User ID"_s, 140, byLogon));
        // A column hidden in the person's file comes back at the width it had.
        pick(users, userID, {u"Columns"_s, u"Name"_s});
        QCOMPARE(header(users)->sectionSize(name), 150);
        // A column dragged to another place, and nothing else, is kept too.
        open(14);
        users = open(13);
        QVERIFY(header(users)->sectionsMovable());
        header(users)->moveSection(header(users)->visualIndex(userID), 0);
        open(14);
        QCOMPARE(shown(users = open(13)), u"User ID|Last Logon|Name"_s);
        pick(users, userID, {u"Full Layout"_s});
        QCOMPARE(std::pair(shown(users), keys(users)), std::pair(u"Name|User ID"_s, u"bob cyd ann"_s));
        // The console closing keeps the choice too.
        console.reset();
        QCOMPARE(UserStore(f.userStore).read(u"Setup"_s, u"UsersLayout"_s, QString()), u"0"_s);

        damage(u"Users"_s);
        frmDirectory list(13, f.console);
        QCOMPARE(shown(&list), u"Name|User ID"_s);
        for (const QString &file :
             {u"data/UsersCust.xgl"_s, u"data/MachinesCust.xgl"_s, u"Layouts/Machines.xgl"_s})
            QVERIFY2(logText().contains(f.profile.path() + u'/' + file + u": "_s), qPrintable(file));
        pick(&list, userID, {u"Sort by User ID, Descending"_s});
        const QString folder = f.profile.path() + u'/';
        QCOMPARE(exported(list, folder + u"all.csv"_s),
                 "\xEF\xBB\xBFName,User ID\r\nCyd Park,cyd\r\nBob Ray,bob\r\nAnn Lee,ann\r\n");
        list.ui.grid->selectRow(2);
        list.ui.grid->selectionModel()->select(list.ui.grid->model()->index(0, 0),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
        QCOMPARE(exported(list, folder + u"chosen.csv"_s),
                 "\xEF\xBB\xBFName,User ID\r\nCyd Park,cyd\r\nAnn Lee,ann\r\n");
        list.ui.grid->clearSelection();
        list.ui.txtFilter->setText(u"RAY"_s);
        QCOMPARE(exported(list, folder + u"filtered.csv"_s), "\xEF\xBB\xBFName,User ID\r\nBob Ray,bob\r\n");
    }
};

QTEST_MAIN(TestDirectoryLayouts)
#include "tst_directorylayouts.moc"
