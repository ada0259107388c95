// The selection dialog: each directory's rows, what it ticks and hands back, its menu and column layouts.
#include "authoring/MessageForm.h"
#include "authoring/Selection.h"
#include "authoring/frmSelection.h"
#include "core/Options.h"
#include "netsvc/NetApi.h"
#include "support/LogText.h"
#include "support/StoreFixture.h"
#include "ui/GridState.h"

#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// Every directory with rows, and a fixed layout per file whose first column says which file was read.
struct Fixture : StoreFixture
{
    Fixture()
    {
        for (const auto &[store, rows] :
             {std::pair{&TempDB(), u"Users (UserID, UserName) VALUES ('alice', 'Alice A'), ('bob', 'Bob B'), "
                                   "('carol', 'Carol C')"_s},
              {&TempDB(), u"Machines (MachineID, MachineIP) VALUES ('PC7', '10.0.0.7')"_s},
              {&TempDB(), u"KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops desk')"_s},
              {&ClientDB(), u"MyGroups (GroupName, Description) VALUES ('team', 'The team')"_s}})
            QVERIFY(store->exec(u"INSERT INTO "_s + rows));
        for (const auto &[file, columns] :
             {std::pair{u"Groups"_s, "column colName 111 1\ncolumn colDescription 90 1\n"_ba},
              {u"Users"_s, "column colName 222 1\ncolumn colDescription 90 1\n"_ba},
              {u"Machines"_s, "column colDescription 90 0\ncolumn colName 333 1\n"_ba}})
            profile.writeFile(u"Layouts/"_s + file + u"Selection.xgl"_s, "korvane-grid 1\n" + columns);
        Selection::SetLayoutsBase(profile.path());
    }
    static auto rows(int kind) { return SelectionList::LoadRows(kind, ClientDB(), TempDB()); }
};

QStringList shown(const QTreeWidget *grid, bool selectedOnly)
{
    QStringList names;
    for (int row = 0; row < grid->topLevelItemCount(); ++row)
        if (!selectedOnly || grid->topLevelItem(row)->isSelected())
            names << grid->topLevelItem(row)->text(0);
    return names;
}

void click(QTreeWidget *grid, std::initializer_list<int> rows)
{
    for (const int row : rows)
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->visualItemRect(grid->topLevelItem(row)).center());
}

// Whether the popup menu, opened by Shift+F10, offers the item of that text; chosen if so.
bool choose(frmSelection &dialog, const QString &text)
{
    QTest::keyClick(dialog.ui.grdSelection, Qt::Key_F10, Qt::ShiftModifier);
    QMenu *menu = dialog.mnuSelection;
    for (QAction *action : menu->isVisible() ? menu->actions() : QList<QAction *>())
        if (action->text() == text && action->isEnabled()) {
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            return true;
        }
    menu->hide();
    return false;
}

// Once the selection dialog shows modally, ticks a row by hand and leaves with OK.
void whenShown(int row, int tries = 50)
{
    QTimer::singleShot(10, [row, tries] {
        if (auto *dialog = qobject_cast<frmSelection *>(QApplication::activeModalWidget())) {
            click(dialog->ui.grdSelection, {row});
            QTest::mouseClick(dialog->ui.OKButton, Qt::LeftButton);
        } else if (tries > 0) {
            whenShown(row, tries - 1);
        }
    });
}

} // namespace

class TestSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The rows of each directory, and what the list and the dialog tick of a target and hand back.
    void rowsAndTicks()
    {
        Fixture f;
        // Each directory's rows as kind:name=description; an unknown kind has none.
        const auto rowsOf = [](std::initializer_list<int> kinds) {
            QStringList list;
            for (const int kind : kinds)
                for (const SelectionList::Row &row : Fixture::rows(kind))
                    list << QString::number(kind) + u':' + row.Name + u'=' + row.Description;
            return list;
        };
        QStringList domain;
        for (const DirectoryEntry &group : EnumGroups())
            domain << u"1:"_s + group.Name + u'=' + group.Description;
        QCOMPARE((rowsOf({SelectPersonalGroups, SelectDomainGroups, SelectKorvanGroups, SelectUsers,
                          SelectMachines, 7})),
                 (QStringList{u"0:team=The team"_s} + domain +
                  QStringList{u"2:ops=Ops desk"_s, u"3:alice=Alice A"_s, u"3:bob=Bob B"_s,
                              u"3:carol=Carol C"_s, u"4:PC7=10.0.0.7"_s}));

        // The selection keeps the names it does not know, after the ones it shows, top to bottom.
        SelectionList list;
        const auto state = [&list] { return std::pair(list.CanUnselectAll(), list.SaveSelection()); };
        const QList<SelectionList::Row> rows = Fixture::rows(SelectUsers);
        list.Initialize(rows, u"bob,PC7"_s);
        list.setSelected(0, true);
        QCOMPARE(state(), std::pair(true, u"alice,bob,PC7"_s));
        // Rows that are not there tick nothing.
        list.setSelected(-1, true);
        list.setSelected(int(rows.size()), true);
        QCOMPARE(state(), std::pair(true, u"alice,bob,PC7"_s));
        list.UnselectAll();
        QCOMPARE(state(), std::pair(false, u"PC7"_s));
        // An exact match is needed: Bob does not tick bob.
        list.Initialize(rows, u"Bob"_s);
        QCOMPARE(state(), std::pair(false, u"Bob"_s));
        list.SelectAll();
        QCOMPARE(state(), std::pair(true, u"alice,bob,carol,Bob"_s));
        // A name listed twice ticks its first row only.
        list.Initialize({{u"x"_s, u"first"_s}, {u"y"_s, QString()}, {u"x"_s, u"second"_s}}, u"x"_s);
        QVERIFY(list.isSelected(0) && !list.isSelected(2));
        list.Initialize(rows, QString());
        QCOMPARE(state(), std::pair(false, QString()));

        frmSelection dialog;
        QTreeWidget *grid = dialog.ui.grdSelection;
        // What a button leaves: the dialog's result, whether it still shows, and the target handed back.
        const auto press = [&dialog](QAbstractButton *button) {
            QTest::mouseClick(button, Qt::LeftButton);
            return std::tuple(dialog.result(), dialog.isVisible(), dialog.Result());
        };
        dialog.Initialize(SelectUsers, rows, u"bob,PC7"_s);
        // However large it was left, it shows whole on its screen.
        dialog.resize(5000, 5000);
        dialog.show();
        QVERIFY(dialog.screen()->availableGeometry().contains(dialog.frameGeometry()));
        QCOMPARE(
            std::tuple(shown(grid, false), grid->topLevelItem(1)->text(1), shown(grid, true)),
            std::tuple(QStringList{u"alice"_s, u"bob"_s, u"carol"_s}, u"Bob B"_s, QStringList{u"bob"_s}));
        // Carol ticked, then alice, bob unticked: the list's order, and the machine behind them.
        click(grid, {2, 0, 1});
        QCOMPARE(press(dialog.ui.OKButton), std::tuple(int(QDialog::Accepted), false, u"alice,carol,PC7"_s));

        // Unticked and ticked by hand, then Cancel: the target as it was given.
        dialog.Initialize(SelectUsers, rows, u"alice,bob,PC7"_s);
        dialog.show();
        click(grid, {0, 2});
        QCOMPARE(press(dialog.ui.CancelButton),
                 std::tuple(int(QDialog::Rejected), false, u"alice,bob,PC7"_s));

        // The same dialog given another directory shows only its rows, ticked by the new target alone.
        dialog.Initialize(SelectMachines, Fixture::rows(SelectMachines), u"alice,PC7"_s);
        QCOMPARE(std::pair(shown(grid, false), shown(grid, true)),
                 std::pair(QStringList{u"PC7"_s}, QStringList{u"PC7"_s}));
        QCOMPARE(press(dialog.ui.OKButton), std::tuple(int(QDialog::Accepted), false, u"PC7,alice"_s));

        // The popup menu: with nothing ticked only Select all can be chosen.
        dialog.Initialize(SelectUsers, rows, u"PC7"_s);
        dialog.show();
        QVERIFY(!choose(dialog, u"Unselect all"_s) && choose(dialog, u"Select all"_s));
        QCOMPARE(shown(grid, true), (QStringList{u"alice"_s, u"bob"_s, u"carol"_s}));
        QVERIFY(choose(dialog, u"Unselect all"_s) && shown(grid, true).isEmpty());
        click(grid, {1});
        QVERIFY(choose(dialog, u"Unselect all"_s));
        click(grid, {2});
        QCOMPARE(press(dialog.ui.OKButton), std::tuple(int(QDialog::Accepted), false, u"carol,PC7"_s));

        // Modally: PC7 ticked by hand comes before the users.
        whenShown(0);
        QCOMPARE(Selection::GetSelection(SelectMachines, u"bob"_s), u"PC7,bob"_s);
    }

    // Each kind's title and layout file, read without a word in the log; a file over the size of a
    // layout, even when what fits would read well, or no file at all: logged, the names decide the width.
    void layoutOfEachKind()
    {
        Fixture f;
        gOptions().Trace = true;
        const QString wide = u"a-name-much-wider-than-any-fixed-column-of-these-layouts"_s;
        for (const auto &[kind, title, nameWidth, descriptionShown] :
             {std::tuple{int(SelectPersonalGroups), u"Personal groups"_s, 111, true},
              {int(SelectDomainGroups), u"Domain groups"_s, 111, true},
              {int(SelectKorvanGroups), u"Korvane groups"_s, 111, true},
              {int(SelectUsers), u"Users"_s, 222, true},
              {int(SelectMachines), u"Machines"_s, 333, false}}) {
            frmSelection dialog;
            dialog.Initialize(kind, {{wide, QString()}}, QString());
            const QTreeWidget *grid = dialog.ui.grdSelection;
            QCOMPARE((QVariantList{dialog.windowTitle(), grid->columnWidth(0), !grid->isColumnHidden(0),
                                   !grid->isColumnHidden(1)}),
                     (QVariantList{title, nameWidth, true, descriptionShown}));
        }
        QVERIFY(!logText().contains(u"frmSelection:LoadLayout"_s));

        QByteArray large = "korvane-grid 1\ncolumn colName 40 1\n#";
        large += QByteArray(GridState::MaxFileSize + 1 - large.size(), 'x');
        f.profile.writeFile(u"Layouts/UsersSelection.xgl"_s, large);
        QFile::remove(f.profile.path() + u"/Layouts/MachinesSelection.xgl"_s);
        for (const int kind : {int(SelectUsers), int(SelectMachines)}) {
            frmSelection dialog;
            dialog.Initialize(kind, {{wide, QString()}, {u"b"_s, QString()}}, QString());
            const QTreeWidget *grid = dialog.ui.grdSelection;
            QVERIFY2(grid->columnWidth(0) > dialog.fontMetrics().horizontalAdvance(wide) &&
                         !grid->isColumnHidden(1),
                     qPrintable(QString::number(grid->columnWidth(0))));
        }
        const QString log = logText(),
                      base = u"frmSelection:LoadLayout - "_s + f.profile.path() + u"/Layouts/"_s;
        QVERIFY2(log.contains(base + u"UsersSelection.xgl: file too large"_s), qPrintable(log));
        QVERIFY(log.contains(base + u"MachinesSelection.xgl: "_s));

        // In French (the English words are the other tests'), and both buttons answer to a letter.
        gOptions().Language = 1;
        frmSelection dialog;
        dialog.Initialize(SelectMachines, {}, QString());
        const QTreeWidget *grid = dialog.ui.grdSelection;
        QCOMPARE((QStringList{dialog.windowTitle(), grid->accessibleName(), grid->headerItem()->text(0),
                              grid->headerItem()->text(1), dialog.ui.OKButton->text(),
                              dialog.ui.CancelButton->text(), dialog.mnuSelectAll->text(),
                              dialog.mnuUnselectAll->text()})
                     .replaceInStrings(u"&"_s, QString()),
                 (QStringList{u"Postes"_s, u"Postes"_s, u"Nom"_s, u"Description"_s, u"OK"_s, u"Annuler"_s,
                              u"Tout sélectionner"_s, u"Tout désélectionner"_s}));
        QVERIFY(!QKeySequence::mnemonic(dialog.ui.OKButton->text()).isEmpty() &&
                !QKeySequence::mnemonic(dialog.ui.CancelButton->text()).isEmpty());
        gOptions().Language = 0;
    }
};

QTEST_MAIN(TestSelection)
#include "tst_selection.moc"
