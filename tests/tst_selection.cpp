// The selection dialog on screen: the rows of each directory, what it ticks of a
// target, what it hands back, its popup menu and the column layout of each kind.
#include "authoring/MessageForm.h"
#include "authoring/Selection.h"
#include "authoring/frmSelection.h"
#include "console/GridState.h"
#include "core/Options.h"
#include "netsvc/NetApi.h"
#include "support/LogText.h"
#include "support/StoreFixture.h"

#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// Every directory with rows, and a fixed layout per file whose first column
// says which file was read.
struct Fixture : StoreFixture
{
    Fixture()
    {
        QVERIFY(TempDB().exec(u"INSERT INTO Users (UserID, UserName) VALUES ('alice', 'Alice A'), "
                              "('bob', 'Bob B'), ('carol', 'Carol C')"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO Machines (MachineID, MachineIP) VALUES ('PC7', '10.0.0.7')"_s));
        QVERIFY(TempDB().exec(
            u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops desk')"_s));
        QVERIFY(
            ClientDB().exec(u"INSERT INTO MyGroups (GroupName, Description) VALUES ('team', 'The team')"_s));
        layout(u"GroupsSelection"_s, "column colName 111 1\ncolumn colDescription 90 1\n");
        layout(u"UsersSelection"_s, "column colName 222 1\ncolumn colDescription 90 1\n");
        layout(u"MachinesSelection"_s, "column colDescription 90 0\ncolumn colName 333 1\n");
        Selection::SetLayoutsBase(profile.path());
    }
    void layout(const QString &name, const QByteArray &columns) const
    {
        profile.writeFile(u"Layouts/"_s + name + u".xgl"_s, "korvane-grid 1\n" + columns);
    }
    static QList<SelectionList::Row> rows(int kind)
    {
        return SelectionList::LoadRows(kind, ClientDB(), TempDB());
    }
};

QStringList shown(const QTreeWidget *grid, bool selectedOnly)
{
    QStringList names;
    for (int row = 0; row < grid->topLevelItemCount(); ++row)
        if (!selectedOnly || grid->topLevelItem(row)->isSelected())
            names << grid->topLevelItem(row)->text(0);
    return names;
}

void click(QTreeWidget *grid, int row)
{
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                      grid->visualItemRect(grid->topLevelItem(row)).center());
}

// Whether the popup menu, opened by Shift+F10, offers the item of that text; chosen if so.
bool choose(frmSelection &dialog, const QString &text)
{
    QTest::keyClick(dialog.ui.grdSelection, Qt::Key_F10, Qt::ShiftModifier);
    QMenu *menu = dialog.mnuSelection->isVisible() ? dialog.mnuSelection : nullptr;
    for (QAction *action : menu ? menu->actions() : QList<QAction *>())
        if (action->text() == text && action->isEnabled()) {
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
            return true;
        }
    if (menu)
        menu->hide();
    return false;
}

// Runs act on the selection dialog once it is shown modally.
void whenShown(const std::function<void(frmSelection &)> &act, int tries = 50)
{
    QTimer::singleShot(10, [act, tries] {
        if (auto *dialog = qobject_cast<frmSelection *>(QApplication::activeModalWidget()))
            act(*dialog);
        else if (tries > 0)
            whenShown(act, tries - 1);
    });
}

} // namespace

class TestSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The rows of each directory, and what the list ticks of a target and hands back.
    void rowsAndTicks()
    {
        Fixture f;
        const auto names = [](const QList<SelectionList::Row> &rows) {
            QStringList list;
            for (const SelectionList::Row &row : rows)
                list << row.Name + u'=' + row.Description;
            return list;
        };
        QCOMPARE(names(Fixture::rows(SelectPersonalGroups)), QStringList{u"team=The team"_s});
        QCOMPARE(names(Fixture::rows(SelectKorvanGroups)), QStringList{u"ops=Ops desk"_s});
        QCOMPARE(names(Fixture::rows(SelectUsers)),
                 (QStringList{u"alice=Alice A"_s, u"bob=Bob B"_s, u"carol=Carol C"_s}));
        QCOMPARE(names(Fixture::rows(SelectMachines)), QStringList{u"PC7=10.0.0.7"_s});
        QStringList domain;
        for (const DirectoryEntry &group : EnumGroups())
            domain << group.Name + u'=' + group.Description;
        QCOMPARE(names(Fixture::rows(SelectDomainGroups)), domain);
        QVERIFY(Fixture::rows(7).isEmpty());

        // The selection keeps the names it does not know, after the ones it shows, top to bottom.
        SelectionList list;
        const QList<SelectionList::Row> rows = Fixture::rows(SelectUsers);
        list.Initialize(rows, u"bob,PC7"_s);
        QVERIFY(list.isSelected(1) && !list.isSelected(0));
        QCOMPARE(list.Unknown(), QStringList{u"PC7"_s});
        list.setSelected(0, true);
        QCOMPARE(list.SaveSelection(), u"alice,bob,PC7"_s);
        // Rows that are not there tick nothing.
        list.setSelected(-1, true);
        list.setSelected(int(rows.size()), true);
        QCOMPARE(list.SaveSelection(), u"alice,bob,PC7"_s);
        list.UnselectAll();
        list.setSelected(int(rows.size()), true);
        QVERIFY(!list.CanUnselectAll());
        QCOMPARE(list.SaveSelection(), u"PC7"_s);
        // An exact match is needed: Bob does not tick bob.
        list.Initialize(rows, u"Bob"_s);
        QVERIFY(!list.CanUnselectAll());
        QCOMPARE(list.SaveSelection(), u"Bob"_s);
        list.SelectAll();
        QCOMPARE(list.SaveSelection(), u"alice,bob,carol,Bob"_s);
        // A name listed twice ticks its first row only.
        list.Initialize({{u"x"_s, u"first"_s}, {u"y"_s, QString()}, {u"x"_s, u"second"_s}}, u"x"_s);
        QVERIFY(list.isSelected(0) && !list.isSelected(2));
        list.Initialize(rows, QString());
        QVERIFY(!list.CanUnselectAll());
        QCOMPARE(list.SaveSelection(), QString());
    }

    void dialogTicksAndReturns()
    {
        Fixture f;
        frmSelection dialog;
        dialog.Initialize(SelectUsers, Fixture::rows(SelectUsers), u"bob,PC7"_s);
        // However large it was left, it shows whole on its screen.
        dialog.resize(5000, 5000);
        dialog.show();
        QVERIFY(dialog.screen()->availableGeometry().contains(dialog.frameGeometry()));
        QTreeWidget *grid = dialog.ui.grdSelection;
        QCOMPARE(shown(grid, false), (QStringList{u"alice"_s, u"bob"_s, u"carol"_s}));
        QCOMPARE(grid->topLevelItem(1)->text(1), u"Bob B"_s);
        QCOMPARE(shown(grid, true), QStringList{u"bob"_s});
        // Carol ticked, then alice, bob unticked: the list's order, and the machine behind them.
        click(grid, 2);
        click(grid, 0);
        click(grid, 1);
        QCOMPARE(shown(grid, true), (QStringList{u"alice"_s, u"carol"_s}));
        QTest::mouseClick(dialog.ui.OKButton, Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.Result(), u"alice,carol,PC7"_s);

        // Unticked and ticked by hand, then Cancel: the target as it was given.
        dialog.Initialize(SelectUsers, Fixture::rows(SelectUsers), u"alice,bob,PC7"_s);
        dialog.show();
        click(grid, 0);
        click(grid, 2);
        QCOMPARE(shown(grid, true), (QStringList{u"bob"_s, u"carol"_s}));
        QTest::mouseClick(dialog.ui.CancelButton, Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QCOMPARE(dialog.Result(), u"alice,bob,PC7"_s);

        // The same dialog given another directory shows only its rows, ticked by the new target alone.
        dialog.Initialize(SelectMachines, Fixture::rows(SelectMachines), u"alice,PC7"_s);
        QCOMPARE(shown(grid, false), QStringList{u"PC7"_s});
        QCOMPARE(shown(grid, true), QStringList{u"PC7"_s});
        QTest::mouseClick(dialog.ui.OKButton, Qt::LeftButton);
        QCOMPARE(dialog.Result(), u"PC7,alice"_s);

        // The popup menu: with nothing ticked only Select all can be chosen.
        dialog.Initialize(SelectUsers, Fixture::rows(SelectUsers), u"PC7"_s);
        dialog.show();
        QVERIFY(!choose(dialog, u"Unselect all"_s));
        QVERIFY(choose(dialog, u"Select all"_s));
        QCOMPARE(shown(grid, true), (QStringList{u"alice"_s, u"bob"_s, u"carol"_s}));
        QVERIFY(choose(dialog, u"Unselect all"_s));
        QVERIFY(shown(grid, true).isEmpty());
        QVERIFY(!choose(dialog, u"Unselect all"_s));
        click(grid, 1);
        QVERIFY(choose(dialog, u"Unselect all"_s));
        click(grid, 2);
        QTest::mouseClick(dialog.ui.OKButton, Qt::LeftButton);
        QCOMPARE(dialog.Result(), u"carol,PC7"_s);

        // Shown modally: the machines' dialog over a target of users, PC7 ticked by hand comes first;
        // Escape leaves the target as it was, whatever was ticked.
        whenShown([](frmSelection &modal) {
            click(modal.ui.grdSelection, 0);
            QTest::mouseClick(modal.ui.OKButton, Qt::LeftButton);
        });
        QCOMPARE(Selection::GetSelection(SelectMachines, u"bob"_s), u"PC7,bob"_s);
        whenShown([](frmSelection &modal) {
            click(modal.ui.grdSelection, 2);
            QTest::keyClick(&modal, Qt::Key_Escape);
        });
        QCOMPARE(Selection::GetSelection(SelectUsers, u"bob,PC7"_s), u"bob,PC7"_s);
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
            QVERIFY2(dialog.ui.grdSelection->columnWidth(0) > dialog.fontMetrics().horizontalAdvance(wide),
                     qPrintable(QString::number(dialog.ui.grdSelection->columnWidth(0))));
            QVERIFY(!dialog.ui.grdSelection->isColumnHidden(1));
        }
        const QString log = logText(),
                      base = u"frmSelection:LoadLayout - "_s + f.profile.path() + u"/Layouts/"_s;
        QVERIFY2(log.contains(base + u"UsersSelection.xgl: file too large"_s), qPrintable(log));
        QVERIFY(log.contains(base + u"MachinesSelection.xgl: "_s));

        // In French (the English words are the other tests'), and both buttons answer to a letter.
        gOptions().Language = 1;
        frmSelection dialog;
        dialog.Initialize(SelectMachines, {}, QString());
        QCOMPARE((QStringList{dialog.windowTitle(), dialog.ui.grdSelection->accessibleName(),
                              dialog.ui.grdSelection->headerItem()->text(0),
                              dialog.ui.grdSelection->headerItem()->text(1), dialog.ui.OKButton->text(),
                              dialog.ui.CancelButton->text(), dialog.mnuSelectAll->text(),
                              dialog.mnuUnselectAll->text()})
                     .replaceInStrings(u"&"_s, QString()),
                 (QStringList{u"Postes"_s, u"Postes"_s, u"Nom"_s, u"Description"_s, u"OK"_s, u"Annuler"_s,
                              u"Tout sélectionner"_s, u"Tout désélectionner"_s}));
        QVERIFY(!QKeySequence::mnemonic(dialog.ui.OKButton->text()).isEmpty());
        QVERIFY(!QKeySequence::mnemonic(dialog.ui.CancelButton->text()).isEmpty());
        gOptions().Language = 0;
    }
};

QTEST_MAIN(TestSelection)
#include "tst_selection.moc"
