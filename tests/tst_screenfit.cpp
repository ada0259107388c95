// Every window on a screen of 1024 by 600: its frame and its closing buttons inside the part of the screen
// that windows may use, where a click reaches them (the screen is set up in screenfit.cmake).
#include "app/DesktopFrontend.h"
#include "authoring/Selection.h"
#include "authoring/frmAdminsEdit.h"
#include "authoring/frmGroupEdit.h"
#include "authoring/frmMessage.h"
#include "authoring/frmReply.h"
#include "authoring/frmSelection.h"
#include "console/frmAdmin.h"
#include "console/frmList.h"
#include "core/Options.h"
#include "core/UserStore.h"
#include "editors/frmClientConfig.h"
#include "editors/frmConfigServer.h"
#include "editors/frmLevelEdit.h"
#include "editors/frmPolicies.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"
#include "support/AuthoringFixture.h"
#include "support/Untranslated.h"
#include "ui/ScreenFit.h"
#include "ui/frmAbout.h"
#include "ui/frmDialog.h"
#include "ui/frmLog.h"

#include <QApplication>
#include <QComboBox>
#include <QDebug>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QTreeWidgetItemIterator>

using namespace Qt::StringLiterals;

namespace {

QString said(const auto &...parts)
{
    QString text;
    (QDebug(&text).noquote() << ... << parts);
    return text;
}

// What keeps the window or one of its buttons from a person, empty when nothing does.
QString misfit(QWidget *window, const QList<QWidget *> &buttons)
{
    if (!QTest::qWaitForWindowExposed(window))
        return said(window, "never showed");
    const auto problem = [&]() -> QString {
        const QRect area = window->screen()->availableGeometry();
        if (!area.contains(window->frameGeometry()))
            return said(window, "frame", window->frameGeometry(), "outside", area);
        for (QWidget *button : buttons) {
            const QRect onScreen(button->mapToGlobal(QPoint(0, 0)), button->size());
            if (!button->isVisible() || !area.contains(onScreen))
                return said(button, button->isVisible() ? "at" : "hidden at", onScreen, "outside", area);
            QWidget *hit = QApplication::widgetAt(onScreen.center());
            if (hit != button && !button->isAncestorOf(hit))
                return said(button, "cannot be clicked at", onScreen, "under", hit);
        }
        return {};
    };
    // A real desktop frames and places the window a moment after it maps.
    const int patience = QGuiApplication::platformName() == u"xcb"_s ? 3000 : 0;
    return QTest::qWaitFor([&] { return problem().isEmpty(); }, patience) ? QString() : problem();
}

// What a person must reach: the buttons that close the form, a box's field, the console's pane.
template <typename Form>
QList<QWidget *> closers(Form *form)
{
    if constexpr (requires { form->btnCopy; }) {
        return {form->OKButton, form->btnCopy};
    } else if constexpr (requires { form->txtInput; }) {
        QList<QWidget *> controls = QList<QWidget *>(std::begin(form->Button), std::end(form->Button))
                                    << form->txtInput;
        controls.removeIf([](QWidget *control) { return control->isHidden(); });
        return controls;
    } else if constexpr (requires { form->currentChild(); }) {
        return {form->currentChild()};
    } else {
        QList<QWidget *> buttons{form->ui.OKButton};
        if constexpr (requires { form->ui.CancelButton; })
            buttons << form->ui.CancelButton;
        if constexpr (requires { form->ui.DefaultButton; })
            buttons << form->ui.DefaultButton;
        return buttons;
    }
}

template <typename Form>
Form *shown()
{
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *form = qobject_cast<Form *>(window); form && form->isVisible())
            return form;
    return nullptr;
}

// Checks the window of the kind Form that open() shows (and, modal, waits on), then closes it. In French no
// English word is left: a form opens in English and follows the switch; a modal one opens in French.
template <typename Form>
void fits(const std::function<void()> &open)
{
    const int language = gOptions().Language;
    if constexpr (!std::is_same_v<Form, frmDialog> && !std::is_same_v<Form, frmSelection>)
        gOptions().Language = 0;
    QString problem = QLatin1String(Form::staticMetaObject.className()) + u" never opened"_s;
    bool checked = false;
    QTimer::singleShot(0, qApp, [&] {
        if (Form *form = shown<Form>()) {
            switchLanguage(form, language);
            const QStringList english = language == 1 ? leftInEnglish(form) : QStringList();
            problem =
                english.isEmpty() ? misfit(form, closers(form)) : said(form, "left in English:", english);
            if constexpr (std::is_same_v<Form, frmDialog>) {
                // Each line of a long text reads whole beside the scroll bar.
                const QString line = form->Label1->text().section(u'\n', 0, 0);
                if (form->Label1->width() < form->Label1->fontMetrics().horizontalAdvance(line))
                    problem += said(form->Label1, "wraps", line);
            }
            form->close();
        }
        checked = true;
    });
    open();
    QVERIFY(QTest::qWaitFor([&] { return checked; }));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    gOptions().Language = language;
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
}

// The forms of authoring and the console as the desktop opens them; the desktop goes before what they use.
struct Desk : AuthoringFixture
{
    DesktopFrontend desktop;

    Desk()
    {
        desktop.setAuthoring(context);
        desktop.setConsole(ConsoleContext{ClientDB(), TempDB(), clock, frontend, gProcess(), session, user,
                                          policies, gLevels(), send, profile.path() + u"/Client.conf"_s,
                                          profile.path(), profile.dataHome()});
    }
};

} // namespace

class TestScreenFit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(QGuiApplication::primaryScreen()->geometry().size(), QSize(1024, 600)); }

    void cleanup() { gOptions().Language = 0; }

    // A window placed past the screen's corner comes back just inside it: its frame touches both edges.
    void placedPastTheCorner()
    {
        QWidget window;
        window.resize(300, 200);
        const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
        window.move(area.bottomRight() + QPoint(50, 50));
        ScreenFit::bound(&window);
        // A window's place is its frame's corner.
        const QRect frame(window.pos(), window.size().grownBy(ScreenFit::frameOf(&window)));
        QCOMPARE(frame.bottomRight(), area.bottomRight());
    }

    void everyWindow_data()
    {
        QTest::addColumn<int>("language");
        QTest::newRow("English") << 0;
        QTest::newRow("French") << 1;
    }

    // Every form, box and console, in either language; the console also at the size a larger screen saved.
    void everyWindow()
    {
        QFETCH(int, language);
        Desk desk;
        gOptions().Language = language;
        fits<frmMessage>([&] { desk.desktop.OpenMessageForm(0, u"ID1"_s, QString()); });
        fits<frmMessage>([&] { desk.desktop.OpenPackageForm(u"P1"_s, QString()); });
        fits<frmReply>([&] {
            auto *reply = new frmReply(desk.context);
            reply->Open(DVMessage(), u"R1"_s, false);
            reply->show();
        });
        fits<frmSelection>([] { Selection::GetSelection(SelectUsers, QString()); });
        fits<frmLevelEdit>([&] { desk.desktop.ShowLevelEditor(); });
        fits<frmClientConfig>([&] { desk.desktop.ShowClientConfig(); });
        fits<frmPolicies>([&] { desk.desktop.ShowPolicies(QString(), Policies()); });
        fits<frmConfigServer>([&] { desk.desktop.ShowServerConfig(ServerConfig()); });
        fits<frmAbout>([&] {
            desk.desktop.ShowAbout({u"1.2.3"_s, u"Nov 23 2026"_s, u"6.4.2"_s,
                                    u"/home/jdoe/.local/share/Korvane"_s, u"/home/jdoe/.config/Korvane"_s,
                                    u"Connection status: Connected"_s});
        });
        desk.profile.writeFile(u"long.log"_s, QByteArray(300, 'x').append('\n').repeated(500));
        fits<frmLog>([&] { desk.desktop.ShowLog(desk.profile.path() + u"/long.log"_s); });

        // Texts longer than the screen is tall: the text scrolls, the buttons and the field stay in sight.
        const QString tall = QStringList(80, u"A line of a long answer from the server"_s).join(u'\n');
        fits<frmDialog>(
            [&] { desk.desktop.MessageBoxShow(tall, u"Caption"_s, IconInformation, ButtonsOkCancel); });
        fits<frmDialog>(
            [&] { desk.desktop.InputText(tall, u"Caption"_s, IconQuestion, ButtonsOkCancel, u"typed"_s); });

        fits<frmAdmin>([&] { desk.desktop.ShowConsole(); });
        // 1500 by 1000 pixels from (300, 150), in twips, with a directory, and the editors it opens over it.
        const UserStore store(desk.profile.path() + u"/Client.conf"_s);
        for (const auto &[name, value] : {std::pair{"AdminLeft", 4500}, std::pair{"AdminTop", 2250},
                                          std::pair{"AdminWidth", 22500}, std::pair{"AdminHeight", 15000}})
            store.write(u"Setup"_s, QLatin1String(name), QString::number(value));
        desk.desktop.ShowConsole();
        frmAdmin *console = desk.desktop.console();
        console->Display(11);
        const QString problem = misfit(console, closers(console));
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        fits<frmGroupEdit>([&] {
            (new frmGroupEdit({ClientDB(), TempDB(), desk.clock, desk.user, desk.policies, desk.session,
                               gProcess(), desk.frontend, desk.send},
                              GroupEditForm::NewShared, console))
                ->show();
        });
        fits<frmAdminsEdit>([&] {
            (new frmAdminsEdit({TempDB(), desk.session, gProcess(), desk.send}, console))->show();
        });
        console->close();
    }

    // French chosen in the options reaches every window still open, the console's lists and side bar too.
    void switchReachesOpenWindows()
    {
        Desk desk;
        desk.desktop.OpenMessageForm(0, u"ID1"_s, QString());
        desk.desktop.ShowConsole();
        QTimer::singleShot(0, qApp, [] {
            if (auto *options = shown<frmClientConfig>()) {
                qobject_cast<QComboBox *>(options->ui.propConfig->editor(u"Language"_s))->setCurrentIndex(1);
                options->ui.OKButton->click();
            }
        });
        desk.desktop.ShowClientConfig();
        QCOMPARE(gOptions().Language, qint16(1));
        frmAdmin *console = desk.desktop.console();
        QCOMPARE(leftInEnglish(shown<frmMessage>()) + leftInEnglish(console), QStringList());
        QStringList items;
        for (QTreeWidgetItemIterator it(console->ui.dxSideBar1); *it; ++it)
            items << (*it)->text(0);
        QVERIFY2(!items.contains(u"Outbox"_s) && items.contains(u"Divers"_s),
                 qPrintable(items.join(u", "_s)));
        QCOMPARE(console->currentList()->menu()->actions().constFirst()->text().remove(u'&'), u"Nouveau"_s);
        console->close();
    }
};

QTEST_MAIN(TestScreenFit)
#include "tst_screenfit.moc"
