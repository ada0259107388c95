// The development server end to end: its exchanges with test clients in this
// process, and the real binary driven by its own command line.
#include "ClientLink.h"
#include "DevServer.h"
#include "NewMessage.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "link/Encryption.h"
#include "store/DVMessage.h"

#include <QFile>
#include <QNetworkDatagram>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QChar F(2); // fields
const QChar R(3); // records

QStringList warnings;
QtMessageHandler previousHandler = nullptr;

void catchWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg)
        warnings.append(text);
    else
        previousHandler(type, context, text);
}

// A client that speaks frames and keeps every payload the server sent.
class TestClient : public QObject
{
public:
    TestClient(quint16 port, const QString &userId) : m_userId(userId)
    {
        connect(&socket, &QTcpSocket::readyRead, this, [this] {
            m_codec.TCPMsgQueue.Enqueue(socket.readAll());
            for (QString payload = m_codec.DecryptQ(); !payload.isEmpty(); payload = m_codec.DecryptQ())
                received.append(payload);
        });
        socket.connectToHost(QHostAddress::LocalHost, port);
    }

    void send(const QString &code, const QString &data = QString())
    {
        socket.write(
            Encryption().Encrypt(code % (data.isNull() ? QString() : QChar(1) % data) % QChar(0) % m_userId));
    }
    void logOn(const QString &machine)
    {
        send(u"USR"_s, u"UID="_s % m_userId % u"|MID="_s % machine % u"|USN=Name of "_s % m_userId %
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
    QStringList codes() const
    {
        QStringList list;
        for (const QString &payload : received)
            list.append(payload.section(QChar(1), 0, 0));
        return list;
    }

    QTcpSocket socket;
    QStringList received;

private:
    QString m_userId;
    Encryption m_codec;
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
    // Warnings are what the server logs of bad input; each test reads its own.
    void init()
    {
        warnings.clear();
        previousHandler = qInstallMessageHandler(catchWarnings);
    }
    void cleanup() { qInstallMessageHandler(previousHandler); }

    void logOnAndHeldMessages()
    {
        Fixture f;
        const QString certified = f.store(2), logon = f.store(1), scheduled = f.store(3);
        f.store(0);               // immediate: only for those connected when it came
        f.store(2, false, 1, -1); // expired
        f.store(2, false, 0);     // cancelled
        const QString package = f.store(2, true);
        f.state.groups.insert(u"Team"_s, {QString(), Clock::now(), u"carol"_s, {u"ALICE"_s}});

        TestClient alice(f.server.port(), u"alice"_s);
        QTRY_COMPARE(alice.received, QStringList{u"CON"_s % QChar(1) % u"devserver"_s});
        alice.logOn(u"m1"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s));
        QCOMPARE(alice.codes(), (QStringList{u"CON"_s, u"AUT"_s, u"POL"_s, u"LVL"_s, u"UGR"_s}));
        QCOMPARE(alice.last(u"AUT"_s), u"0"_s);
        QCOMPARE(alice.last(u"POL"_s), QString());
        QCOMPARE(alice.last(u"UGR"_s), u"Team"_s);
        // Inbound levels: records by Chr(2), ten fields by Chr(3).
        const QStringList levels = alice.last(u"LVL"_s).split(F);
        QCOMPARE(levels.size(), 6);
        for (const QString &level : levels)
            QCOMPARE(level.split(R).size(), 10);
        QCOMPARE(levels[4].split(R).value(0), u"sysKVReply"_s);
        QCOMPARE(levels[4].split(R).value(9), u"99"_s);
        QCOMPARE(f.state.users.value(u"alice"_s).role, 0);
        QCOMPARE(f.state.machines.value(u"m1"_s).userId, u"alice"_s);

        alice.send(u"ALL"_s);
        QTRY_VERIFY(alice.has(u"PKL"_s));
        QCOMPARE(idsOf(alice.last(u"MSL"_s)), (QStringList{certified, logon, scheduled}));
        QCOMPARE(idsOf(alice.last(u"PKL"_s)), QStringList{package});

        // Confirmed on m1: no longer held for alice there, still for her other machine.
        alice.send(u"CMS"_s, certified % F % u"M1"_s);
        QTRY_VERIFY(f.state.delivered(certified, u"alice"_s, u"m1"_s));
        TestClient again(f.server.port(), u"alice"_s);
        again.logOn(u"m1"_s);
        again.send(u"ALL"_s);
        QTRY_VERIFY(again.has(u"MSL"_s));
        QCOMPARE(idsOf(again.last(u"MSL"_s)), (QStringList{logon, scheduled}));
        TestClient elsewhere(f.server.port(), u"alice"_s);
        elsewhere.logOn(u"m2"_s);
        elsewhere.send(u"ALL"_s);
        QTRY_VERIFY(elsewhere.has(u"MSL"_s));
        QVERIFY(elsewhere.last(u"MSL"_s).contains(certified));
    }

    void idRequests()
    {
        Fixture f;
        TestClient client(f.server.port(), u"alice"_s);
        client.send(u"MID"_s);
        client.send(u"PTI"_s);
        client.send(u"MDU"_s, u"OLD1"_s);
        client.send(u"STR"_s, u"OLD2"_s);
        QTRY_VERIFY(client.has(u"STP"_s));
        const QString id = client.last(u"MID"_s), other = client.last(u"PTI"_s);
        QCOMPARE(id.size(), 14);
        QVERIFY(QRegularExpression(u"^\\d{14}$"_s).match(other).hasMatch());
        QVERIFY(id != other);
        QCOMPARE(client.last(u"MDU"_s).section(F, 0, 0), u"OLD1"_s);
        QCOMPARE(client.last(u"MDU"_s).section(F, 1).size(), 14);
        QCOMPARE(client.last(u"STP"_s).section(F, 0, 0), u"OLD2"_s);
        QVERIFY(!client.has(u"STR"_s));
    }

    void messagesBetweenClients()
    {
        Fixture f;
        TestClient alice(f.server.port(), u"alice"_s), bob(f.server.port(), u"bob"_s);
        alice.logOn(u"m1"_s);
        bob.logOn(u"m2"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s) && bob.has(u"UGR"_s));

        alice.send(u"MSG"_s, u"ID1"_s % F % u"x"_s % F % f.recordText(u"ID1"_s, u"bob"_s) % F % u"0"_s);
        QTRY_VERIFY(bob.has(u"MSG"_s) && alice.has(u"MSG"_s));
        DVMessage got;
        got.ToObject(bob.last(u"MSG"_s));
        QCOMPARE(got.MsgID, u"ID1"_s);
        QCOMPARE(got.Target, u"bob"_s);
        QVERIFY(f.state.records.contains(u"ID1"_s));
        bob.send(u"CMS"_s, u"ID1"_s % F % u"m2"_s);
        QTRY_VERIFY(f.state.delivered(u"ID1"_s, u"bob"_s, u"m2"_s));

        // A repost goes out as resubmitted, is stored live and is due again everywhere.
        alice.send(u"MSG"_s, u"ID1"_s % F % u"x"_s % F % f.recordText(u"ID1"_s, u"bob"_s, 5) % F % u"0"_s);
        QTRY_COMPARE(bob.all(u"MSG"_s).size(), 2);
        got.ToObject(bob.last(u"MSG"_s));
        QCOMPARE(got.Status, 5);
        got.ToObject(f.state.records.value(u"ID1"_s).text);
        QCOMPARE(got.Status, 1);
        QVERIFY(!f.state.delivered(u"ID1"_s, u"bob"_s, u"m2"_s));

        // A reply without a target in its record takes the one of the frame.
        DVMessage reply =
            NewMessage::compose(u"ID2"_s, u"bob"_s, QString(), u"sysKVReply"_s, u"re"_s, Clock::now(), 7);
        bob.send(u"RPL"_s, u"ID2"_s % F % u"x"_s % F % reply.ToString() % F % u"0"_s % F % u"alice"_s);
        QTRY_COMPARE(alice.all(u"MSG"_s).size(), 3);
        got.ToObject(alice.last(u"MSG"_s));
        QCOMPARE(got.MsgLevel, u"sysKVReply"_s);
        QCOMPARE(got.Target, u"alice"_s);

        alice.send(u"PKG"_s, u"ID3"_s % F % u"x"_s % F % f.recordText(u"ID3"_s, QString()) % F % u"1"_s);
        QTRY_VERIFY(bob.has(u"PKG"_s));
        QVERIFY(f.state.records.value(u"ID3"_s).package);

        alice.send(u"MCA"_s, u"ID1"_s);
        QTRY_COMPARE(bob.last(u"MSC"_s), u"0"_s % F % u"ID1"_s);
        alice.send(u"MDE"_s, u"ID1,ID2"_s);
        QTRY_COMPARE(bob.last(u"MDE"_s), u"ID1,ID2"_s);
        got.ToObject(f.state.records.value(u"ID2"_s).text);
        QCOMPARE(got.Status, 3);
    }

    void receiptsReachTheAuthorUntilConfirmed()
    {
        Fixture f;
        auto alice = std::make_unique<TestClient>(f.server.port(), u"alice"_s);
        TestClient bob(f.server.port(), u"bob"_s);
        alice->logOn(u"m1"_s);
        bob.logOn(u"m2"_s);
        QTRY_VERIFY(alice->has(u"UGR"_s) && bob.has(u"UGR"_s));

        bob.send(u"RCP"_s, QStringList{u"ID1"_s, u"bob"_s, u"Bob B"_s, u"m2"_s, u"01/02/2026 10:00:00"_s,
                                       u"alice"_s, u"True"_s}
                               .join(F));
        QTRY_VERIFY(alice->has(u"RCP"_s));
        const QStringList fields = alice->last(u"RCP"_s).split(F);
        QCOMPARE(fields.size(), 8);
        QCOMPARE(fields[0].size(), 14);
        QCOMPARE(fields.mid(1), (QStringList{u"ID1"_s, u"bob"_s, u"Bob B"_s, u"m2"_s,
                                             u"01/02/2026 10:00:00"_s, QString(), u"True"_s}));
        QVERIFY(!bob.has(u"RCP"_s));

        // Offered again at the next log-on, until CRC.
        alice = std::make_unique<TestClient>(f.server.port(), u"alice"_s);
        alice->logOn(u"m1"_s);
        QTRY_VERIFY(alice->has(u"RCP"_s));
        QCOMPARE(alice->last(u"RCP"_s).section(F, 0, 0), fields[0]);
        alice->send(u"CRC"_s, fields[0] % F);
        QTRY_VERIFY(f.state.receipts.value(0).confirmed);
        alice = std::make_unique<TestClient>(f.server.port(), u"alice"_s);
        alice->logOn(u"m1"_s);
        QVERIFY(alice->sync());
        QVERIFY(alice->has(u"AUT"_s));
        QVERIFY(!alice->has(u"RCP"_s));

        alice->send(u"RRC"_s);
        QTRY_VERIFY(alice->has(u"RR_"_s));
        QCOMPARE(alice->all(u"ARC"_s).size(), 1);
        QCOMPARE(alice->last(u"ARC"_s).split(R).size(), 1);
        QCOMPARE(alice->codes().last(), u"RR_"_s);
    }

    void directoriesAndTemplates()
    {
        Fixture f;
        f.state.users[u"alice"_s].role = 3;
        TestClient alice(f.server.port(), u"alice"_s), bob(f.server.port(), u"bob"_s);
        alice.logOn(u"m1"_s);
        bob.logOn(u"m2"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s) && bob.has(u"UGR"_s));

        alice.send(u"RUS"_s, u"G"_s);
        alice.send(u"RMA"_s, u"A"_s);
        QTRY_COMPARE(alice.last(u"RM_"_s), u"A"_s);
        QCOMPARE(alice.last(u"RU_"_s), u"G"_s);
        const QStringList users = alice.last(u"RUS"_s).split(R);
        QCOMPARE(users.size(), 2);
        QCOMPARE(users[1].split(F).value(0), u"bob"_s);
        QCOMPARE(users[1].split(F).value(4), u"True"_s);
        QCOMPARE(alice.last(u"RMA"_s).split(R).value(0).split(F).value(4), u"alice"_s);

        bob.send(u"KVG"_s,
                 QStringList{u"ops"_s, u"Operations"_s, QString(), u"bob"_s, u"Alice, bob"_s}.join(F));
        bob.send(u"RPI"_s, u"M"_s);
        QTRY_COMPARE(bob.last(u"RP_"_s), u"M"_s);
        QCOMPARE(bob.last(u"RPI"_s).split(F).mid(0, 2), (QStringList{u"ops"_s, u"Operations"_s}));
        QCOMPARE(bob.last(u"RPU"_s), u"ops"_s % F % u"alice"_s % R % u"ops"_s % F % u"bob"_s);
        bob.send(u"KVG"_s, u"ops"_s % F % F % F % F);
        QTRY_VERIFY(!f.state.groups.contains(u"ops"_s));

        // Roles are an administrator's to give.
        bob.send(u"ADM"_s, u"bob"_s % F % u"3"_s);
        alice.send(u"ADM"_s, u"bob, carol"_s % F % u"2"_s);
        QTRY_COMPARE(bob.last(u"AUT"_s), u"2"_s);
        QCOMPARE(f.state.users.value(u"carol"_s).role, 2);
        QVERIFY(warnings.join(u'\n').contains(u"ADM refused to bob"_s));
        alice.send(u"RAD"_s);
        QTRY_VERIFY(alice.has(u"RA_"_s));
        QCOMPARE(alice.all(u"RAD"_s),
                 (QStringList{u"alice"_s % F % u"3"_s, u"bob"_s % F % u"2"_s, u"carol"_s % F % u"2"_s}));

        alice.send(u"STP"_s, u"T1"_s % F % f.recordText(u"T1"_s, QString()));
        alice.send(u"TMP"_s);
        QTRY_VERIFY(alice.has(u"TM_"_s));
        QCOMPARE(idsOf(alice.last(u"TMP"_s)), QStringList{u"T1"_s});
        alice.send(u"TDE"_s, u"T1"_s);
        QTRY_VERIFY(f.state.templates.isEmpty());
    }

    void configuration()
    {
        Fixture f;
        f.state.users[u"alice"_s].role = 3;
        TestClient alice(f.server.port(), u"alice"_s), bob(f.server.port(), u"bob"_s);
        alice.logOn(u"m1"_s);
        bob.logOn(u"m2"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s) && bob.has(u"UGR"_s));

        alice.send(u"GPU"_s, u"SEND;LFTM=3;"_s);
        QTRY_COMPARE(bob.all(u"POL"_s).size(), 2);
        QCOMPARE(bob.last(u"POL"_s), u"LFTM=3;SEND;"_s);
        alice.send(u"UPU"_s, u"bob"_s % F % u"EXIT;"_s);
        QTRY_COMPARE(bob.last(u"POL"_s), u"EXIT;"_s);
        alice.send(u"UPR"_s, u"bob"_s);
        alice.send(u"GPR"_s);
        QTRY_VERIFY(alice.has(u"GPL"_s));
        QCOMPARE(alice.last(u"UPR"_s), u"bob"_s % F % u"EXIT;"_s);
        QCOMPARE(alice.last(u"GPL"_s), u"LFTM=3;SEND;"_s);

        const QString port = QString::number(f.server.port());
        alice.send(u"SCR"_s);
        QTRY_COMPARE(alice.last(u"SCR"_s), u"PORT="_s % port % u";UDPP="_s % port % u";"_s);
        alice.send(u"SCU"_s, u"PORT=1;UDPP=2;TRCE;"_s);
        alice.send(u"SCR"_s);
        QTRY_COMPARE(alice.last(u"SCR"_s), u"PORT=1;UDPP=2;TRCE;"_s);

        // The editor's form: fields by Chr(2), records by Chr(3); only changed rows come.
        const QString changed = QStringList{u"Message"_s, u"Info"_s, u"1"_s,    u"2"_s,     u"3"_s,
                                            u"True"_s,    u"0"_s,    QString(), u"False"_s, u"0"_s}
                                    .join(F);
        const QString added = QStringList{u"Critical"_s, u"Bad"_s, u"255"_s,  u"0"_s,    u"0"_s,
                                          u"False"_s,    u"4"_s,   QString(), u"True"_s, u"3"_s}
                                  .join(F);
        bob.send(u"LVL"_s, changed);
        alice.send(u"LVL"_s, changed % R % added);
        QTRY_COMPARE(bob.all(u"LVL"_s).size(), 2);
        const QStringList levels = bob.last(u"LVL"_s).split(F);
        QCOMPARE(levels.size(), 7);
        QCOMPARE(levels[0], QString(changed).replace(F, R));
        QCOMPARE(levels[6].split(R).value(0), u"Critical"_s);
        QCOMPARE(levels[5].split(R).value(0), u"sysKVPackage"_s);
        QVERIFY(warnings.join(u'\n').contains(u"LVL refused to bob"_s));

        bob.send(u"WDG"_s);
        QTRY_VERIFY(bob.has(u"WDG"_s));
    }

    void badInputIsLoggedAndSurvived()
    {
        Fixture f;
        TestClient client(f.server.port(), u"alice"_s);
        QTRY_VERIFY(client.has(u"CON"_s));
        client.socket.write("this is no frame");
        QTRY_VERIFY(warnings.join(u'\n').contains(u"garbage from"_s));
        client.socket.write(QByteArray("kVn\x80\x01", 5));
        QTRY_VERIFY(warnings.join(u'\n').contains(u"bad frame from"_s));
        client.send(u"XYZ"_s, u"data"_s);
        client.send(u"CMS"_s);
        client.send(u"MSG"_s);
        client.send(u"RCP"_s);
        client.send(u"KVG"_s);
        client.send(u"USR"_s);
        QVERIFY(client.sync());
        QVERIFY(warnings.join(u'\n').contains(u"unknown command \"XYZ\""_s));
    }

    void stateSurvivesRestart()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"state.json"_s);
        QString lastId, error;
        {
            ServerState state;
            QVERIFY(state.load(path, &error));
            QVERIFY(state.isNew());
            state.users[u"alice"_s] = {u"Alice A"_s, 2, 1, Clock::now(), u"m1"_s};
            state.groups[u"ops"_s] = {u"Operations"_s, Clock::now(), u"bob"_s, {u"alice"_s}};
            state.records[u"ID1"_s] = {u"MID"_s % R % u"ID1"_s % QChar(4), true};
            state.templates[u"T1"_s] = u"template"_s;
            state.receipts.append(
                {u"R1"_s, u"ID1"_s, u"bob"_s, u"Bob"_s, u"m2"_s, u"date"_s, u"alice"_s, true, false});
            state.recordDelivery(u"ID1"_s, u"bob"_s, u"m2"_s);
            state.userPolicies[u"bob"_s] = u"EXIT;"_s;
            state.levels.removeLast();
            lastId = state.newId();
            QVERIFY(state.save());
        }
        ServerState state;
        QVERIFY(state.load(path, &error));
        QVERIFY(!state.isNew());
        QCOMPARE(state.users.value(u"alice"_s).role, 2);
        QCOMPARE(state.users.value(u"alice"_s).name, u"Alice A"_s);
        QCOMPARE(state.groupsOf(u"alice"_s), QStringList{u"ops"_s});
        QCOMPARE(state.records.value(u"ID1"_s).text, u"MID"_s % R % u"ID1"_s % QChar(4));
        QVERIFY(state.records.value(u"ID1"_s).package);
        QCOMPARE(state.templates.value(u"T1"_s), u"template"_s);
        QCOMPARE(state.receipts.value(0).authorId, u"alice"_s);
        QVERIFY(state.receipts.value(0).notify);
        QVERIFY(state.delivered(u"ID1"_s, u"bob"_s, u"m2"_s));
        QVERIFY(!state.delivered(u"ID1"_s, u"bob"_s, u"m3"_s));
        QCOMPARE(state.policiesOf(u"bob"_s), u"EXIT;"_s);
        QCOMPARE(state.levels.size(), ServerState::defaultLevels().size() - 1);
        QVERIFY(state.newId() > lastId);

        QFile broken(path);
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("{ not json");
        broken.close();
        ServerState unreadable;
        QVERIFY(!unreadable.load(path, &error));
        QVERIFY(!error.isEmpty());
    }

    void commandLine()
    {
        QTemporaryDir dir;
        const QString state = dir.filePath(u"state.json"_s);
        auto run = [&state](const QStringList &args, QString *out = nullptr, QString *err = nullptr) {
            QProcess cli;
            cli.start(QStringLiteral(KORVANE_DEVSERVER_BINARY), QStringList{u"--state"_s, state} + args);
            cli.waitForFinished(20000);
            if (out)
                *out = QString::fromUtf8(cli.readAllStandardOutput());
            if (err)
                *err = QString::fromUtf8(cli.readAllStandardError());
            return cli.exitStatus() == QProcess::NormalExit ? cli.exitCode() : -1;
        };
        struct Server
        {
            QProcess process;
            QString log;
            quint16 port = 0;
            ~Server()
            {
                process.kill();
                process.waitForFinished();
            }
        };
        auto start = [&state](Server &server) {
            QObject::connect(&server.process, &QProcess::readyReadStandardError, &server.process, [&server] {
                server.log += QString::fromUtf8(server.process.readAllStandardError());
            });
            server.process.start(QStringLiteral(KORVANE_DEVSERVER_BINARY),
                                 {u"--state"_s, state, u"--port"_s, u"0"_s});
            const QRegularExpression listening(u"listening on 127.0.0.1 port (\\d+)"_s);
            (void)QTest::qWaitFor(
                [&] {
                    return listening.match(server.log).hasMatch() ||
                           server.process.state() == QProcess::NotRunning;
                },
                20000);
            server.log += QString::fromUtf8(server.process.readAllStandardError());
            if (!listening.match(server.log).hasMatch())
                return false;
            server.port = quint16(listening.match(server.log).captured(1).toUInt());
            return true;
        };

        QString out, err;
        QVERIFY(run({u"list"_s}, nullptr, &err) != 0);
        QVERIFY(err.contains(u"no korvane-devserver runs"_s));
        auto first = std::make_unique<Server>();
        QVERIFY2(start(*first), qPrintable(first->log));
        Server second;
        QVERIFY(!start(second));
        QTRY_COMPARE(second.process.state(), QProcess::NotRunning);
        QVERIFY(second.log.contains(u"another korvane-devserver"_s));

        TestClient alice(first->port, u"alice"_s);
        alice.logOn(u"m1"_s);
        QTRY_VERIFY(alice.has(u"UGR"_s));
        QCOMPARE(
            run({u"send"_s, u"--to"_s, u"alice"_s, u"--level"_s, u"Warning"_s, u"hello"_s, u"world"_s}, &out),
            0);
        QVERIFY(out.contains(u"sent to 1 connected client"_s));
        QTRY_VERIFY(alice.has(u"MSG"_s));
        DVMessage got;
        got.ToObject(alice.last(u"MSG"_s));
        QCOMPARE(got.Message, u"hello world"_s);
        QCOMPARE(got.MsgLevel, u"Warning"_s);
        QCOMPARE(got.Target, u"alice"_s);
        QCOMPARE(got.UserID, u"devserver"_s);
        QVERIFY(DateText::IsZeroDate(got.ExpirationDate) == false && got.ExpirationDate > Clock::now());

        QUdpSocket orders;
        QVERIFY(orders.bind(QHostAddress::LocalHost, first->port));
        QSignalSpy datagram(&orders, &QUdpSocket::readyRead);
        QCOMPARE(run({u"udp"_s, u"--to"_s, u"alice"_s, u"rec"_s}), 0);
        QVERIFY(datagram.count() > 0 || datagram.wait(10000));
        QCOMPARE(orders.receiveDatagram().data(), QByteArray("REC"));
        QVERIFY(run({u"udp"_s, u"--to"_s, u"nobody"_s, u"REC"_s}, nullptr, &err) != 0);
        QVERIFY(err.contains(u"no connected client"_s));
        QVERIFY(run({u"send"_s, u"no --to"_s}) != 0);

        QCOMPARE(run({u"list"_s}, &out), 0);
        QVERIFY(out.contains(u"alice machine m1"_s));
        QVERIFY(out.contains(got.MsgID));

        // Stopped hard and started again: what it stored is still there.
        first.reset();
        Server again;
        QVERIFY2(start(again), qPrintable(again.log));
        QCOMPARE(run({u"list"_s}, &out), 0);
        QVERIFY(out.contains(got.MsgID));
        QVERIFY(out.contains(u"connected clients: 0"_s));
    }
};

QTEST_GUILESS_MAIN(TestDevServer)
#include "tst_devserver.moc"
