#include "app/ProgramEntry.h"

#include "app/DesktopFrontend.h"
#include "app/SingleInstance.h"
#include "app/UnixSignals.h"
#include "authoring/Selection.h"
#include "core/AppPaths.h"
#include "core/Clock.h"
#include "core/Globals.h"
#include "engine/KorvanClient.h"
#include "engine/ProgramStart.h"
#include "link/Policies.h"
#include "store/DBFunctions.h"
#include "store/DVMessage.h"
#include "store/Database.h"
#include "store/LevelCollection.h"
#include "ui/TrayIcon.h"

#include <QApplication>

#include <csignal>
#include <unistd.h>

namespace {

// A Wayland compositor lets no client keep a window above the others or place it, so the banner
// goes through the session's X server when it has one; an explicit QT_QPA_PLATFORM still rules.
void PreferXWayland()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

} // namespace

int ProgramEntry::run(int argc, char **argv)
{
    PreferXWayland();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("korvane-client"));
    // No display name: on X11 the toolkit would append it to every window title,
    // and a box's title is its caption alone.
    QApplication::setApplicationVersion(QStringLiteral(KORVANE_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("korvane-client"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(TrayIcon::image(1));

    SingleInstance instance(AppPaths::runtimeFolder());
    if (!instance.acquire()) {
        instance.notifyRunning();
        return 0;
    }

    DesktopFrontend frontend;
    Frontend::install(&frontend);
    UnixSignals signals;
    // A signal during the start's own questions (the trace switch, the user's
    // name) ends the process at once: nothing is loaded yet that needs closing.
    const QMetaObject::Connection early =
        QObject::connect(&signals, &UnixSignals::received, &app, [](int) { ::_exit(0); });

    std::unique_ptr<KorvanClient> engine = ProgramStart::Run();
    QObject::disconnect(early);
    if (!engine) {
        Frontend::install(nullptr);
        return 1;
    }

    frontend.setBannerHooks(
        {[&engine] { return engine->menu().entry(ClientMenu::mnuDisplayReplies).checked; },
         [&engine](DVMessage &msg) { engine->ComputeNextRunDate(msg); },
         [&engine](const QString &payload) { return engine->SendData(payload); }});

    frontend.setAuthoring(
        AuthoringContext{Clock::current(), ClientDB(), TempDB(), gUserInfos(), gPolicies(), gLevels(),
                         gSession(), gProcess(), *engine->receipts(), frontend,
                         [&engine](const QString &payload) { return engine->SendData(payload); }});

    Selection::SetLayoutsBase(AppPaths::resourceFolder());
    frontend.setConsole(ConsoleContext{
        ClientDB(), TempDB(), Clock::current(), frontend, gProcess(), gSession(), gUserInfos(), gPolicies(),
        gLevels(), [&engine](const QString &payload) { return engine->SendData(payload); },
        AppPaths::userStoreFile(), AppPaths::resourceFolder(), gProcess().AppDataPath});

    frontend.setEngineCalls(
        {[&engine](const QString &reference, const QString &codes) {
             return engine->NewPoliciesToSend(reference, codes);
         },
         [&engine](const ServerConfig &config) { return engine->UpdateServerConfiguration(config); },
         [&engine] { engine->OptionsChanged(); }});

    bool closing = false;
    auto close = [&](int mode) {
        if (closing)
            return;
        closing = true;
        engine->QueryUnload(mode);
        engine->Unload();
        QApplication::quit();
    };
    QObject::connect(frontend.tray(), &TrayIcon::itemClicked, engine.get(), &KorvanClient::MenuItemClicked);
    QObject::connect(engine.get(), &KorvanClient::quitRequested, &app, [&] {
        closing = true;
        QApplication::quit();
    });
    QObject::connect(&instance, &SingleInstance::menuRequested, frontend.tray(), &TrayIcon::popupMenu);
    QObject::connect(&signals, &UnixSignals::received, &app, [&](int signalNumber) {
        close(signalNumber == SIGINT ? KorvanClient::vbFormControlMenu : KorvanClient::vbAppWindows);
    });
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &app,
                     [&] { close(KorvanClient::vbAppWindows); });

    const int status = QApplication::exec();
    // The banner asks the engine on its way out; it goes first.
    frontend.setConsole(std::nullopt);
    frontend.setAuthoring(std::nullopt);
    frontend.destroyBanner();
    frontend.setBannerHooks({});
    frontend.setEngineCalls({});
    engine.reset();
    // Closing the files folds the journal back in; a crash would lose nothing either.
    ClientDB().close();
    TempDB().close();
    Frontend::install(nullptr);
    return status;
}
