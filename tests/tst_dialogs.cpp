#include "app/DesktopFrontend.h"
#include "core/ClientMenu.h"
#include "support/ModalDialog.h"
#include "support/TempProfile.h"
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
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestDialogs : public QObject
{
    Q_OBJECT

private:
    TempProfile profile;

private Q_SLOTS:
    // Each set's buttons in order, each giving its own result, and Escape the set's way out.
    void buttonSets()
    {
        const QString caption = u"ATTENTION - You requested to shut down the Korvane Client"_s;
        const QString word = u"\\\\fileserver\\communication\\announcements-2024.pdf"_s;
        const QMap<QString, int> results{
            {u"OK"_s, ResultOk}, {u"Cancel"_s, ResultCancel}, {u"Yes"_s, ResultYes}, {u"No"_s, ResultNo}};
        for (const auto &[set, captions, escape] : std::initializer_list<std::tuple<int, QStringList, int>>{
                 {1, {u"OK"_s}, ResultOk},
                 {2, {u"OK"_s, u"Cancel"_s}, ResultCancel},
                 {3, {u"Yes"_s, u"No"_s}, ResultNo},
                 {4, {u"Cancel"_s, u"Yes"_s, u"No"_s}, ResultCancel}}) {
            for (const int button : DialogButtonSet::buttonsOf(set)) {
                QString clicked;
                whenModal<frmDialog>([&, &captions = captions](frmDialog *dialog) {
                    QMap<int, QString> shown; // by place, left to right, as read (mnemonic aside)
                    for (QPushButton *each : dialog->Button)
                        if (each->isVisible())
                            shown.insert(each->x(), each->text().remove(u'&'));
                    QCOMPARE(shown.values() << dialog->Label1->text() << dialog->windowTitle(),
                             (captions + QStringList{u"Open "_s + word, caption}));
                    // Wide enough that neither the title nor a word is cut.
                    QVERIFY(dialog->width() >= dialog->fontMetrics().horizontalAdvance(caption));
                    QVERIFY(dialog->Label1->width() >= dialog->Label1->fontMetrics().horizontalAdvance(word));
                    QVERIFY(!dialog->txtInput->isVisible());
                    clicked = dialog->Button[button]->text().remove(u'&');
                    dialog->Button[button]->click();
                });
                const int result = MessageBox::Show(u"Open "_s + word, caption, IconQuestion, set);
                QCOMPARE(result, results.value(clicked, -1));
            }
            whenModal<frmDialog>([](frmDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
            QCOMPARE(MessageBox::Show(u"Text"_s, u"Caption"_s, IconNone, set), escape);
        }
    }

    void inputBoxes()
    {
        // Cancel gives the empty text whatever was typed.
        for (int button : {int(DialogButtonSet::ButtonOk), int(DialogButtonSet::ButtonCancel)}) {
            whenModal<frmDialog>([button](frmDialog *dialog) {
                QCOMPARE(dialog->txtInput->text(), u"default"_s);
                dialog->txtInput->setText(u"typed O'Brien"_s);
                dialog->Button[button]->click();
            });
            QCOMPARE(
                InputBox::InputText(u"Prompt"_s, u"Title"_s, IconQuestion, ButtonsOkCancel, u"default"_s),
                button == DialogButtonSet::ButtonOk ? u"typed O'Brien"_s : QString());
        }
        whenModal<frmDialog>([](frmDialog *dialog) {
            QCOMPARE(dialog->txtInput->echoMode(), QLineEdit::Password);
            QTest::keyClicks(dialog->txtInput, u"s3cret"_s);
            QTest::keyClick(dialog->txtInput, Qt::Key_Return);
        });
        QCOMPARE(InputBox::InputPassword(u"Password"_s, u"Title"_s, IconQuestion, ButtonsOkCancel),
                 u"s3cret"_s);
        whenModal<frmDialog>([](frmDialog *dialog) {
            QCOMPARE(dialog->cboChoice->currentText(), u"%date%"_s);
            dialog->cboChoice->setCurrentIndex(2);
            dialog->Button[DialogButtonSet::ButtonOk]->click();
        });
        QCOMPARE(InputBox::InputChoice(u"Variable"_s, u"Title"_s, IconQuestion, u"%user%|%date%|%time%"_s,
                                       u"%date%"_s),
                 u"%time%"_s);
    }

    // The tray's menu follows the engine's rights.
    void trayMenuFollowsTheEngine()
    {
        TrayIcon tray;
        ClientMenu menu;
        QSignalSpy clicked(&tray, &TrayIcon::itemClicked);
        QList<QAction *> actions;
        for (bool connected : {false, true}) {
            ClientMenu::Rights rights;
            rights.ConnectedToServer = connected;
            menu.SetMenu(rights);
            tray.rebuildMenu(menu);
            // The first build's actions, kept: a rebuild updates them in place.
            for (QWidget *widget : QApplication::topLevelWidgets())
                if (auto *m = qobject_cast<QMenu *>(widget); m && actions.isEmpty() && !m->parentWidget())
                    actions = m->actions();
            QCOMPARE((std::tuple{actions.size(), actions[0]->isEnabled(), actions[7]->isVisible()}),
                     std::tuple(qsizetype(14), connected, connected));
        }
        actions.last()->trigger();
        QCOMPARE((std::pair{clicked.size(), clicked.value(0).value(0).value<ClientMenu::Item>()}),
                 std::pair(qsizetype(1), ClientMenu::mnuExit));
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
