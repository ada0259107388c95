// Every window on a small screen of 1024 by 600: its frame inside the part of the screen
// that windows may use, and its closing buttons there too, where a click reaches them.
// Offscreen, the test makes such a screen itself; under a real X server it takes the
// screen it is given (see screenfit.cmake).
#include "authoring/GroupEditForm.h"
#include "authoring/Selection.h"
#include "authoring/frmGroupEdit.h"
#include "authoring/frmMessage.h"
#include "authoring/frmReply.h"
#include "authoring/frmSelection.h"
#include "banner/frmClientConfig.h"
#include "banner/frmLevelEdit.h"
#include "console/frmAdmin.h"
#include "console/frmAdminsEdit.h"
#include "console/frmConfigServer.h"
#include "console/frmDirectory.h"
#include "console/frmList.h"
#include "console/frmPolicies.h"
#include "core/Options.h"
#include "core/Session.h"
#include "core/UserInfos.h"
#include "core/UserStore.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "store/LevelCollection.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"
#include "ui/DesktopFrontend.h"
#include "ui/frmAbout.h"
#include "ui/frmDialog.h"
#include "ui/frmLog.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

const QSize SmallScreen(1024, 600);

QString text(const QRect &r)
{
    return u"%1,%2 %3x%4"_s.arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
}

QString nameOf(const QWidget *w)
{
    return QLatin1String(w->metaObject()->className()) + u' ' + w->objectName();
}

// What keeps the window or one of its buttons from a person, empty when nothing does.
QString misfitNow(QWidget *window, const QList<QWidget *> &buttons)
{
    const QRect area = window->screen()->availableGeometry();
    if (!area.contains(window->frameGeometry()))
        return nameOf(window) + u": frame "_s + text(window->frameGeometry()) + u" outside "_s + text(area);
    for (QWidget *button : buttons) {
        const QRect onScreen(button->mapToGlobal(QPoint(0, 0)), button->size());
        if (!button->isVisible())
            return nameOf(button) + u" hidden"_s;
        if (!area.contains(onScreen))
            return nameOf(button) + u" at "_s + text(onScreen) + u" outside "_s + text(area);
        // Inside the window's own area and not under a part of it: a click there lands on the button
        // (or, for a pane, on a part of it).
        QWidget *hit = QApplication::widgetAt(onScreen.center());
        if (hit != button && !button->isAncestorOf(hit))
            return nameOf(button) + u" cannot be clicked at "_s + text(onScreen);
    }
    return {};
}

QString misfit(QWidget *window, const QList<QWidget *> &buttons)
{
    if (!window || !QTest::qWaitForWindowExposed(window))
        return u"the window never showed"_s;
    // A real desktop frames and places the window a moment after it maps.
    const int patience = QGuiApplication::platformName() == u"xcb"_s ? 3000 : 0;
    QString problem;
    const bool fits = QTest::qWaitFor(
        [&] {
            problem = misfitNow(window, buttons);
            return problem.isEmpty();
        },
        patience);
    return fits ? QString() : problem;
}

template <typename Form>
Form *shown()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *form = qobject_cast<Form *>(w); form && form->isVisible())
            return form;
    return nullptr;
}

// Checks the modal window that the call opens, then closes it so that the call returns.
template <typename Form>
QString misfitOfModal(const std::function<QList<QWidget *>(Form *)> &buttons,
                      const std::function<void()> &open)
{
    QString problem = u"no window opened"_s;
    QTimer::singleShot(0, qApp, [&] {
        auto *form = qobject_cast<Form *>(QApplication::activeModalWidget());
        if (!form)
            return;
        problem = misfit(form, buttons(form));
        form->close();
    });
    open();
    return problem;
}

// The forms of authoring and the console, as the desktop opens them, with what they work with.
struct Desk
{
    StoreFixture f;
    RecordingFrontend recorder;
    UserInfos user{u"jdoe"_s};
    Policies policies;
    Session session;
    std::function<bool(const QString &)> send = [](const QString &) { return true; };
    Receipts senders{send};
    DesktopFrontend desktop;

    Desk()
    {
        desktop.setAuthoring(AuthoringContext{f.clock, ClientDB(), TempDB(), user, gPolicies(), gLevels(),
                                              gSession(), gProcess(), senders, recorder, send});
        desktop.setConsole(ConsoleContext{ClientDB(), TempDB(), f.clock, recorder, gProcess(), session, user,
                                          policies, gLevels(), send, nullptr, userStore(), f.profile.path(),
                                          f.profile.dataHome()});
    }
    ~Desk()
    {
        desktop.setAuthoring(std::nullopt);
        desktop.setConsole(std::nullopt);
    }
    QString userStore() const { return f.profile.path() + u"/Client.conf"_s; }
    GroupEditForm::Context groups()
    {
        return {ClientDB(), TempDB(), f.clock, user, policies, session, gProcess(), recorder, send};
    }
};

} // namespace

class TestScreenFit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(QGuiApplication::primaryScreen()->geometry().size(), SmallScreen); }

    void cleanup() { gOptions().Language = 0; }

    // The composer (the tallest form), the package composer and the reply, in English and in French.
    void authoringForms()
    {
        Desk desk;
        for (int language : {0, 1}) {
            gOptions().Language = language;
            desk.desktop.OpenMessageForm(0, u"ID1"_s, QString());
            QPointer<frmMessage> composer = desk.desktop.messageForm();
            QVERIFY(composer);
            QString problem = misfit(composer, {composer->ui.OKButton, composer->ui.CancelButton});
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            composer->close();
            QTRY_VERIFY(composer.isNull());

            desk.desktop.OpenPackageForm(u"P1"_s, QString());
            QPointer<frmMessage> package = shown<frmMessage>();
            QVERIFY(package);
            problem = misfit(package, {package->ui.OKButton, package->ui.CancelButton});
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            package->close();
            QTRY_VERIFY(package.isNull());

            QPointer<frmReply> reply =
                new frmReply({desk.f.clock, ClientDB(), TempDB(), desk.user, gPolicies(), gLevels(),
                              gSession(), gProcess(), desk.senders, desk.recorder, desk.send});
            reply->Open(DVMessage(), u"R1"_s, false);
            reply->show();
            problem = misfit(reply, {reply->ui.OKButton, reply->ui.CancelButton});
            delete reply;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            // The recipients' list, asked for from the composer.
            problem = misfitOfModal<frmSelection>(
                [](frmSelection *form) {
                    return QList<QWidget *>{form->ui.OKButton, form->ui.CancelButton};
                },
                [] { Selection::GetSelection(SelectUsers, QString()); });
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
    }

    // The console's bottom edge, at the size it opens with and at the size a larger screen
    // saved; its lists, and the editors its directories open.
    void consoleForms()
    {
        Desk desk;
        for (int language : {0, 1}) {
            gOptions().Language = language;
            desk.desktop.ShowConsole();
            QPointer<frmAdmin> console = desk.desktop.console();
            QVERIFY(console);
            QString problem = misfit(console, {console->currentChild()});
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            console->Display(11);
            problem = misfit(console, {console->currentChild()});
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            console->close();
            QTRY_VERIFY(console.isNull());
        }
        // 1500 by 1000 pixels from (300, 150), in twips.
        const UserStore store(desk.userStore());
        for (const auto &[name, value] : {std::pair{"AdminLeft", 4500}, std::pair{"AdminTop", 2250},
                                          std::pair{"AdminWidth", 22500}, std::pair{"AdminHeight", 15000}})
            store.write(u"Setup"_s, QLatin1String(name), QString::number(value));
        desk.desktop.ShowConsole();
        QPointer<frmAdmin> console = desk.desktop.console();
        QString problem = misfit(console, {console->currentChild()});
        QVERIFY2(problem.isEmpty(), qPrintable(problem));

        for (int language : {0, 1}) {
            gOptions().Language = language;
            QPointer<frmGroupEdit> group = new frmGroupEdit(desk.groups(), GroupEditForm::NewShared, console);
            group->show();
            problem = misfit(group, {group->ui.OKButton, group->ui.CancelButton});
            delete group;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            QPointer<frmAdminsEdit> role =
                new frmAdminsEdit({TempDB(), desk.session, gProcess(), desk.send}, console);
            role->show();
            problem = misfit(role, {role->ui.OKButton, role->ui.CancelButton});
            delete role;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
        console->close();
    }

    // The editors of levels, display options, policies and server configuration, and the boxes.
    void editorsAndBoxes()
    {
        Desk desk;
        for (int language : {0, 1}) {
            gOptions().Language = language;
            desk.desktop.ShowLevelEditor();
            QPointer<frmLevelEdit> levels = desk.desktop.levelEditor();
            QVERIFY(levels);
            QString problem = misfit(levels, {levels->ui.OKButton, levels->ui.CancelButton});
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            levels->close();
            QTRY_VERIFY(levels.isNull());

            problem = misfitOfModal<frmClientConfig>(
                [](frmClientConfig *form) {
                    return QList<QWidget *>{form->ui.OKButton, form->ui.CancelButton, form->ui.DefaultButton};
                },
                [&desk] { desk.desktop.ShowClientConfig(); });
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            desk.desktop.ShowPolicies(QString(), Policies());
            QPointer<frmPolicies> policies = shown<frmPolicies>();
            problem = misfit(policies, {policies->ui.OKButton, policies->ui.CancelButton});
            delete policies;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            desk.desktop.ShowServerConfig(ServerConfig());
            QPointer<frmConfigServer> server = shown<frmConfigServer>();
            problem =
                misfit(server, {server->ui.OKButton, server->ui.CancelButton, server->ui.DefaultButton});
            delete server;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            desk.desktop.ShowAbout({u"1.2.3"_s, u"Nov 23 2026"_s, u"6.4.2"_s,
                                    u"/home/jdoe/.local/share/Korvane"_s, u"/home/jdoe/.config/Korvane"_s,
                                    u"Connection status: Connected"_s});
            QPointer<frmAbout> about = shown<frmAbout>();
            problem = misfit(about, {about->ui.OKButton});
            delete about;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            QTemporaryFile log;
            QVERIFY(log.open());
            for (int line = 0; line < 500; ++line)
                log.write(QByteArray(300, 'x') + '\n');
            log.close();
            desk.desktop.ShowLog(log.fileName());
            QPointer<frmLog> logForm = shown<frmLog>();
            problem = misfit(logForm, {logForm->OKButton, logForm->btnCopy});
            delete logForm;
            QVERIFY2(problem.isEmpty(), qPrintable(problem));

            // A box and a question whose texts run longer than the screen is tall: the text
            // scrolls, the buttons and the field stay in sight.
            QStringList lines;
            for (int line = 0; line < 80; ++line)
                lines << u"Line %1 of a long answer from the server"_s.arg(line);
            const QString longText = lines.join(u'\n');
            const auto controls = [](frmDialog *box) {
                QList<QWidget *> shownControls;
                for (QPushButton *button : box->Button)
                    if (!button->isHidden())
                        shownControls << button;
                if (!box->txtInput->isHidden())
                    shownControls << box->txtInput;
                return shownControls;
            };
            problem = misfitOfModal<frmDialog>(controls, [&] {
                desk.desktop.MessageBoxShow(longText, u"Caption"_s, IconInformation, ButtonsOkCancel);
            });
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            problem = misfitOfModal<frmDialog>(controls, [&] {
                desk.desktop.InputText(longText, u"Caption"_s, IconQuestion, ButtonsOkCancel, u"typed"_s);
            });
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
    }
};

int main(int argc, char **argv)
{
    // Offscreen, a screen of the small size; a real X server brings its own.
    QTemporaryFile screens;
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (platform.isEmpty() || platform == "offscreen") {
        if (!screens.open())
            return 1;
        screens.write(QByteArray(R"({"screens": [{"name": "small", "x": 0, "y": 0, "width": )") +
                      QByteArray::number(SmallScreen.width()) + R"(, "height": )" +
                      QByteArray::number(SmallScreen.height()) + R"(, "logicalDpi": 96, "dpr": 1}]})");
        screens.close();
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + QFile::encodeName(screens.fileName()));
    }
    QApplication app(argc, argv);
    TestScreenFit test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screenfit.moc"
