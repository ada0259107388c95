#include "authoring/frmMessage.h"
#include "console/frmAdmin.h"
#include "console/frmList.h"
#include "core/ClientMenu.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"
#include "ui/DialogButtonSet.h"
#include "ui/InputBox.h"
#include "ui/MessageBox.h"
#include "ui/TrayIcon.h"
#include "ui/frmAbout.h"
#include "ui/frmDialog.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

class TestDialogs : public QObject
{
    Q_OBJECT

private:
    // Acts on the modal dialog once it is up, as a person would.
    static void whenShown(std::function<void(frmDialog *)> act)
    {
        QTimer::singleShot(0, qApp, [act] {
            auto *dialog = qobject_cast<frmDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            act(dialog);
            // A check that failed inside leaves the box up; closing it ends the wait.
            if (dialog->isVisible())
                dialog->close();
        });
    }

    static QStringList shownButtons(frmDialog *dialog)
    {
        QMap<int, QString> captions; // by place, left to right
        for (QPushButton *button : dialog->Button)
            if (button->isVisible())
                captions.insert(button->x(), button->text().remove(u'&')); // as read, mnemonic aside
        return captions.values();
    }

private Q_SLOTS:
    void buttonSets_data()
    {
        QTest::addColumn<int>("set");
        QTest::addColumn<QStringList>("captions");
        QTest::addColumn<int>("escape");
        QTest::newRow("ok") << 1 << QStringList{u"OK"_s} << int(ResultOk);
        QTest::newRow("ok cancel") << 2 << QStringList{u"OK"_s, u"Cancel"_s} << int(ResultCancel);
        QTest::newRow("yes no") << 3 << QStringList{u"Yes"_s, u"No"_s} << int(ResultNo);
        QTest::newRow("cancel yes no")
            << 4 << QStringList{u"Cancel"_s, u"Yes"_s, u"No"_s} << int(ResultCancel);
    }

    void buttonSets()
    {
        QFETCH(int, set);
        QFETCH(QStringList, captions);
        QFETCH(int, escape);
        TempProfile profile;
        const QString caption = u"ATTENTION - You requested to shut down the Korvane Client"_s;
        const QString word = u"\\\\fileserver\\communication\\announcements-2024.pdf"_s;

        const QList<int> buttons = DialogButtonSet::buttonsOf(set);
        for (int index = 0; index < buttons.size(); ++index) {
            QStringList seen;
            whenShown([&](frmDialog *dialog) {
                seen = shownButtons(dialog);
                QCOMPARE(dialog->Label1->text(), u"Open "_s + word);
                QCOMPARE(dialog->windowTitle(), caption);
                // Wide enough that neither the title nor a word is cut.
                QVERIFY(dialog->width() >= dialog->fontMetrics().horizontalAdvance(caption));
                QVERIFY(dialog->Label1->width() >= dialog->Label1->fontMetrics().horizontalAdvance(word));
                QVERIFY(!dialog->txtInput->isVisible());
                dialog->Button[buttons[index]]->click();
            });
            const int result = MessageBox::Show(u"Open "_s + word, caption, IconQuestion, set);
            QCOMPARE(seen, captions);
            QCOMPARE(result, DialogButtonSet::resultOf(buttons[index]));
        }
        whenShown([](frmDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
        QCOMPARE(MessageBox::Show(u"Text"_s, u"Caption"_s, IconNone, set), escape);
    }

    void inputBoxes()
    {
        TempProfile profile;
        // Cancel gives the empty text whatever was typed.
        for (int button : {int(DialogButtonSet::ButtonOk), int(DialogButtonSet::ButtonCancel)}) {
            whenShown([button](frmDialog *dialog) {
                QCOMPARE(dialog->txtInput->text(), u"default"_s);
                dialog->txtInput->setText(u"typed O'Brien"_s);
                dialog->Button[button]->click();
            });
            QCOMPARE(
                InputBox::InputText(u"Prompt"_s, u"Title"_s, IconQuestion, ButtonsOkCancel, u"default"_s),
                button == DialogButtonSet::ButtonOk ? u"typed O'Brien"_s : QString());
        }
        whenShown([](frmDialog *dialog) {
            QCOMPARE(dialog->txtInput->echoMode(), QLineEdit::Password);
            QTest::keyClicks(dialog->txtInput, u"s3cret"_s);
            QTest::keyClick(dialog->txtInput, Qt::Key_Return);
        });
        QCOMPARE(InputBox::InputPassword(u"Password"_s, u"Title"_s, IconQuestion, ButtonsOkCancel),
                 u"s3cret"_s);
        whenShown([](frmDialog *dialog) {
            QCOMPARE(dialog->cboChoice->currentText(), u"%date%"_s);
            dialog->cboChoice->setCurrentIndex(2);
            dialog->Button[DialogButtonSet::ButtonOk]->click();
        });
        QCOMPARE(InputBox::InputChoice(u"Variable"_s, u"Title"_s, IconQuestion, u"%user%|%date%|%time%"_s,
                                       u"%date%"_s),
                 u"%time%"_s);
    }

    void trayMenuFollowsTheEngine()
    {
        TempProfile profile;
        TrayIcon tray;
        ClientMenu menu;
        menu.SetMenu(ClientMenu::Rights{});
        tray.rebuildMenu(menu);
        QSignalSpy clicked(&tray, &TrayIcon::itemClicked);
        QList<QAction *> actions;
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (auto *m = qobject_cast<QMenu *>(widget); m && !m->actions().isEmpty() && !m->parentWidget())
                actions = m->actions();
        QCOMPARE(actions.size(), 14);
        QVERIFY(!actions[0]->isEnabled());
        QVERIFY(!actions[7]->isVisible());

        // Updated in place: the same actions, new states.
        ClientMenu::Rights rights;
        rights.ConnectedToServer = true;
        menu.SetMenu(rights);
        tray.rebuildMenu(menu);
        QVERIFY(actions[0]->isEnabled());
        QVERIFY(actions[7]->isVisible());
        actions.last()->trigger();
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked[0][0].value<ClientMenu::Item>(), ClientMenu::mnuExit);
    }

    // The view mode leaves nothing to press but Cancel.
    void composerViewMode()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        UserInfos user(u"jdoe"_s);
        const auto send = [](const QString &) { return true; };
        Receipts senders(send);
        const AuthoringContext context{Clock::current(), ClientDB(), TempDB(),   user,
                                       gPolicies(),      gLevels(),  gSession(), gProcess(),
                                       senders,          frontend,   send};
        frmMessage form(context);
        form.OpenNew(0, u"ID1"_s, QString());
        QCOMPARE(form.windowTitle(), u"New message ID1"_s);

        DVMessage msg;
        msg.MsgID = u"ID2"_s;
        msg.Message = u"Read only"_s;
        form.ViewMessage(msg);
        QCOMPARE(form.windowTitle(), u"View a message ID2"_s);
        QCOMPARE(
            (QList<bool>{form.ui.OKButton->isVisibleTo(&form), form.ui.cmdUsers->isVisibleTo(&form),
                         form.ui.cmdVariable->isVisibleTo(&form), form.ui.CancelButton->isVisibleTo(&form)}),
            (QList<bool>{false, false, false, true}));

        // The package composer: no level and no reply; Mandatory, and OK only with a link.
        frmMessage package(context, true);
        package.OpenNew(0, u"P1"_s, QString());
        package.ui.txtText->setPlainText(u"Install"_s);
        QCOMPARE(
            (QList<QVariant>{package.windowTitle(), package.ui.cboLevel->isVisibleTo(&package),
                             package.ui.chkReply->isVisibleTo(&package),
                             package.ui.chkExactTime->text().remove(u'&'), package.ui.OKButton->isEnabled()}),
            (QList<QVariant>{u"New packageP1"_s, false, false, u"Mandatory"_s, false}));
        package.ui.txtLink->setText(u"//srv/docs/setup.exe"_s);
        QVERIFY(package.ui.OKButton->isEnabled());
    }

    // The About box tells its facts under their captions, and Escape closes it.
    void aboutBox()
    {
        QPointer<frmAbout> about = new frmAbout(
            {u"1.2.3"_s, u"Nov 23 2026"_s, u"6.4.2"_s, u"/d"_s, u"/s"_s, u"Connection status: Connected"_s});
        about->show();
        QVERIFY(QTest::qWaitForWindowActive(about));
        QCOMPARE((QStringList{about->windowTitle(), about->ui.lblVersion->text(),
                              about->ui.lblConnection->text()}),
                 (QStringList{u"About Korvane Client"_s, u"1.2.3"_s, u"Connection status: Connected"_s}));
        QTest::keyClick(about, Qt::Key_Escape);
        QTRY_VERIFY(about.isNull());
    }

    // The console as a user opens it: no administration items, the Outbox first, and
    // a delete from the keyboard that tells the server of each row and of the list.
    void consoleWindow()
    {
        StoreFixture f;
        TempProfile &profile = f.profile;
        RecordingFrontend frontend;
        UserInfos user(u"jdoe"_s);
        Policies policies;
        Session session;
        QStringList sent;
        // A status no version knows, and a splitter key of text, open and paint like any other.
        for (const char *id : {"M1", "M2"}) {
            DVMessage m;
            m.MsgID = QLatin1String(id);
            m.Status = id == QByteArrayView("M1") ? StatusActive : 99;
            QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, m, false, true));
        }
        UserStore(profile.path() + u"/Client.conf"_s).write(u"Setup"_s, u"OutboxAS1Splitter"_s, u"wide"_s);
        {
            frmAdmin console(
                {ClientDB(), TempDB(), f.clock, frontend, gProcess(), session, user, policies, gLevels(),
                 [&sent](const QString &p) {
                     sent << p.section(QChar(1), 0, 0);
                     return true;
                 },
                 nullptr, profile.path() + u"/Client.conf"_s, profile.path(), profile.dataHome()});
            QStringList items;
            for (QTreeWidgetItemIterator it(console.ui.dxSideBar1); *it; ++it)
                items << (*it)->text(0);
            QVERIFY(items.contains(u"Outbox"_s) && !items.contains(u"All messages"_s));
            frmList *outbox = console.currentList();
            QCOMPARE(outbox->list(), 2);
            QCOMPARE(outbox->model().rowCount(), 2);
            console.show();
            QVERIFY(QTest::qWaitForWindowActive(&console));
            outbox->ui.grid->setFocus();
            outbox->ui.grid->selectAll();
            outbox->ui.grid->horizontalHeader()->resizeSection(3, 333);
            QTest::keyClick(outbox->ui.grid, Qt::Key_Delete);
            QCOMPARE(sent, (QStringList{u"RRC"_s, u"MUP"_s, u"MUP"_s, u"MDE"_s}));
            QCOMPARE(outbox->model().rowCount(), 0);
        }
        // The changed columns are kept in the person's file when the list goes.
        QFile custom(profile.dataHome() + u"/OutboxCust.xgl"_s);
        QVERIFY(custom.open(QIODevice::ReadOnly));
        QVERIFY(custom.readAll().contains("column colSubject 333 1"));
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
