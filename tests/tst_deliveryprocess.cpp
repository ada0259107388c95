// The real client binary takes records from a server on loopback: each is
// confirmed in batch order, stored as its branch says, and none that the
// server saw confirmed is lost when the client is killed.
#include "store/DVMessage.h"
#include "store/MessageCodes.h"
#include "support/ClientProcess.h"
#include "support/FakeServer.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <csignal>

namespace {

QString record(const QString &id, const QString &target = QString(), const QString &agent = QString())
{
    return FakeServer::record(id, QStringLiteral("About ") + id, QStringLiteral("Text of ") + id, target,
                              agent);
}

QSet<QString> storedIds(const QString &file)
{
    QSet<QString> ids;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
        db.setDatabaseName(file);
        if (db.open()) {
            QSqlQuery rows(QStringLiteral("SELECT MsgID FROM Inbox"), db);
            while (rows.next())
                ids.insert(rows.value(0).toString());
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("reader"));
    return ids;
}

} // namespace

class TestDeliveryProcess : public QObject
{
    Q_OBJECT

private:
private Q_SLOTS:
    void batchConfirmedInOrderAndStored()
    {
        TempProfile profile;
        FakeServer server;
        ClientProcess::prepare(profile, server.port());
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient(), 10000);
        server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-1")));
        QTRY_COMPARE_WITH_TIMEOUT(server.received.size(), 2, 10000);

        const QStringList batch = {
            record(QStringLiteral("A")), record(QStringLiteral("B"), QStringLiteral("someone")),
            record(QStringLiteral("C")), record(QStringLiteral("D"), QString(), QStringLiteral("agent-2")),
            record(QStringLiteral("E"))};
        server.send(FakeServer::command(QStringLiteral("MSG"), batch.join(QChar(2))));
        QTRY_COMPARE_WITH_TIMEOUT(
            server.confirmedIds(),
            (QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C"), QStringLiteral("D")}),
            10000);
        // Each confirmation names this machine.
        const QString cms = server.received[2];
        QVERIFY(cms.startsWith(QStringLiteral("CMS") + QChar(1) + QStringLiteral("A") + QChar(2)));
        client.signal(SIGTERM);

        const QSet<QString> ids = storedIds(profile.dataHome() + QStringLiteral("/Korvane/Client.db"));
        QCOMPARE(ids, (QSet<QString>{QStringLiteral("A"), QStringLiteral("C")}));
    }

    void killedWhileStreamingLosesNothingConfirmed()
    {
        TempProfile profile;
        FakeServer server;
        ClientProcess::prepare(profile, server.port());
        auto *random = QRandomGenerator::global();
        int next = 0;
        for (int round = 0; round < 3; ++round) {
            const qsizetype before = server.confirmedIds().size();
            ClientProcess client;
            client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
            QTRY_VERIFY_WITH_TIMEOUT(server.hasClient(), 10000);
            server.send(FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-1")));
            // Thousands of records in batches of a hundred, then a kill at a random moment.
            for (int batchNo = 0; batchNo < 30; ++batchNo) {
                QStringList batch;
                for (int i = 0; i < 100; ++i)
                    batch << record(QStringLiteral("R%1").arg(next++));
                server.send(FakeServer::command(QStringLiteral("MSG"), batch.join(QChar(2))));
            }
            const int wanted = 1 + int(random->bounded(2500));
            QTRY_VERIFY_WITH_TIMEOUT(server.confirmedIds().size() >= before + wanted, 30000);
            client.signal(SIGKILL);
            QTRY_VERIFY(!server.hasClient());
        }

        // After a restart, every record the server saw confirmed is in the store.
        ClientProcess last;
        last.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient(), 10000);
        last.signal(SIGTERM);
        const QSet<QString> ids = storedIds(profile.dataHome() + QStringLiteral("/Korvane/Client.db"));
        const QStringList confirmed = server.confirmedIds();
        QVERIFY(!confirmed.isEmpty());
        for (const QString &id : confirmed)
            QVERIFY2(ids.contains(id), qPrintable(id));
    }
};

QTEST_GUILESS_MAIN(TestDeliveryProcess)
#include "tst_deliveryprocess.moc"
