// From the server's answer to MID to the composer on screen, with 50 levels in
// the owner-drawn combo: the frontend opens a fresh form as the engine asks it
// to, and the round ends when the form's window has been exposed and painted.
#include "app/DesktopFrontend.h"
#include "authoring/AuthoringContext.h"
#include "authoring/MessageForm.h"
#include "bench/WidgetBench.h"
#include "core/Clock.h"
#include "core/Globals.h"
#include "delivery/Receipts.h"
#include "link/Policies.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/LevelCollection.h"

#include <QApplication>
#include <QComboBox>
#include <QTemporaryDir>
#include <QWidget>
#include <QWindow>

#include <benchmark/benchmark.h>

namespace {

constexpr int Levels = 50;

void defineLevels()
{
    gLevels().clear();
    for (int i = 0; i < Levels; ++i) {
        level row;
        row.LevelName = QStringLiteral("Level %1").arg(i + 1, 2, 10, QLatin1Char('0'));
        row.Description = QStringLiteral("Shown to the floors of building %1").arg(i % 7 + 1);
        row.BackColor = double((i * 0x0A1B2C) & 0xFFFFFF);
        row.ForeColor = double(~(i * 0x0A1B2C) & 0xFFFFFF);
        row.ShadowColor = 0x404040;
        row.DrawShadow = i % 2 == 0;
        gLevels().add(row);
    }
    gLevels().setLoaded(true);
}

// The composer's window, found by its class: its form header is the widget library's own.
QWidget *composerWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("frmMessage") && widget->isVisible())
            return widget;
    }
    return nullptr;
}

void BM_OpenComposer(benchmark::State &state)
{
    QTemporaryDir folder;
    gProcess().AppDataPath = folder.path();
    InitializeDB(folder.path());
    defineLevels();
    const auto send = [](const QString &) { return true; };
    Receipts senders(send);
    DesktopFrontend frontend;
    frontend.setAuthoring(AuthoringContext{Clock::current(), ClientDB(), TempDB(), gUserInfos(), gPolicies(),
                                           gLevels(), gSession(), gProcess(), senders, frontend, send});
    int n = 0;
    for (auto _ : state) {
        frontend.OpenMessageForm(NewMessage, QStringLiteral("M%1").arg(++n, 13, 10, QLatin1Char('0')),
                                 QStringLiteral("sales,support"));
        QWidget *form = composerWindow();
        if (!frontend.messageForm() || !waitExposed(form)) {
            state.SkipWithError("the composer did not open");
            break;
        }
        state.PauseTiming();
        const auto *levels = form->findChild<QComboBox *>(QStringLiteral("cboLevel"));
        if (!levels || levels->count() != Levels) {
            state.SkipWithError("the composer does not offer every level");
            break;
        }
        // Closing deletes the form: the next answer builds a new one.
        form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    frontend.setAuthoring(std::nullopt);
    ClientDB().close();
    TempDB().close();
}

} // namespace

BENCHMARK(BM_OpenComposer)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char **argv)
{
    return runWidgetBenchmarks(argc, argv);
}
