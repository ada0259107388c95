// Intake into a real Client.db against raw SQLite inserting the same rows, and
// the minute scan over a large Inbox.
#include "bench/BenchSupport.h"
#include "core/Globals.h"
#include "core/Ticker.h"
#include "core/UserInfos.h"
#include "delivery/MessageIntake.h"
#include "delivery/Replication.h"
#include "delivery/Scheduler.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/Schema.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

namespace {

constexpr int Records = 10000;
constexpr int Batch = 100;

QStringList batches()
{
    QStringList result;
    for (int b = 0; b < Records / Batch; ++b) {
        QStringList records;
        for (int i = 0; i < Batch; ++i) {
            DVMessage m = typicalRecord(b * Batch + i);
            m.Target = QString(); // for everyone: every record is stored
            records << m.ToString();
        }
        result << records.join(QChar(2));
    }
    return result;
}

void BM_Intake(benchmark::State &state)
{
    const QStringList payloads = batches();
    int confirmations = 0;
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir folder;
        gProcess().AppDataPath = folder.path();
        InitializeDB(folder.path());
        Replication replication([](const QString &) { return true; });
        MessageIntake intake([&confirmations](const QString &) { return ++confirmations > 0; },
                             [] { return QStringLiteral("10.0.5.7"); }, replication);
        state.ResumeTiming();
        for (const QString &payload : payloads)
            intake.MessageReceived(payload, false);
        state.PauseTiming();
        ClientDB().close();
        TempDB().close();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Records);
}

// The same rows into the same tables, with statements prepared once and a
// transaction per batch: what SQLite itself allows.
void BM_RawSqlite(benchmark::State &state)
{
    QList<QVariantList> rows;
    for (int i = 0; i < Records; ++i) {
        const DVMessage m = typicalRecord(i);
        rows << QVariantList{m.MsgID,
                             m.Subject,
                             m.Message,
                             m.MsgLevel,
                             m.UserID,
                             m.UserName,
                             m.MachineID,
                             StoredDate(m.CreationDate),
                             StoredDate(m.ExpirationDate)};
    }
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir folder;
        {
            Database schema(QStringLiteral("schema"));
            schema.open(folder.filePath(QStringLiteral("Client.db")));
            Schema::CreateTables(schema);
        }
        sqlite3 *db = nullptr;
        sqlite3_open(qPrintable(folder.filePath(QStringLiteral("Client.db"))), &db);
        sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;", nullptr, nullptr, nullptr);
        sqlite3_stmt *inbox = nullptr;
        sqlite3_stmt *history = nullptr;
        sqlite3_prepare_v2(
            db,
            "INSERT INTO Inbox (MsgID, Subject, Message, MsgLevel, UserID, UserName, MachineID, "
            "CreationDate, ExpirationDate, Status, MsgAction) VALUES (?,?,?,?,?,?,?,?,?,1,0)",
            -1, &inbox, nullptr);
        sqlite3_prepare_v2(db,
                           "INSERT INTO History (MsgID, Message, UserID, UserName, MachineID, CreationDate, "
                           "Mailbox) VALUES (?,?,?,?,?,?,0)",
                           -1, &history, nullptr);
        state.ResumeTiming();
        for (int b = 0; b < Records / Batch; ++b) {
            sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
            for (int i = b * Batch; i < (b + 1) * Batch; ++i) {
                const QVariantList &row = rows[i];
                QByteArray text[9];
                for (int c = 0; c < 9; ++c) {
                    text[c] = row[c].toString().toUtf8();
                    sqlite3_bind_text(inbox, c + 1, text[c].constData(), int(text[c].size()), SQLITE_STATIC);
                }
                sqlite3_step(inbox);
                sqlite3_reset(inbox);
                const int historyColumns[] = {0, 2, 4, 5, 6, 7};
                for (int c = 0; c < 6; ++c)
                    sqlite3_bind_text(history, c + 1, text[historyColumns[c]].constData(),
                                      int(text[historyColumns[c]].size()), SQLITE_STATIC);
                sqlite3_step(history);
                sqlite3_reset(history);
            }
            sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        }
        state.PauseTiming();
        sqlite3_finalize(inbox);
        sqlite3_finalize(history);
        sqlite3_close(db);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Records);
}

// 100,000 rows in Inbox, of which 100 are due in the scanned minute.
void BM_ScanMessages(benchmark::State &state)
{
    QTemporaryDir folder;
    gProcess().AppDataPath = folder.path();
    InitializeDB(folder.path());
    Database &client = ClientDB();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    {
        Transaction fill(client);
        for (int i = 0; i < 100000; ++i) {
            DVMessage m = typicalRecord(i);
            m.MsgDelivery = DeliveryScheduled;
            // Most wait for next year; a hundred are due now.
            m.NextRunDate = i % 1000 == 0 ? now.addSecs(-120) : now.addDays(365);
            SaveMessage(client, QStringLiteral("Inbox"), m, false, true);
        }
        fill.commit();
    }
    Scheduler scheduler;
    for (auto _ : state)
        scheduler.ScanMessages();
    ClientDB().close();
    TempDB().close();
}

} // namespace

BENCHMARK(BM_Intake)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_RawSqlite)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ScanMessages)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    Ticker::setManual(true);
    ReplaceUserInfos(UserInfos(QStringLiteral("bench")));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
