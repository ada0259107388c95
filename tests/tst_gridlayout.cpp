// The console lists' column layouts: which file, when the person's columns are
// kept, what the menu offers, and the layout file read back or refused.
#include "console/GridLayout.h"
#include "console/GridState.h"
#include "support/TempProfile.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestGridLayout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whichFileAndWhenToSave()
    {
        TempProfile profile;
        GridLayout inbox(u"Inbox"_s, u"/opt/k"_s, profile.dataHome());
        QCOMPARE(inbox.LayoutKey(), u"InboxLayout"_s);
        QCOMPARE(GridLayout(u"Ptemplates"_s, u"/opt/k"_s, QString()).LayoutKey(), u"MyTemplatesLayout"_s);
        QCOMPARE(GridLayout(u"Users"_s, u"/opt/k"_s, QString()).MinFile(), u"/opt/k/Layouts/Users.xgl"_s);
        // First start: no key, the full layout, loaded once at the first activation.
        inbox.Load(QString());
        QVERIFY(inbox.Activate() && !inbox.Activate());
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        inbox.Load(u"7"_s);
        QCOMPARE(inbox.number(), int(GridLayout::Full));

        // Custom without the person's file: the full columns, the chooser opens on them,
        // and what the person changes is kept at the end.
        GridLayout::Change change = inbox.Choose(GridLayout::Custom);
        QVERIFY(change.reload && change.openChooser && !change.saveCustom);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        inbox.ColumnsChanged();
        QVERIFY(inbox.SaveOnUnload());
        // Full with changed columns keeps them first, so that Custom finds them later.
        change = inbox.Choose(GridLayout::Full);
        QVERIFY(change.saveCustom && change.reload);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        QVERIFY(!inbox.dirty());
        QVERIFY(!inbox.Choose(GridLayout::Full).reload);
        profile.writeFile(u"data/InboxCust.xgl"_s, "korvane-grid 1\n");
        inbox.Choose(GridLayout::Custom);
        inbox.ColumnsChanged();
        QCOMPARE(inbox.LoadLayout(), inbox.CustomFile());
        QVERIFY(inbox.dirty());
        inbox.Choose(GridLayout::Simple);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMin.xgl"_s);
        QCOMPARE(inbox.StoredNumber(), u"1"_s);

        const GridLayout::Menu menu = inbox.LayoutMenu(1);
        QVERIFY(menu.resetVisible && menu.fullEnabled && !menu.simpleEnabled);
        QVERIFY(!inbox.LayoutMenu(0).resetVisible);
    }

    void layoutFiles_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("error");
        QTest::newRow("written") << QByteArray(
                                        "korvane-grid 1\ncolumn colSubject 220 1\ncolumn colLevel 80 0\n"
                                        "group colLevel\nsort colSubject desc\n")
                                 << QString();
        QTest::newRow("later version, unknown lines")
            << QByteArray("korvane-grid 2\r\nfreeze colSubject\r\n") << QString();
        QTest::newRow("garbage") << QByteArray("\x00\xff garbage", 10) << u"not a grid layout at line 1"_s;
        QTest::newRow("width of text")
            << QByteArray("korvane-grid 1\ncolumn colA wide 1\n") << u"bad column at line 2"_s;
        QTest::newRow("negative width")
            << QByteArray("korvane-grid 1\ncolumn colA -5 1\n") << u"bad column at line 2"_s;
        QTest::newRow("column twice") << QByteArray("korvane-grid 1\ncolumn colA 5 1\ncolumn colA 6 1\n")
                                      << u"column twice at line 3"_s;
        QTest::newRow("bad sort") << QByteArray("korvane-grid 1\nsort colA up\n") << u"bad sort at line 2"_s;
        QTest::newRow("too large") << QByteArray("korvane-grid 1\n") + QByteArray(70000, '#')
                                   << u"file too large at line 0"_s;
    }

    void layoutFiles()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, error);
        GridState state, before;
        before.sortColumn = u"kept"_s;
        state = before;
        QString reason;
        QCOMPARE(GridState::Read(file, state, &reason), error.isEmpty());
        QCOMPARE(reason, error);
        if (!error.isEmpty()) {
            QCOMPARE(state.sortColumn, u"kept"_s); // a refused file changes nothing
            return;
        }
        GridState again;
        QVERIFY(GridState::Read(state.Write(), again));
        QCOMPARE(again.Write(), state.Write());
        if (qstrcmp(QTest::currentDataTag(), "written") == 0)
            QCOMPARE(state.Write(), file);
    }
};

QTEST_GUILESS_MAIN(TestGridLayout)
#include "tst_gridlayout.moc"
