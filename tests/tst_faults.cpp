// Attacks on the real client binary: killed while records stream in, a server
// that dies and comes back again and again, floods of garbage and of lists far
// larger than any real one.
#include "support/ClientProcess.h"
#include "support/FakeServer.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTcpServer>
#include <QTest>

#include <csignal>

namespace {

QString record(int n)
{
    return FakeServer::record(QStringLiteral("F%1").arg(n, 13, 10, QLatin1Char('0')),
                              QStringLiteral("Stream"), QStringLiteral("Record %1 of the stream").arg(n));
}

QPair<QSet<QString>, QString> inspect(const QString &file)
{
    QSet<QString> ids;
    QString integrity;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("inspect"));
        db.setDatabaseName(file);
        if (db.open()) {
            QSqlQuery check(QStringLiteral("PRAGMA integrity_check"), db);
            if (check.next())
                integrity = check.value(0).toString();
            QSqlQuery rows(QStringLiteral("SELECT MsgID FROM Inbox"), db);
            while (rows.next())
                ids.insert(rows.value(0).toString());
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("inspect"));
    return {ids, integrity};
}

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedWhileStreamingLosesNothingConfirmed()
    {
        TempProfile profile;
        FakeServer server;
        ClientProcess::prepare(profile, server.port());
        auto *random = QRandomGenerator::global();
        QStringList batches;
        for (int b = 0; b < 50; ++b) {
            QStringList records;
            for (int i = 0; i < 100; ++i)
                records << record(b * 100 + i);
            batches << FakeServer::command(QStringLiteral("MSG"), records.join(QChar(2)));
        }
        for (int round = 0; round < 6; ++round) {
            const qsizetype before = server.confirmedIds().size();
            ClientProcess client;
            client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
            QTRY_VERIFY_WITH_TIMEOUT(server.hasClient() && server.connections() == round + 1, 15000);
            server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent")));
            // The same five thousand records each time: what is stored comes again
            // as an edit, what was lost comes again as new.
            server.sendJoined(batches);
            const int wanted = 1 + int(random->bounded(4500));
            QTRY_VERIFY_WITH_TIMEOUT(server.confirmedIds().size() >= before + wanted, 60000);
            client.signal(SIGKILL);
        }
        const auto [ids, integrity] = inspect(profile.dataHome() + QStringLiteral("/Korvane/Client.db"));
        QCOMPARE(integrity, QStringLiteral("ok"));
        const QStringList confirmedList = server.confirmedIds();
        const QSet<QString> confirmed(confirmedList.cbegin(), confirmedList.cend());
        for (const QString &id : confirmed)
            QVERIFY2(ids.contains(id), qPrintable(id));
    }

    void developmentServerRestartedAgainAndAgain()
    {
        TempProfile profile;
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        // Users reconnect at once when the link drops.
        const QString state = profile.path() + QStringLiteral("/devserver.json");
        profile.writeFile(QStringLiteral("devserver.json"), "{\"globalPolicies\": \"RCON=0;\"}");
        ClientProcess::prepare(profile, port);
        QProcess server;
        auto startServer = [&] {
            server.start(QStringLiteral(KORVANE_DEVSERVER),
                         {QStringLiteral("--port"), QString::number(port), QStringLiteral("--state"), state});
            QVERIFY(server.waitForStarted(10000));
        };
        auto logOns = [&] {
            QFile log(profile.dataHome() + QStringLiteral("/Korvane/client.log"));
            return log.open(QIODevice::ReadOnly) ? int(log.readAll().count("Sending informations: ")) : 0;
        };
        startServer();
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        qint64 early = 0;
        for (int round = 1; round <= 15; ++round) {
            QTRY_VERIFY_WITH_TIMEOUT(logOns() >= round, 15000);
            if (round == 5)
                early = client.rss();
            server.kill();
            server.waitForFinished(10000);
            startServer();
        }
        QTRY_VERIFY_WITH_TIMEOUT(logOns() >= 16, 15000);
        const qint64 late = client.rss();
        server.kill();
        server.waitForFinished(10000);
        QVERIFY(early > 0);
        // Reconnections leave no trace in memory (a little slack for the allocator).
        QVERIFY2(late - early < 4096, qPrintable(QStringLiteral("%1 KiB then %2 KiB").arg(early).arg(late)));
        QCOMPARE(client.process.state(), QProcess::Running);
    }

    void floodsLeaveTheClientResponsive()
    {
        TempProfile profile;
        FakeServer server;
        ClientProcess::prepare(profile, server.port());
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient(), 15000);

        auto *random = QRandomGenerator::global();
        QByteArray garbage(100000, Qt::Uninitialized);
        for (char &byte : garbage)
            byte = char(random->bounded(256));
        server.sendBytes(garbage);
        // Lists far longer than a frame's worth, and fields that are not what they claim.
        QStringList users;
        for (int i = 0; i < 3000; ++i)
            users << QStringLiteral("u%1").arg(i) + QChar(2) + QString(40, QLatin1Char('x')) + QChar(2) +
                         QStringLiteral("not a date") + QChar(2) + QChar(2) + QStringLiteral("maybe") +
                         QChar(2) + QStringLiteral("NaN");
        for (int part = 0; part < 30; ++part)
            server.send(
                FakeServer::command(QStringLiteral("RUS"), users.mid(part * 100, 100).join(QChar(3))));
        QStringList groups;
        for (int i = 0; i < 5000; ++i)
            groups << QStringLiteral("G%1").arg(i);
        server.send(FakeServer::command(QStringLiteral("UGR"), groups.join(QChar(2)).left(32000)));
        server.send(FakeServer::command(QStringLiteral("MSG"), QString(32000, QChar(2))));
        server.send(FakeServer::command(QStringLiteral("LVL"), QString(30000, QChar(3))));

        // Still answering: a CON after all that is met with USR.
        const qsizetype before = server.received.size();
        server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent")));
        QTRY_VERIFY_WITH_TIMEOUT(server.receivedCodes().mid(before).contains(QStringLiteral("USR")), 5000);
        QCOMPARE(client.process.state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
