#include "authoring/frmMessage.h"
#include "authoring/frmReply.h"
#include "console/frmAdmin.h"
#include "console/frmList.h"
#include "core/Frontend.h"
#include "core/Options.h"
#include "core/StringTable.h"
#include "core/UserStore.h"
#include "editors/frmPolicies.h"
#include "store/DBFunctions.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/ModalDialog.h"
#include "support/Untranslated.h"
#include "ui/InputBox.h"
#include "ui/frmDialog.h"

#include <QAccessible>
#include <QApplication>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(QWidget *widget)
{
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

QString id(const QWidget *widget)
{
    return widget->objectName() + u' ' + QLatin1String(widget->metaObject()->className());
}

// What a person works with, as against captions, panes that only show, and Qt's parts inside a control.
bool operated(const QWidget *w)
{
    const QWidget *owner = w->parentWidget();
    return !w->objectName().startsWith(u"qt_"_s) && !qobject_cast<const QAbstractSpinBox *>(owner) &&
           !qobject_cast<const QComboBox *>(owner) && !qobject_cast<const QHeaderView *>(w) &&
           (qobject_cast<const QAbstractButton *>(w) || qobject_cast<const QLineEdit *>(w) ||
            qobject_cast<const QAbstractSpinBox *>(w) || qobject_cast<const QComboBox *>(w) ||
            qobject_cast<const QPlainTextEdit *>(w) || qobject_cast<const QAbstractItemView *>(w));
}

// Tab comes back round every control shown and enabled; each has a name, each push button its own letter.
void checkKeyboard(QWidget *window)
{
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QWidget *const first = QApplication::focusWidget();
    QList<QWidget *> reached{first};
    for (int press = 0; press < 200 && reached.last() && (press == 0 || reached.last() != first); ++press) {
        QTest::keyClick(reached.last(), Qt::Key_Tab);
        reached << QApplication::focusWidget();
    }
    QVERIFY2(reached.last() == first, qPrintable(u"Tab never came back to "_s + id(first)));
    QSet<QKeySequence> letters;
    for (QWidget *w : window->findChildren<QWidget *>()) {
        if (w->window() != window || !w->isVisibleTo(window))
            continue;
        if (operated(w)) {
            QVERIFY2(reached.contains(w) || !w->isEnabled(), qPrintable(id(w) + u" is out of Tab's reach"_s));
            QVERIFY2(!nameOf(w).trimmed().isEmpty(), qPrintable(id(w) + u" has no name"_s));
        }
        // A label without a buddy shows its '&'.
        const auto *label = qobject_cast<QLabel *>(w);
        const auto *button = qobject_cast<QAbstractButton *>(w);
        const QKeySequence letter = QKeySequence::mnemonic(label && label->buddy() ? label->text()
                                                           : button                ? button->text()
                                                                                   : QString());
        QVERIFY2(!qobject_cast<QPushButton *>(w) || !letter.isEmpty(),
                 qPrintable(id(w) + u" has no letter"_s));
        QVERIFY2(letter.isEmpty() || !letters.contains(letter),
                 qPrintable(id(w) + u" takes a used letter"_s));
        letters.insert(letter);
    }
}

} // namespace

class TestAccessibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { gOptions().Language = 0; }

    // The authoring forms and the policies (many check boxes, one alphabet), in English and in French.
    void formsWalkedByKeyboard()
    {
        AuthoringFixture f;
        frmMessage composer(f.context), package(f.context, true);
        composer.OpenNew(0, u"ID1"_s, QString());
        package.OpenNew(0, u"P1"_s, QString());
        frmReply reply(f.context);
        reply.Open(DVMessage(), u"R1"_s, false);
        // The reply starts where the answer is written, though Tab reads from the original down.
        reply.show();
        QVERIFY(QTest::qWaitForWindowActive(&reply));
        QCOMPARE(QApplication::focusWidget(), reply.ui.txtText);
        QPointer<frmPolicies> policies =
            new frmPolicies({[](const QString &, const QString &) { return true; }});
        policies->Initialise(QString(), u"SEND;LINK;"_s);
        for (QWidget *form : QList<QWidget *>{&composer, &package, &reply, policies}) {
            for (int language : {0, 1}) {
                switchLanguage(form, language);
                checkKeyboard(form);
            }
            form->hide();
        }

        composer.show();
        QVERIFY(QTest::qWaitForWindowActive(&composer));
        // The walk ended in French: every caption follows the switch.
        QCOMPARE(composer.ui.lblSubject->text().remove(u'&'), u"Objet :"_s);
        QCOMPARE(nameOf(composer.ui.timeNextRun), u"Heure de la prochaine diffusion"_s);
        composer.ui.CancelButton->setFocus();
        QTest::keySequence(&composer, QKeySequence::mnemonic(composer.ui.lblTarget->text()));
        QCOMPARE(QApplication::focusWidget(), composer.ui.txtTarget);
        // The sample is drawn at the screen's pixels: CTest runs this once more at twice the density.
        composer.ui.txtText->setPlainText(u"Sharp"_s);
        const QPixmap sample = composer.ui.lblSample->pixmap();
        QCOMPARE(sample.devicePixelRatio(), composer.devicePixelRatioF());
        QCOMPARE(sample.size(), composer.ui.lblSample->size() * composer.devicePixelRatioF());
        delete policies;
    }

    // An input box is named by its question, and a '&' in a caption stays a character.
    void inputBoxWalkedByKeyboard()
    {
        TempProfile profile;
        QTemporaryFile table;
        QFile builtIn(u":/resources/strings.tsv"_s);
        QVERIFY(table.open() && builtIn.open(QIODevice::ReadOnly));
        table.write(builtIn.readAll().replace("\n9901\tCancel\n", "\n9901\tQ&A\n"));
        table.close();
        QVERIFY(StringTable::load(table.fileName()));
        QString field, button;
        whenModal<frmDialog>([&field, &button](frmDialog *dialog) {
            checkKeyboard(dialog);
            field = nameOf(dialog->txtInput);
            button = dialog->Button[1]->text();
        });
        InputBox::InputText(u"Name of the R&D share"_s, u"Title"_s, IconQuestion, ButtonsOkCancel, u"x"_s);
        QVERIFY(StringTable::load(u":/resources/strings.tsv"_s));
        // As drawn: "&&" is one '&', a lone one marks the letter.
        QCOMPARE(field, u"Name of the R&D share"_s);
        QCOMPARE(button.replace(u"&&"_s, u"+"_s).remove(u'&'), u"Q+A"_s);
    }

    // The console as a user opens it, without a mouse: no administration items, the Outbox first (an
    // unknown status and a splitter key of text open like any other), Delete, the side bar, the grid's menu
    // by Shift+F10, Tab out of the grid, and the header's menu by Ctrl+Shift+F10 at the focused column.
    void consoleByKeyboard()
    {
        AuthoringFixture f;
        QStringList sent;
        for (const char *id : {"M1", "M2"}) {
            DVMessage m;
            std::tie(m.MsgID, m.Status) =
                std::tuple{QLatin1String(id), id == QByteArrayView("M1") ? StatusActive : 99};
            QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, m, false, true) &&
                    SaveMessage(ClientDB(), u"Inbox"_s, m, false, true));
        }
        const QString userStore = f.profile.path() + u"/Client.conf"_s;
        UserStore(userStore).write(u"Setup"_s, u"OutboxAS1Splitter"_s, u"wide"_s);
        frmAdmin console(
            {ClientDB(), TempDB(), f.clock, f.frontend, f.process, f.session, f.user, f.policies, f.levels,
             [&sent](const QString &p) { return !(sent << p.section(QChar(1), 0, 0)).isEmpty(); }, userStore,
             f.profile.path(), f.profile.dataHome()});
        const auto items = [&console](const QString &text) {
            return console.ui.dxSideBar1->findItems(text, Qt::MatchExactly | Qt::MatchRecursive).size();
        };
        frmList *outbox = console.currentList();
        QCOMPARE(std::tuple(items(u"Outbox"_s), items(u"All messages"_s), outbox->list(),
                            outbox->model().rowCount()),
                 std::tuple(qsizetype(1), qsizetype(0), 2, 2));
        console.show();
        QVERIFY(QTest::qWaitForWindowActive(&console));
        outbox->ui.grid->selectAll();
        outbox->ui.grid->horizontalHeader()->resizeSection(3, 333);
        f.frontend.answerBox(ResultYes);
        QTest::keyClick(outbox->ui.grid, Qt::Key_Delete);
        QCOMPARE(std::pair(sent, outbox->model().rowCount()),
                 std::pair(QStringList{u"RRC"_s, u"MUP"_s, u"MUP"_s, u"MDE"_s}, 0));

        console.ui.dxSideBar1->setFocus();
        for (Qt::Key key : {Qt::Key_Home, Qt::Key_Down, Qt::Key_Return})
            QTest::keyClick(console.ui.dxSideBar1, key);
        frmList *inbox = console.currentList();
        QTableView *grid = inbox->ui.grid;
        QCOMPARE(inbox->list(), 1);
        QCOMPARE(QApplication::focusWidget(), grid);
        QFile custom(f.profile.dataHome() + u"/OutboxCust.xgl"_s);
        QVERIFY(custom.open(QIODevice::ReadOnly) && custom.readAll().contains("column colSubject 333 1"));
        grid->selectRow(0);
        QTest::keyClick(grid, Qt::Key_F10, Qt::ShiftModifier);
        QTRY_VERIFY(inbox->menu()->isVisible());
        inbox->menu()->hide();
        QTest::keyClick(grid, Qt::Key_Tab);
        QVERIFY(QApplication::focusWidget() != grid);

        QHeaderView *columns = grid->horizontalHeader();
        const int column = columns->logicalIndex(2);
        grid->setCurrentIndex(grid->model()->index(0, column));
        const QString name = grid->model()->headerData(column, Qt::Horizontal).toString();
        const auto choose = [grid](const QString &text) {
            // Shared, since the menu may never open and the timer then fires after this returns.
            const auto found = std::make_shared<bool>(false);
            QTimer::singleShot(0, qApp, [found, text] {
                auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                for (QAction *action : menu ? menu->actions() : QList<QAction *>())
                    if (action->text() == text && !*found) {
                        *found = true;
                        menu->setActiveAction(action);
                        QTest::keyClick(menu, Qt::Key_Return);
                    }
                if (menu && !*found)
                    menu->close();
            });
            QTest::keyClick(grid, Qt::Key_F10, Qt::ControlModifier | Qt::ShiftModifier);
            return *found;
        };
        QVERIFY(choose(u"Sort by %1, Descending"_s.arg(name)));
        QCOMPARE(std::pair(columns->sortIndicatorSection(), columns->sortIndicatorOrder()),
                 std::pair(column, Qt::DescendingOrder));
        QVERIFY(choose(u"Group by %1"_s.arg(name)));
        QTRY_VERIFY(inbox->ui.groupGrid->isVisible());
        checkKeyboard(&console);
    }
};

QTEST_MAIN(TestAccessibility)
#include "tst_accessibility.moc"
