// What the real client's tests do not reach of the development server, and its command line.
#include "DevServer.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "link/Encryption.h"
#include "store/DVMessage.h"
#include "support/FakeServer.h"

#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QChar F(2), R(3); // between fields, between records

// The server logs each piece of bad input it drops.
int warnings = 0;
void countWarnings(QtMsgType type, const QMessageLogContext &, const QString &)
{
    warnings += type == QtWarningMsg;
}

// A client that speaks frames and keeps every payload the server sent.
struct TestClient
{
    QTcpSocket socket;
    QStringList received;
    QString userId;
    Encryption codec;

    // Logged on from the machine given, if one is.
    TestClient(quint16 port, const QString &user, const QString &machine = QString()) : userId(user)
    {
        QObject::connect(&socket, &QTcpSocket::readyRead, [this] {
            codec.TCPMsgQueue.Enqueue(socket.readAll());
            for (QString payload = codec.DecryptQ(); !payload.isEmpty(); payload = codec.DecryptQ())
                received.append(payload);
        });
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (!machine.isEmpty())
            send(u"USR"_s, u"UID="_s % userId % u"|MID="_s % machine % u"|USN=Name of "_s % userId %
                               u"|MIP=127.0.0.1|AGN=|LNG=1"_s % F % u"0.1.0"_s);
    }
    void send(const QString &code, const QString &data = QString())
    {
        socket.write(FakeServer::frame(FakeServer::command(code, data) % QChar(0) % userId));
    }
    // Answers come in order, so once the answer to MID is here, all before it is too.
    bool sync()
    {
        const qsizetype ids = all(u"MID"_s).size();
        send(u"MID"_s);
        return QTest::qWaitFor([&] { return all(u"MID"_s).size() > ids; });
    }
    QStringList all(const QString &code) const
    {
        QStringList data;
        for (const QString &payload : received)
            if (payload.section(QChar(1), 0, 0) == code)
                data.append(payload.section(QChar(1), 1));
        return data;
    }
    QString last(const QString &code) const { return all(code).value(all(code).size() - 1); }
};

DVMessage parsed(const QString &text)
{
    DVMessage record;
    record.ToObject(text);
    return record;
}

// The ids of the records of an MSL or PKL batch, sorted.
QStringList idsOf(const QString &batch)
{
    QStringList ids;
    for (const QString &text : batch.split(F, Qt::SkipEmptyParts))
        ids.append(parsed(text).MsgID);
    ids.sort();
    return ids;
}

} // namespace

class TestDevServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(countWarnings); }

    void heldMessagesReceiptsRolesAndBadInput()
    {
        QTemporaryDir dir;
        ServerState state;
        DevServer server{state};
        QString error;
        QVERIFY(state.load(dir.filePath(u"state.json"_s), &error));
        QVERIFY(server.listen(QHostAddress::LocalHost, 0, &error));
        // Records stored as if some client had sent them: live for a week unless told.
        const auto store = [&state](qint16 delivery, bool package = false, int status = 1, int days = 7) {
            DVMessage record = NewMessage::compose(state.newId(), u"carol"_s, QString(), u"Message"_s,
                                                   u"text"_s, Clock::now(), days);
            std::tie(record.MsgDelivery, record.Status) = std::pair(delivery, status);
            record.ExpirationDate = Clock::now().addDays(days);
            state.records.insert(record.MsgID, {record.ToString(), package});
            return record.MsgID;
        };
        const QString certified = store(2), logon = store(1), scheduled = store(3);
        store(0);               // immediate: only for those connected when it came
        store(2, false, 1, -1); // expired
        store(2, false, 0);     // cancelled
        const QString package = store(2, true);
        state.users[u"alice"_s].role = 3;
        state.groups.insert(u"Team"_s, {QString(), Clock::now(), u"carol"_s, {u"ALICE"_s}});

        TestClient alice(server.port(), u"alice"_s, u"m1"_s);
        alice.send(u"ALL"_s);
        QTRY_COMPARE(idsOf(alice.last(u"PKL"_s)), QStringList{package});
        QCOMPARE(alice.last(u"UGR"_s), u"Team"_s);
        QCOMPARE(idsOf(alice.last(u"MSL"_s)), (QStringList{certified, logon, scheduled}));

        // Confirmed on m1: no longer held for alice there, still for her other machine.
        alice.send(u"CMS"_s, certified % F % u"M1"_s);
        QTRY_VERIFY(state.delivered(certified, u"alice"_s, u"m1"_s));
        for (const QString &machine : {u"m1"_s, u"m2"_s}) {
            TestClient again(server.port(), u"alice"_s, machine);
            again.send(u"ALL"_s);
            QTRY_VERIFY(!again.all(u"MSL"_s).isEmpty());
            QCOMPARE(again.last(u"MSL"_s).contains(certified), machine == u"m2"_s);
        }

        // A receipt is offered to its author at each log-on until confirmed.
        TestClient bob(server.port(), u"bob"_s, u"m2"_s);
        bob.send(u"RCP"_s, u"ID1|bob|Bob B|m2|01/02/2026 10:00:00|alice|True"_s.replace(u'|', F));
        QVERIFY(bob.sync());
        for (int logOn = 0; logOn < 3; ++logOn) {
            TestClient author(server.port(), u"alice"_s, u"m1"_s);
            QVERIFY(author.sync());
            QCOMPARE(author.all(u"RCP"_s).isEmpty(), logOn == 2);
            if (logOn == 1) {
                author.send(u"CRC"_s, author.last(u"RCP"_s).section(F, 0, 0) % F);
                QTRY_VERIFY(state.receipts.value(0).confirmed);
            }
        }

        // A repost goes out as resubmitted, is stored live and due again everywhere; so does a delete.
        DVMessage repost =
            NewMessage::compose(certified, u"alice"_s, u"bob"_s, u"Message"_s, u"hello"_s, Clock::now(), 7);
        repost.Status = 5;
        alice.send(u"MSG"_s, certified % F % u"x"_s % F % repost.ToString() % F % u"0"_s);
        QTRY_COMPARE(parsed(bob.last(u"MSG"_s)).Status, 5);
        QCOMPARE(parsed(state.records.value(certified).text).Status, 1);
        QVERIFY(!state.delivered(certified, u"alice"_s, u"m1"_s));
        alice.send(u"MDE"_s, certified);
        QTRY_COMPARE(bob.last(u"MDE"_s), certified);
        QCOMPARE(parsed(state.records.value(certified).text).Status, 3);

        // Roles and others' policies are an administrator's to change, and reach the connected.
        bob.send(u"ADM"_s, u"bob"_s % F % u"3"_s);
        bob.send(u"GPU"_s, u"EXIT;"_s);
        alice.send(u"ADM"_s, u"bob, carol"_s % F % u"2"_s);
        QTRY_COMPARE(bob.all(u"AUT"_s), (QStringList{u"0"_s, u"2"_s}));
        QCOMPARE(state.users.value(u"carol"_s).role, 2);
        alice.send(u"UPU"_s, u"bob"_s % F % u"SEND;"_s);
        QTRY_COMPARE(bob.last(u"POL"_s), u"SEND;"_s);
        QVERIFY(!bob.all(u"POL"_s).contains(u"EXIT;"_s));

        // Groups come and go with their members.
        bob.send(u"KVG"_s, u"ops|Operations||bob|Alice, bob"_s.replace(u'|', F));
        bob.send(u"RPI"_s, u"M"_s);
        QTRY_COMPARE(bob.last(u"RPU"_s), u"Team|ALICE#ops|alice#ops|bob"_s.replace(u'|', F).replace(u'#', R));
        bob.send(u"KVG"_s, u"ops"_s % F % F % F % F);
        QTRY_VERIFY(!state.groups.contains(u"ops"_s));

        // Garbage, a bad header, an unknown code and commands lacking fields: the next frames still read.
        TestClient client(server.port(), u"alice"_s);
        for (const QByteArray &bad : {QByteArray("this is no frame"), QByteArray("kVn\x80\x01", 5)}) {
            const int before = warnings;
            client.socket.write(bad);
            QTRY_VERIFY(warnings > before);
        }
        for (const QString &code : {u"XYZ"_s, u"CMS"_s, u"MSG"_s, u"RCP"_s, u"KVG"_s, u"USR"_s})
            client.send(code);
        QVERIFY(client.sync());
    }

    void commandLine()
    {
        QTemporaryDir dir;
        const QStringList state{u"--state"_s, dir.filePath(u"state.json"_s)}, serve{u"--port"_s, u"0"_s};
        const auto status = [&state](const QStringList &args) {
            QProcess process;
            process.start(QStringLiteral(KORVANE_DEVSERVER_BINARY), state + args);
            return process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit
                       ? process.exitCode()
                       : -1;
        };
        QCOMPARE(status({u"list"_s}), 1); // no server runs on this state
        QProcess server;
        server.start(QStringLiteral(KORVANE_DEVSERVER_BINARY), state + serve);
        QTRY_COMPARE_WITH_TIMEOUT(status({u"list"_s}), 0, 20000);
        // A second server on the same state is refused; orders to nobody and a send without --to fail.
        QCOMPARE(status(serve), 1);
        QCOMPARE(status({u"udp"_s, u"--to"_s, u"nobody"_s, u"REC"_s}), 1);
        QCOMPARE(status({u"send"_s, u"no --to"_s}), 2);
        server.kill();
        server.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestDevServer)
#include "tst_devserver.moc"
