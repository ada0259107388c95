// What of the development server the real client's tests do not reach: what
// it holds back, relays and refuses, and its command line.
#include "ClientLink.h"
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

const QChar F(2); // fields
const QChar R(3); // records

// What the server logs of bad input; each test reads its own.
QStringList warnings;
void catchWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtWarningMsg)
        warnings.append(text);
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
            logOn(machine);
    }
    void send(const QString &code, const QString &data = QString())
    {
        socket.write(FakeServer::frame(FakeServer::command(code, data) % QChar(0) % userId));
    }
    void logOn(const QString &machine)
    {
        send(u"USR"_s, u"UID="_s % userId % u"|MID="_s % machine % u"|USN=Name of "_s % userId %
                           u"|MIP=127.0.0.1|AGN=|LNG=1"_s % F % u"0.1.0"_s);
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
    bool has(const QString &code) const { return !all(code).isEmpty(); }
    QString last(const QString &code) const { return all(code).value(all(code).size() - 1); }
};

// The ids of the records of an MSL, MSG or ALM batch.
QStringList idsOf(const QString &batch)
{
    QStringList ids;
    for (const QString &text : batch.split(F, Qt::SkipEmptyParts)) {
        DVMessage record;
        record.ToObject(text);
        ids.append(record.MsgID);
    }
    ids.sort();
    return ids;
}

struct Fixture
{
    QTemporaryDir dir;
    ServerState state;
    DevServer server{state};

    Fixture()
    {
        QString error;
        state.load(dir.filePath(u"state.json"_s), &error);
        server.listen(QHostAddress::LocalHost, 0, &error);
    }
    // A live record stored as if some client had sent it.
    QString store(qint16 delivery, bool package = false, int status = 1, int lifetimeDays = 7)
    {
        DVMessage record = NewMessage::compose(state.newId(), u"carol"_s, QString(), u"Message"_s, u"text"_s,
                                               Clock::now(), lifetimeDays);
        record.MsgDelivery = delivery;
        record.Status = status;
        if (lifetimeDays < 0)
            record.ExpirationDate = Clock::now().addDays(lifetimeDays);
        state.records.insert(record.MsgID, {record.ToString(), package});
        return record.MsgID;
    }
    QString recordText(const QString &id, const QString &to, int status = 1) const
    {
        DVMessage record = NewMessage::compose(id, u"alice"_s, to, u"Message"_s, u"hello"_s, Clock::now(), 7);
        record.Status = status;
        return record.ToString();
    }
};

} // namespace

class TestDevServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(catchWarnings); }
    void init() { warnings.clear(); }

    void heldMessagesReceiptsRolesAndBadInput()
    {
        Fixture f;
        const QString certified = f.store(2), logon = f.store(1), scheduled = f.store(3);
        f.store(0);               // immediate: only for those connected when it came
        f.store(2, false, 1, -1); // expired
        f.store(2, false, 0);     // cancelled
        const QString package = f.store(2, true);
        f.state.users[u"alice"_s].role = 3;
        f.state.groups.insert(u"Team"_s, {QString(), Clock::now(), u"carol"_s, {u"ALICE"_s}});

        TestClient alice(f.server.port(), u"alice"_s, u"m1"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s));
        QCOMPARE(alice.last(u"UGR"_s), u"Team"_s);
        alice.send(u"ALL"_s);
        QTRY_VERIFY(alice.has(u"PKL"_s));
        QCOMPARE(idsOf(alice.last(u"MSL"_s)), (QStringList{certified, logon, scheduled}));
        QCOMPARE(idsOf(alice.last(u"PKL"_s)), QStringList{package});

        // Confirmed on m1: no longer held for alice there, still for her other machine.
        alice.send(u"CMS"_s, certified % F % u"M1"_s);
        QTRY_VERIFY(f.state.delivered(certified, u"alice"_s, u"m1"_s));
        for (const QString &machine : {u"m1"_s, u"m2"_s}) {
            TestClient again(f.server.port(), u"alice"_s, machine);
            again.send(u"ALL"_s);
            QTRY_VERIFY(again.has(u"MSL"_s));
            QCOMPARE(again.last(u"MSL"_s).contains(certified), machine == u"m2"_s);
        }

        // A receipt is offered to its author at each log-on until confirmed.
        TestClient bob(f.server.port(), u"bob"_s, u"m2"_s);
        bob.send(u"RCP"_s, QStringList{u"ID1"_s, u"bob"_s, u"Bob B"_s, u"m2"_s, u"01/02/2026 10:00:00"_s,
                                       u"alice"_s, u"True"_s}
                               .join(F));
        QVERIFY(bob.sync());
        for (int logOn = 0; logOn < 3; ++logOn) {
            TestClient author(f.server.port(), u"alice"_s, u"m1"_s);
            QVERIFY(author.sync());
            QCOMPARE(author.has(u"RCP"_s), logOn < 2);
            if (logOn == 1) {
                author.send(u"CRC"_s, author.last(u"RCP"_s).section(F, 0, 0) % F);
                QTRY_VERIFY(f.state.receipts.value(0).confirmed);
            }
        }

        // Messages between clients; what only an administrator may do is refused
        // to others, and logged.
        alice.send(u"MSG"_s, u"ID1"_s % F % u"x"_s % F % f.recordText(u"ID1"_s, u"bob"_s) % F % u"0"_s);
        QTRY_VERIFY(bob.has(u"MSG"_s));
        bob.send(u"CMS"_s, u"ID1"_s % F % u"m2"_s);
        QTRY_VERIFY(f.state.delivered(u"ID1"_s, u"bob"_s, u"m2"_s));

        // A repost goes out as resubmitted, is stored live and is due again everywhere.
        alice.send(u"MSG"_s, u"ID1"_s % F % u"x"_s % F % f.recordText(u"ID1"_s, u"bob"_s, 5) % F % u"0"_s);
        QTRY_COMPARE(bob.all(u"MSG"_s).size(), 2);
        DVMessage got;
        got.ToObject(bob.last(u"MSG"_s));
        QCOMPARE(got.Status, 5);
        got.ToObject(f.state.records.value(u"ID1"_s).text);
        QCOMPARE(got.Status, 1);
        QVERIFY(!f.state.delivered(u"ID1"_s, u"bob"_s, u"m2"_s));

        alice.send(u"MDE"_s, u"ID1"_s);
        QTRY_COMPARE(bob.last(u"MDE"_s), u"ID1"_s);
        got.ToObject(f.state.records.value(u"ID1"_s).text);
        QCOMPARE(got.Status, 3);

        // Roles and others' policies are an administrator's to change.
        bob.send(u"ADM"_s, u"bob"_s % F % u"3"_s);
        bob.send(u"GPU"_s, u"EXIT;"_s);
        alice.send(u"ADM"_s, u"bob, carol"_s % F % u"2"_s);
        QTRY_COMPARE(bob.last(u"AUT"_s), u"2"_s);
        QCOMPARE(f.state.users.value(u"carol"_s).role, 2);
        alice.send(u"UPU"_s, u"bob"_s % F % u"SEND;"_s);
        QTRY_COMPARE(bob.last(u"POL"_s), u"SEND;"_s);
        QVERIFY(!bob.all(u"POL"_s).contains(u"EXIT;"_s));
        QVERIFY(warnings.join(u'\n').contains(u"ADM refused to bob"_s));

        // Groups come and go with their members.
        bob.send(u"KVG"_s,
                 QStringList{u"ops"_s, u"Operations"_s, QString(), u"bob"_s, u"Alice, bob"_s}.join(F));
        bob.send(u"RPI"_s, u"M"_s);
        QTRY_COMPARE(bob.last(u"RPU"_s), u"Team"_s % F % u"ALICE"_s % R % u"ops"_s % F % u"alice"_s % R %
                                             u"ops"_s % F % u"bob"_s);
        bob.send(u"KVG"_s, u"ops"_s % F % F % F % F);
        QTRY_VERIFY(!f.state.groups.contains(u"ops"_s));

        // Bad input is logged and survived.
        TestClient client(f.server.port(), u"alice"_s);
        QTRY_VERIFY(client.has(u"CON"_s));
        client.socket.write("this is no frame");
        QTRY_VERIFY(warnings.join(u'\n').contains(u"garbage from"_s));
        client.socket.write(QByteArray("kVn\x80\x01", 5));
        QTRY_VERIFY(warnings.join(u'\n').contains(u"bad frame from"_s));
        for (const QString &code : {u"XYZ"_s, u"CMS"_s, u"MSG"_s, u"RCP"_s, u"KVG"_s, u"USR"_s})
            client.send(code);
        QVERIFY(client.sync());
        QVERIFY(warnings.join(u'\n').contains(u"unknown command \"XYZ\""_s));
    }

    void commandLine()
    {
        QTemporaryDir dir;
        const QStringList state{u"--state"_s, dir.filePath(u"state.json"_s)};
        const QStringList serve{u"--port"_s, u"0"_s};
        QString out;
        // A server runs until its log says where it listens (-1), a command to its end.
        const auto run = [&state, &serve, &out](QProcess &process, const QStringList &args) {
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(QStringLiteral(KORVANE_DEVSERVER_BINARY), state + args);
            out.clear();
            (void)QTest::qWaitFor(
                [&] {
                    out += QString::fromUtf8(process.readAll());
                    return (args == serve && out.contains(u"listening on 127.0.0.1 port"_s)) ||
                           process.state() == QProcess::NotRunning;
                },
                20000);
            out += QString::fromUtf8(process.readAll());
            if (process.state() == QProcess::Running)
                return -1;
            return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
        };
        const auto command = [&run](const QStringList &args) {
            return run(*std::make_unique<QProcess>(), args);
        };

        QVERIFY(command({u"list"_s}) != 0);
        QVERIFY(out.contains(u"no korvane-devserver runs"_s));
        QProcess first, second;
        QCOMPARE(run(first, serve), -1);
        QVERIFY(run(second, serve) > 0);
        QVERIFY(out.contains(u"another korvane-devserver"_s));
        QCOMPARE(command({u"send"_s, u"--to"_s, u"alice"_s, u"hello"_s}), 0);
        QVERIFY(command({u"udp"_s, u"--to"_s, u"nobody"_s, u"REC"_s}) != 0);
        QVERIFY(out.contains(u"no connected client"_s));
        QVERIFY(command({u"send"_s, u"no --to"_s}) != 0);

        first.kill();
        first.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestDevServer)
#include "tst_devserver.moc"
