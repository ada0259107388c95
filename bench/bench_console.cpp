// The console's Outbox over 100,000 rows of a real Client.db: the list opened
// and painted, a sort by a column, AddRecord into the open list, and what the
// open list costs in resident memory. The read, the model and the paint are
// timed apart too, to say which one a figure is made of.
#include "app/DesktopFrontend.h"
#include "bench/BenchSupport.h"
#include "bench/WidgetBench.h"
#include "console/ConsoleContext.h"
#include "console/MessageList.h"
#include "console/RecordModel.h"
#include "console/frmAdmin.h"
#include "console/frmDirectory.h"
#include "console/frmList.h"
#include "core/Clock.h"
#include "core/Failure.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "delivery/Replication.h"
#include "link/Policies.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/LevelCollection.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHeaderView>
#include <QTemporaryDir>
#include <QWindow>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <memory>

namespace {

constexpr int Rows = 100000;

// The process's resident set, in KiB.
long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return -1;
}

// A Client.db whose Outbox holds the rows, and what a console list is built with.
struct Console
{
    QTemporaryDir folder;
    DesktopFrontend frontend;
    std::unique_ptr<ConsoleContext> context;

    Console()
    {
        gProcess().AppDataPath = folder.path();
        InitializeDB(folder.path());
        QDir().mkpath(folder.filePath(QStringLiteral("Layouts")));
        for (const QString &name : QDir(QStringLiteral(KORVANE_LAYOUTS)).entryList(QDir::Files))
            QFile::copy(QStringLiteral(KORVANE_LAYOUTS "/") + name,
                        folder.filePath(QStringLiteral("Layouts/")) + name);
        gLevels().clear();
        for (const char *name : {"Information", "Warning", "Urgent"}) {
            level row;
            row.LevelName = QString::fromLatin1(name);
            row.BackColor = 0xFFFFC0;
            gLevels().add(row);
        }
        gLevels().setLoaded(true);
        Database &client = ClientDB();
        const QStringList levels = {QStringLiteral("Information"), QStringLiteral("Warning"),
                                    QStringLiteral("Urgent")};
        Transaction fill(client);
        for (int i = 0; i < Rows; ++i) {
            DVMessage m = typicalRecord(i);
            // Subjects and dates in no order, so that a sort has work to do.
            const int key = int((qint64(i) * 7919) % Rows);
            m.Subject = QStringLiteral("Maintenance window %1").arg(key);
            // Each its own text: an Outbox's messages share their sender and level, not their words.
            m.Message += QStringLiteral(" Ref. %1").arg(i);
            m.MsgLevel = levels.at(i % 3);
            m.CreationDate = m.CreationDate.addSecs(-key * 60);
            m.StartDate = m.CreationDate.addSecs((i % 97) * 3600);
            m.ModificationDate = m.CreationDate;
            m.NextRunDate = m.StartDate;
            SaveMessage(client, QStringLiteral("Outbox"), m, false, true);
        }
        fill.commit();
        context = std::make_unique<ConsoleContext>(
            ConsoleContext{ClientDB(), TempDB(), Clock::current(), frontend, gProcess(), gSession(),
                           gUserInfos(), gPolicies(), gLevels(), [](const QString &) { return true; },
                           folder.filePath(QStringLiteral("user.ini")), folder.path(), folder.path()});
    }
    ~Console()
    {
        context.reset();
        ClientDB().close();
        TempDB().close();
    }
};

std::unique_ptr<Console> gConsole;

Console &console()
{
    if (!gConsole)
        gConsole = std::make_unique<Console>();
    return *gConsole;
}

// The Outbox as a click opens it, on screen.
std::unique_ptr<frmList> openOutbox()
{
    auto list = std::make_unique<frmList>(MessageList::Outbox, *console().context);
    list->resize(1200, 800);
    list->show();
    waitExposed(list.get());
    return list;
}

void closeList(std::unique_ptr<frmList> &list)
{
    list.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

double msSince(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

void BM_OutboxPainted(benchmark::State &state)
{
    console();
    double build = 0;
    double shown = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        auto list = std::make_unique<frmList>(MessageList::Outbox, *console().context);
        build += msSince(timer);
        timer.restart();
        list->resize(1200, 800);
        list->show();
        const bool exposed = waitExposed(list.get());
        shown += msSince(timer);
        state.PauseTiming();
        if (!exposed || list->model().rowCount() != Rows) {
            state.SkipWithError("the Outbox did not open with every row");
            break;
        }
        closeList(list);
        state.ResumeTiming();
    }
    state.counters["build_ms"] = benchmark::Counter(build, benchmark::Counter::kAvgIterations);
    state.counters["show_ms"] = benchmark::Counter(shown, benchmark::Counter::kAvgIterations);
}

// The parts of the build: the rows read from the store, then handed to a sorted model.
void BM_OutboxLoadData(benchmark::State &state)
{
    Console &c = console();
    MessageList list(MessageList::Outbox,
                     MessageList::Context{c.context->clientDB, c.context->tempDB, c.context->clock,
                                          c.context->frontend, c.context->process, c.context->session,
                                          c.context->sendData});
    for (auto _ : state) {
        const QList<ListRecord> rows = list.LoadData();
        if (rows.size() != Rows) {
            state.SkipWithError("the Outbox lost rows");
            break;
        }
    }
}

void BM_OutboxSetRecords(benchmark::State &state)
{
    Console &c = console();
    const QList<ListRecord> rows =
        MessageList(MessageList::Outbox,
                    MessageList::Context{c.context->clientDB, c.context->tempDB, c.context->clock,
                                         c.context->frontend, c.context->process, c.context->session,
                                         c.context->sendData})
            .LoadData();
    RecordModel model;
    // As the full layout leaves it: sorted by StartDate, latest first.
    model.sort(12, Qt::DescendingOrder);
    for (auto _ : state) {
        model.setRecords(rows);
        state.PauseTiming();
        model.setRecords({});
        state.ResumeTiming();
    }
}

void BM_OutboxSort(benchmark::State &state)
{
    console();
    auto list = openOutbox();
    const int columns[] = {3, 10};
    int n = 0;
    for (auto _ : state) {
        list->ui.grid->sortByColumn(columns[n++ % 2], Qt::AscendingOrder);
        // Done when the grid has laid its rows out anew and painted them.
        list->ui.grid->viewport()->repaint();
        QCoreApplication::processEvents();
    }
    closeList(list);
}

// Argument 0: the model's and the grid's bookkeeping alone, the window not repainted; 1: with the
// frame that follows (visible rows and scroll bar repainted), once however many rows came in.
void BM_OutboxAddRecord(benchmark::State &state)
{
    console();
    auto list = openOutbox();
    list->setUpdatesEnabled(state.range(0) != 0);
    int n = Rows;
    double call = 0;
    double grid = 0;
    for (auto _ : state) {
        state.PauseTiming();
        DVMessage m = typicalRecord(n++);
        m.Subject = QStringLiteral("Maintenance window %1").arg(n);
        state.ResumeTiming();
        QElapsedTimer timer;
        timer.start();
        list->AddRecord(m);
        call += msSince(timer) * 1000;
        timer.restart();
        // The grid takes the new row in before the next call comes.
        QCoreApplication::processEvents();
        grid += msSince(timer) * 1000;
    }
    state.counters["call_us"] = benchmark::Counter(call, benchmark::Counter::kAvgIterations);
    state.counters["grid_us"] = benchmark::Counter(grid, benchmark::Counter::kAvgIterations);
    if (list->model().rowCount() != n)
        state.SkipWithError("rows were not added");
    closeList(list);
}

// An MSC for a row of the open Inbox of 100,000 rows, through the engine: the store changed, the
// list told, the row read anew, and the grid repainted.
void BM_InboxStatusChange(benchmark::State &state)
{
    Console &c = console();
    bool any = false;
    if (!ClientDB().exists(QStringLiteral("SELECT 1 FROM Inbox"), {}, &any))
        ClientDB().exec(QStringLiteral("INSERT INTO Inbox SELECT * FROM Outbox"));
    Frontend::install(&c.frontend);
    c.frontend.setConsole(*c.context);
    gProcess().CurrentList = 1;
    c.frontend.ShowConsole();
    frmAdmin *admin = c.frontend.console();
    admin->Display(1);
    frmList *inbox = admin->currentList();
    inbox->window()->resize(1200, 800);
    waitExposed(admin);
    // The row under the eye: the first shown.
    const QString id = inbox->model().record(0).text(ListRecord::MsgID);
    Replication replication([](const QString &) { return true; });
    Failure failure;
    int n = 0;
    for (auto _ : state) {
        replication.MessageStatusChanged(QString::number(n++ % 2) + QChar(2) + id, failure);
        inbox->ui.grid->viewport()->repaint();
    }
    if (inbox->model().shownText(inbox->model().Locate(id), 21).isEmpty())
        state.SkipWithError("the row went");
    admin->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Frontend::install(nullptr);
}

void BM_OutboxMemory(benchmark::State &state)
{
    console();
    double added = 0;
    for (auto _ : state) {
        // Freed memory of earlier rounds given back first, so that it is not counted as saved.
        malloc_trim(0);
        const long before = residentKiB();
        auto list = openOutbox();
        const long open = residentKiB();
        added += double(open - before) / 1024.0;
        state.PauseTiming();
        closeList(list);
        state.ResumeTiming();
    }
    state.counters["added_MiB"] = benchmark::Counter(added, benchmark::Counter::kAvgIterations);
}

// The directory of 50,000 users as the Users item opens it, until its window is exposed.
void BM_UsersListOpen(benchmark::State &state)
{
    Console &c = console();
    constexpr int Users = 50000;
    bool ok = false;
    if (!TempDB().exists(QStringLiteral("SELECT 1 FROM Users WHERE UserID = 'user49999'"), {}, &ok)) {
        Transaction fill(TempDB());
        for (int n = 0; n < Users; ++n)
            TempDB().exec(
                QStringLiteral("INSERT OR REPLACE INTO Users (UserID, UserName, LastLogon, MachineID, "
                               "Connected, Language) VALUES (?, ?, ?, ?, ?, ?)"),
                {QStringLiteral("user%1").arg(n, 5, 10, QLatin1Char('0')),
                 QStringLiteral("User Number %1").arg(n), QStringLiteral("2026-11-23 08:00:00"),
                 QStringLiteral("ws-%1").arg(n % 900), n % 2, 0});
        fill.commit();
    }
    for (auto _ : state) {
        auto list = std::make_unique<frmDirectory>(DirectoryList::Users, *c.context);
        list->resize(1200, 800);
        list->show();
        const bool exposed = waitExposed(list.get());
        state.PauseTiming();
        if (!exposed || list->ui.grid->model()->rowCount() != Users) {
            state.SkipWithError("the users did not open with every row");
            break;
        }
        list.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        state.ResumeTiming();
    }
}

} // namespace

BENCHMARK(BM_UsersListOpen)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_OutboxPainted)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_OutboxLoadData)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_OutboxSetRecords)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_OutboxSort)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(4);
BENCHMARK(BM_OutboxAddRecord)->Unit(benchmark::kMicrosecond)->UseRealTime()->Iterations(1000)->Arg(0)->Arg(1);
BENCHMARK(BM_InboxStatusChange)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(200);
BENCHMARK(BM_OutboxMemory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

int main(int argc, char **argv)
{
    return runWidgetBenchmarks(argc, argv, [] { gConsole.reset(); });
}
