#include "core/ClientMenu.h"
#include "core/Frontend.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"
#include "ui/DialogButtonSet.h"
#include "ui/InputBox.h"
#include "ui/MessageBox.h"
#include "ui/TrayIcon.h"
#include "ui/frmDialog.h"
#include "ui/frmLog.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <functional>

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
        QList<QPushButton *> buttons;
        for (QPushButton *button : dialog->Button)
            if (button->isVisible())
                buttons << button;
        std::sort(buttons.begin(), buttons.end(), [](auto *a, auto *b) { return a->x() < b->x(); });
        QStringList captions;
        for (QPushButton *button : buttons)
            captions << button->text();
        return captions;
    }

private Q_SLOTS:
    void buttonSets_data()
    {
        QTest::addColumn<int>("set");
        QTest::addColumn<QStringList>("captions");
        QTest::addColumn<int>("escape");
        QTest::newRow("ok") << 1 << QStringList{QStringLiteral("OK")} << int(ResultOk);
        QTest::newRow("ok cancel") << 2 << QStringList{QStringLiteral("OK"), QStringLiteral("Cancel")}
                                   << int(ResultCancel);
        QTest::newRow("yes no") << 3 << QStringList{QStringLiteral("Yes"), QStringLiteral("No")}
                                << int(ResultNo);
        QTest::newRow("cancel yes no")
            << 4 << QStringList{QStringLiteral("Cancel"), QStringLiteral("Yes"), QStringLiteral("No")}
            << int(ResultCancel);
    }

    void buttonSets()
    {
        QFETCH(int, set);
        QFETCH(QStringList, captions);
        QFETCH(int, escape);
        TempProfile profile;
        const QString caption = QStringLiteral("ATTENTION - You requested to shut down the Korvane Client");
        const QString word = QStringLiteral("\\\\fileserver\\communication\\announcements-2024.pdf");

        const QList<int> buttons = DialogButtonSet::buttonsOf(set);
        for (int index = 0; index < buttons.size(); ++index) {
            QStringList seen;
            whenShown([&](frmDialog *dialog) {
                seen = shownButtons(dialog);
                QCOMPARE(dialog->Label1->text(), QStringLiteral("Open ") + word);
                QCOMPARE(dialog->windowTitle(), caption);
                // Wide enough that neither the title nor a word is cut.
                QVERIFY(dialog->width() >= dialog->fontMetrics().horizontalAdvance(caption));
                QVERIFY(dialog->Label1->width() >= dialog->Label1->fontMetrics().horizontalAdvance(word));
                QVERIFY(!dialog->txtInput->isVisible());
                dialog->Button[buttons[index]]->click();
            });
            const int result = MessageBox::Show(QStringLiteral("Open ") + word, caption, IconQuestion, set);
            QCOMPARE(seen, captions);
            QCOMPARE(result, DialogButtonSet::resultOf(buttons[index]));
        }
        whenShown([](frmDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
        QCOMPARE(MessageBox::Show(QStringLiteral("Text"), QStringLiteral("Caption"), IconNone, set), escape);
    }

    void inputBoxes()
    {
        TempProfile profile;
        whenShown([](frmDialog *dialog) {
            QCOMPARE(dialog->txtInput->text(), QStringLiteral("default"));
            dialog->txtInput->setText(QStringLiteral("typed O'Brien"));
            dialog->Button[DialogButtonSet::ButtonOk]->click();
        });
        QCOMPARE(InputBox::InputText(QStringLiteral("Prompt"), QStringLiteral("Title"), IconQuestion,
                                     ButtonsOkCancel, QStringLiteral("default")),
                 QStringLiteral("typed O'Brien"));

        // Cancel gives the empty text whatever was typed.
        whenShown([](frmDialog *dialog) {
            dialog->txtInput->setText(QStringLiteral("typed"));
            dialog->Button[DialogButtonSet::ButtonCancel]->click();
        });
        QCOMPARE(InputBox::InputText(QStringLiteral("Prompt"), QStringLiteral("Title"), IconQuestion,
                                     ButtonsOkCancel, QString()),
                 QString());

        whenShown([](frmDialog *dialog) {
            QCOMPARE(dialog->txtInput->echoMode(), QLineEdit::Password);
            QCOMPARE(dialog->txtInput->text(), QString());
            QTest::keyClicks(dialog->txtInput, QStringLiteral("s3cret"));
            QTest::keyClick(dialog->txtInput, Qt::Key_Return);
        });
        QCOMPARE(InputBox::InputPassword(QStringLiteral("Password"), QStringLiteral("Title"), IconQuestion,
                                         ButtonsOkCancel),
                 QStringLiteral("s3cret"));

        whenShown([](frmDialog *dialog) {
            QVERIFY(dialog->cmdBrowse->isVisible());
            dialog->Button[DialogButtonSet::ButtonOk]->click();
        });
        QCOMPARE(InputBox::InputPath(QStringLiteral("Path"), QStringLiteral("Title"), IconQuestion,
                                     ButtonsOkCancel, QStringLiteral("/srv/share/doc.pdf")),
                 QStringLiteral("/srv/share/doc.pdf"));

        whenShown([](frmDialog *dialog) {
            QVERIFY(!dialog->txtInput->isVisible());
            QCOMPARE(dialog->cboChoice->count(), 3);
            QCOMPARE(dialog->cboChoice->currentText(), QStringLiteral("%date%"));
            dialog->cboChoice->setCurrentIndex(2);
            dialog->Button[DialogButtonSet::ButtonOk]->click();
        });
        QCOMPARE(InputBox::InputChoice(QStringLiteral("Variable"), QStringLiteral("Title"), IconQuestion,
                                       QStringLiteral("%user%|%date%|%time%"), QStringLiteral("%date%")),
                 QStringLiteral("%time%"));
    }

    void logFormShowsAndCopies()
    {
        TempProfile profile;
        RecordingFrontend frontend;
        profile.writeFile(QStringLiteral("client.log"), "line one\nline two\n");
        {
            frmLog form(profile.path() + QStringLiteral("/client.log"));
            QCOMPARE(form.rtfLog->toPlainText(), QStringLiteral("line one\nline two\n"));
            form.btnCopy->click();
            QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("line one\nline two\n"));
            QCOMPARE(frontend.questions.last().text, QStringLiteral("Text copied to clipboard"));
            QCOMPARE(frontend.questions.last().caption, QStringLiteral("Copy log text"));
        }
        frmLog empty(profile.path() + QStringLiteral("/missing.log"));
        QCOMPARE(empty.rtfLog->toPlainText(), QString());
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
        QStringList captions;
        for (QAction *action : actions)
            captions << (action->isSeparator() ? QStringLiteral("-") : action->text());
        QCOMPARE(captions,
                 (QStringList{QStringLiteral("Send a message"), QStringLiteral("Administration"),
                              QStringLiteral("-"), QStringLiteral("Options"), QStringLiteral("Show replies"),
                              QStringLiteral("Connection Status"), QStringLiteral("Connect"),
                              QStringLiteral("Configuration"), QStringLiteral("-"),
                              QStringLiteral("About..."), QStringLiteral("Help"), QStringLiteral("Log"),
                              QStringLiteral("-"), QStringLiteral("Exit")}));
        QCOMPARE(actions[7]->menu()->actions().size(), 4);
        QVERIFY(!actions[0]->isEnabled());
        QVERIFY(!actions[7]->isVisible());

        // Updated in place: the same actions, new states.
        ClientMenu::Rights rights;
        rights.ConnectedToServer = true;
        menu.SetMenu(rights);
        tray.rebuildMenu(menu);
        QVERIFY(actions[0]->isEnabled());
        QVERIFY(actions[7]->isVisible());
        actions[13]->trigger();
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked[0][0].value<ClientMenu::Item>(), ClientMenu::mnuExit);
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
