// Attacks on the real client binary: killed while records stream in, a server that dies and
// comes back again and again, floods of garbage and of lists far larger than any real one.
#include "support/ClientProcess.h"
#include "support/FakeServer.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTcpServer>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

class TestFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedWhileStreamingOrFloodedLosesNothingConfirmed()
    {
        TempProfile profile;
        FakeServer server;
        ClientProcess::prepare(profile, server.port());
        auto *random = QRandomGenerator::global();
        QStringList records, batches;
        for (int i = 0; i < 5000; ++i)
            records << FakeServer::record(u"F%1"_s.arg(i, 13, 10, QChar(u'0')), u"Stream"_s,
                                          u"Record %1 of the stream"_s.arg(i));
        for (int b = 0; b < 50; ++b)
            batches << FakeServer::command(u"MSG"_s, records.mid(b * 100, 100).join(QChar(2)));
        for (int round = 0; round < 6; ++round) {
            const qsizetype before = server.confirmedIds().size();
            ClientProcess client;
            client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
            QTRY_VERIFY_WITH_TIMEOUT(server.hasClient() && server.connections() == round + 1, 15000);
            server.send(FakeServer::command(u"CON"_s, u"agent"_s));
            // The same records each time: what is stored comes again as an edit, the lost as new.
            server.sendJoined(batches);
            const int wanted = 1 + int(random->bounded(4500));
            QTRY_VERIFY_WITH_TIMEOUT(server.confirmedIds().size() >= before + wanted, 60000);
            client.signal(SIGKILL);
        }
        // Garbage, and lists longer than a frame with fields not what they claim, to a client that stays.
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient() && server.connections() == 7, 15000);

        QByteArray garbage(100000, Qt::Uninitialized);
        for (char &byte : garbage)
            byte = char(random->bounded(256));
        server.sendBytes(garbage);
        const QString user = QString(QString(40, u'x') + u"|not a date||maybe|NaN"_s).replace(u'|', QChar(2));
        QStringList users, groups;
        for (int i = 0; i < 3000; ++i)
            users << u"u%1"_s.arg(i) + QChar(2) + user;
        for (int i = 0; i < 5000; ++i)
            groups << u"G%1"_s.arg(i);
        for (int part = 0; part < 30; ++part)
            server.send(FakeServer::command(u"RUS"_s, users.mid(part * 100, 100).join(QChar(3))));
        server.send(FakeServer::command(u"UGR"_s, groups.join(QChar(2)).left(32000)));
        server.send(FakeServer::command(u"MSG"_s, QString(32000, QChar(2))));
        server.send(FakeServer::command(u"LVL"_s, QString(30000, QChar(3))));

        // Still answering: a CON after all that is met with USR. A slow reader may get the CON in the
        // same read as garbage, which drops it with the rest, so it is sent again until one is heard.
        const qsizetype before = server.received.size();
        const auto answered = [&] { return server.receivedCodes().mid(before).contains(u"USR"_s); };
        for (int attempt = 0; attempt < 30 && !answered(); ++attempt) {
            server.send(FakeServer::command(u"CON"_s, u"agent"_s));
            (void)QTest::qWaitFor(answered, 1000);
        }
        QVERIFY(answered());
        QCOMPARE(client.process.state(), QProcess::Running);
        client.signal(SIGKILL);

        QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s);
        db.setDatabaseName(profile.dataHome() + u"/Korvane/Client.db"_s);
        QVERIFY(db.open());
        QSqlQuery query(u"PRAGMA integrity_check"_s, db);
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), u"ok"_s);
        QSet<QString> ids;
        for (query.exec(u"SELECT MsgID FROM Inbox"_s); query.next();)
            ids.insert(query.value(0).toString());
        for (const QString &id : server.confirmedIds())
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
        const QString state = profile.path() + u"/devserver.json"_s;
        profile.writeFile(u"devserver.json"_s, "{\"globalPolicies\": \"RCON=0;\"}");
        ClientProcess::prepare(profile, port);
        QProcess server;
        auto restartServer = [&] {
            server.kill();
            server.waitForFinished(10000);
            server.start(QStringLiteral(KORVANE_DEVSERVER),
                         {u"--port"_s, QString::number(port), u"--state"_s, state});
            QVERIFY(server.waitForStarted(10000));
        };
        restartServer();
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        // A logon counts once the server's policies are in: a server killed before they come leaves
        // the client on its own reconnect pace, a minute a tick, and not at once.
        const auto logOns = [&client] { return client.log().count(u"New global policies"_s); };
        qint64 early = 0;
        for (int round = 1; round <= 15; ++round) {
            QTRY_VERIFY_WITH_TIMEOUT(logOns() >= round, 15000);
            if (round == 5)
                early = client.rss();
            restartServer();
        }
        QTRY_VERIFY_WITH_TIMEOUT(logOns() >= 16, 15000);
        const qint64 late = client.rss();
        server.kill();
        server.waitForFinished(10000);
        QVERIFY(early > 0);
        // Reconnections leave no trace in memory (a little slack for the allocator).
        QVERIFY2(late - early < 4096, qPrintable(u"%1 KiB then %2 KiB"_s.arg(early).arg(late)));
        QCOMPARE(client.process.state(), QProcess::Running);
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
