#include "authoring/frmMessage.h"
#include "core/ClientMenu.h"
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "store/LevelCollection.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"
#include "ui/DesktopFrontend.h"
#include "ui/DialogButtonSet.h"
#include "ui/InputBox.h"
#include "ui/MessageBox.h"
#include "ui/TrayIcon.h"
#include "ui/frmAbout.h"
#include "ui/frmDialog.h"

#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
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
    TempProfile profile;

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
    // Each set's buttons in order, each giving its own result, and Escape the set's way out.
    void buttonSets()
    {
        const QString caption = u"ATTENTION - You requested to shut down the Korvane Client"_s;
        const QString word = u"\\\\fileserver\\communication\\announcements-2024.pdf"_s;
        const std::tuple<int, QStringList, int> sets[] = {
            {1, {u"OK"_s}, ResultOk},
            {2, {u"OK"_s, u"Cancel"_s}, ResultCancel},
            {3, {u"Yes"_s, u"No"_s}, ResultNo},
            {4, {u"Cancel"_s, u"Yes"_s, u"No"_s}, ResultCancel},
        };
        for (const auto &[set, captions, escape] : sets) {
            const QList<int> buttons = DialogButtonSet::buttonsOf(set);
            for (const int button : buttons) {
                QStringList seen;
                whenShown([&](frmDialog *dialog) {
                    seen = shownButtons(dialog);
                    QCOMPARE((QStringList{dialog->Label1->text(), dialog->windowTitle()}),
                             (QStringList{u"Open "_s + word, caption}));
                    // Wide enough that neither the title nor a word is cut.
                    QVERIFY(dialog->width() >= dialog->fontMetrics().horizontalAdvance(caption));
                    QVERIFY(dialog->Label1->width() >= dialog->Label1->fontMetrics().horizontalAdvance(word));
                    QVERIFY(!dialog->txtInput->isVisible());
                    dialog->Button[button]->click();
                });
                const int result = MessageBox::Show(u"Open "_s + word, caption, IconQuestion, set);
                QCOMPARE(seen, captions);
                QCOMPARE(result, DialogButtonSet::resultOf(button));
            }
            whenShown([](frmDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
            QCOMPARE(MessageBox::Show(u"Text"_s, u"Caption"_s, IconNone, set), escape);
        }
    }

    void inputBoxes()
    {
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
        QCOMPARE((QList<bool>{actions[0]->isEnabled(), actions[7]->isVisible()}),
                 (QList<bool>{false, false}));

        // Updated in place: the same actions, new states.
        ClientMenu::Rights rights;
        rights.ConnectedToServer = true;
        menu.SetMenu(rights);
        tray.rebuildMenu(menu);
        QCOMPARE((QList<bool>{actions[0]->isEnabled(), actions[7]->isVisible()}), (QList<bool>{true, true}));
        actions.last()->trigger();
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked[0][0].value<ClientMenu::Item>(), ClientMenu::mnuExit);
    }

    // The package composer: no level and no reply; Mandatory, and OK only with a link.
    void packageComposer()
    {
        RecordingFrontend frontend;
        UserInfos user(u"jdoe"_s);
        const auto send = [](const QString &) { return true; };
        Receipts senders(send);
        const AuthoringContext context{Clock::current(), ClientDB(), TempDB(),   user,
                                       gPolicies(),      gLevels(),  gSession(), gProcess(),
                                       senders,          frontend,   send};
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

    // The About box shows each fact beside its caption; asked again, the one box shows the facts of
    // now. Escape closes it.
    void aboutBox()
    {
        DesktopFrontend desktop;
        Frontend::AboutFacts facts{u"0.1.0"_s, u"Nov 23 2026"_s, u"6.4.2"_s,
                                   u"/d"_s,    u"/s"_s,          u"Connection status: Closed"_s};
        desktop.ShowAbout(facts);
        facts.connection = u"Connection status: Connected"_s;
        desktop.ShowAbout(facts);
        QList<frmAbout *> boxes;
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (auto *box = qobject_cast<frmAbout *>(widget); box && box->isVisible())
                boxes << box;
        QCOMPARE(boxes.size(), 1);
        QPointer<frmAbout> about = boxes[0];
        QVERIFY(QTest::qWaitForWindowActive(about));
        const auto *form = about->findChild<QFormLayout *>();
        const auto text = [form](int row, QFormLayout::ItemRole role) {
            return qobject_cast<QLabel *>(form->itemAt(row, role)->widget())->text().remove(u'&');
        };
        QStringList rows{about->windowTitle()};
        for (int row = 0; row < form->rowCount(); ++row)
            rows << text(row, QFormLayout::LabelRole) + u' ' + text(row, QFormLayout::FieldRole);
        QCOMPARE(rows,
                 (QStringList{u"About Korvane Client"_s, u"Version: 0.1.0"_s, u"Built on: Nov 23 2026"_s,
                              u"Qt: 6.4.2"_s, u"Data folder: /d"_s, u"Settings folder: /s"_s,
                              u"Connection: Connection status: Connected"_s}));
        QTest::keyClick(about, Qt::Key_Escape);
        QTRY_VERIFY(about.isNull());
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
