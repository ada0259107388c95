// Intake, targeting and replication over a real store, with the banner and
// the console replaced by the recorder.
#include "core/Failure.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "delivery/MessageIntake.h"
#include "delivery/Receipts.h"
#include "delivery/Replication.h"
#include "delivery/Targeting.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QTest>

namespace {

const QString Me = QStringLiteral("jdoe");
const QString MyMachine = QStringLiteral("ws-7");
const QString MyAddress = QStringLiteral("10.0.5.7");

QString logText()
{
    QFile file(LogFile::path());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestIntake : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        TempProfile profile;
        FakeClock clock{FakeClock::at(2026, 11, 23, 10, 0, 0)};
        RecordingFrontend frontend;
        QStringList sent;
        Replication replication{[this](const QString &p) {
            sent << p;
            return true;
        }};
        MessageIntake intake{[this](const QString &p) {
                                 sent << p;
                                 return true;
                             },
                             [] { return MyAddress; }, replication};
        Receipts receipts{[this](const QString &p) {
            sent << p;
            return true;
        }};

        Fixture()
        {
            gProcess().AppDataPath = profile.dataHome();
            UserInfos user(Me);
            user.setMachineID(MyMachine);
            user.Agent = QStringLiteral("agent-1");
            ReplaceUserInfos(user);
            InitializeDB(profile.dataHome());
        }
        ~Fixture()
        {
            ClientDB().close();
            TempDB().close();
        }
    };

    // A record as the server writes it.
    static QString record(const QString &id, const QString &target = QString(),
                          const QString &extra = QString())
    {
        DVMessage m;
        m.MsgID = id;
        m.Subject = QStringLiteral("About ") + id;
        m.Message = QStringLiteral("Text of ") + id;
        m.MsgLevel = QStringLiteral("Warning");
        m.UserID = QStringLiteral("author");
        m.UserName = QStringLiteral("The Author");
        m.MachineID = QStringLiteral("ws-1");
        m.Target = target;
        m.ReceiptRequired = true;
        m.DeleteAtExpiration = true;
        m.Status = StatusActive;
        m.CreationDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
        m.StartDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
        m.ExpirationDate = FakeClock::at(2026, 12, 1, 0, 0, 0);
        return m.ToString() + extra;
    }

    static QString tagged(const QString &text, const QString &tag, const QString &value)
    {
        return text + tag + QChar(3) + value + QChar(4);
    }

    static QString cms(const QString &id)
    {
        return QStringLiteral("CMS") + QChar(1) + id + QChar(2) + MyMachine;
    }

    static QString batch(const QStringList &records) { return records.join(QChar(2)); }

    // Every table of both stores with its row count.
    static QStringList rowCounts()
    {
        QStringList counts;
        for (Database *db : {&ClientDB(), &TempDB()}) {
            QStringList tables;
            QSqlQuery *names =
                db->query(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'"));
            while (names && names->next())
                tables << names->value(0).toString();
            for (const QString &table : tables) {
                QSqlQuery *rows = db->query(QStringLiteral("SELECT count(*) FROM ") + table);
                counts << table + QLatin1Char('=') +
                              (rows && rows->next() ? rows->value(0).toString() : QString());
            }
        }
        return counts;
    }

private Q_SLOTS:
    void batchWithEveryBranch()
    {
        Fixture f;
        const QString expired =
            tagged(record(QStringLiteral("E")), QStringLiteral("DLV"), QStringLiteral("3"))
                .replace(DateText::DateToText(FakeClock::at(2026, 12, 1, 0, 0, 0)),
                         DateText::DateToText(FakeClock::at(2026, 11, 22, 0, 0, 0)));
        QString own = record(QStringLiteral("F"));
        own.replace(QStringLiteral("UID") + QChar(3) + QStringLiteral("author"),
                    QStringLiteral("UID") + QChar(3) + Me);
        f.intake.MessageReceived(
            batch({record(QStringLiteral("A")),
                   record(QStringLiteral("B"), QStringLiteral("someone,other-pc")),
                   record(QStringLiteral("C"), QStringLiteral("someone,JDOE")),
                   tagged(record(QStringLiteral("D")), QStringLiteral("DLV"), QStringLiteral("1")), expired,
                   own, tagged(record(QStringLiteral("G")), QStringLiteral("AGN"), QStringLiteral("agent-2")),
                   record(QStringLiteral("H"))}),
            false);

        // A confirmation per record in batch order, the other agent's included,
        // and nothing for what comes behind it.
        QCOMPARE(f.sent,
                 (QStringList{cms(QStringLiteral("A")), cms(QStringLiteral("B")), cms(QStringLiteral("C")),
                              cms(QStringLiteral("D")), cms(QStringLiteral("E")), cms(QStringLiteral("F")),
                              cms(QStringLiteral("G"))}));
        QCOMPARE(f.frontend.displayed,
                 (QStringList{QStringLiteral("A"), QStringLiteral("C"), QStringLiteral("F")}));
        Database &client = ClientDB();
        for (const QString &id : {QStringLiteral("A"), QStringLiteral("C"), QStringLiteral("D"),
                                  QStringLiteral("E"), QStringLiteral("F")})
            QVERIFY2(MessageExist(client, QStringLiteral("Inbox"), id), qPrintable(id));
        for (const QString &id : {QStringLiteral("B"), QStringLiteral("G"), QStringLiteral("H")})
            QVERIFY2(!MessageExist(client, QStringLiteral("Inbox"), id), qPrintable(id));
        const DVMessage e = GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("E"));
        QCOMPARE(e.Status, qint32(StatusExpired));
        QCOMPARE(e.MsgAction, qint32(ActionDone));
        QVERIFY(MessageExist(client, QStringLiteral("Outbox"), QStringLiteral("F")));
        QVERIFY(!MessageExist(client, QStringLiteral("Outbox"), QStringLiteral("A")));

        // A logon delivery is shown when the batch is a logon batch.
        f.intake.MessageReceived(
            tagged(record(QStringLiteral("L")), QStringLiteral("DLV"), QStringLiteral("1")), true);
        QCOMPARE(f.frontend.displayed.last(), QStringLiteral("L"));
    }

    // An empty list holds no record: nothing is stored, shown, sent or logged.
    void emptyListsHoldNothing_data()
    {
        QTest::addColumn<QString>("handler");
        QTest::addColumn<QString>("payload");
        for (const char *handler : {"MSG", "MSL", "PKG", "PKL", "ALM", "RUS", "RMA", "RPI", "RPU", "UGR",
                                    "StoreLevels", "TMP", "TemplatesReceived", "MDE", "PDE", "RCP", "ARC"})
            QTest::newRow(handler) << QString::fromLatin1(handler) << QString();
        QTest::newRow("MSG lone separator") << QStringLiteral("MSG") << QString(QChar(2));
        QTest::newRow("UGR lone separator") << QStringLiteral("UGR") << QString(QChar(2));
        QTest::newRow("MDE lone comma") << QStringLiteral("MDE") << QStringLiteral(",");
        QTest::newRow("RCP lone separator") << QStringLiteral("RCP") << QString(QChar(3));
        QTest::newRow("RAD without user") << QStringLiteral("RAD") << QChar(2) + QStringLiteral("3");
        QTest::newRow("MSC without ID") << QStringLiteral("MSC") << QStringLiteral("3") + QChar(2);
        QTest::newRow("PSC without ID") << QStringLiteral("PSC") << QStringLiteral("3") + QChar(2);
    }

    void emptyListsHoldNothing()
    {
        QFETCH(QString, handler);
        QFETCH(QString, payload);
        Fixture f;
        gSession().AdminsLoaded = gSession().AllMessagesLoaded = true;
        f.intake.MessageReceived(record(QStringLiteral("A")), false);
        f.sent.clear();
        f.frontend.events.clear();
        const QStringList before = rowCounts();
        const QString log = logText();

        Failure failure;
        Replication &r = f.replication;
        const QHash<QString, std::function<void()>> handlers = {
            {QStringLiteral("MSG"), [&] { f.intake.MessageReceived(payload, false); }},
            {QStringLiteral("MSL"), [&] { f.intake.MessageReceived(payload, true); }},
            {QStringLiteral("PKG"), [&] { f.intake.PackageReceived(payload, false); }},
            {QStringLiteral("PKL"), [&] { f.intake.PackageReceived(payload, true); }},
            {QStringLiteral("ALM"), [&] { f.intake.AllMessageReceived(payload); }},
            {QStringLiteral("RUS"), [&] { r.UsersReceived(payload); }},
            {QStringLiteral("RMA"), [&] { r.MachinesReceived(payload); }},
            {QStringLiteral("RPI"), [&] { r.GroupsReceived(payload); }},
            {QStringLiteral("RPU"), [&] { r.UsersGroupReceived(payload); }},
            {QStringLiteral("UGR"), [&] { r.UserGroupsReceived(payload); }},
            {QStringLiteral("StoreLevels"), [&] { r.StoreLevels(payload); }},
            {QStringLiteral("RAD"), [&] { r.StoreAdministrator(payload, failure); }},
            {QStringLiteral("TMP"), [&] { r.TemplateReceived(payload); }},
            {QStringLiteral("TemplatesReceived"), [&] { r.TemplatesReceived(payload); }},
            {QStringLiteral("MDE"), [&] { r.MessagesDeleted(payload); }},
            {QStringLiteral("PDE"), [&] { r.PackagesDeleted(payload); }},
            {QStringLiteral("MSC"), [&] { r.MessageStatusChanged(payload, failure); }},
            {QStringLiteral("PSC"), [&] { r.PackageStatusChanged(payload, failure); }},
            {QStringLiteral("RCP"), [&] { f.receipts.GetReceipt(payload); }},
            {QStringLiteral("ARC"), [&] { f.receipts.GetAdminReceipt(payload); }},
        };
        handlers.value(handler)();

        QVERIFY(!failure.isSet());
        QCOMPARE(f.sent, QStringList());
        QCOMPARE(f.frontend.events, QStringList());
        QCOMPARE(f.frontend.onDisplay, QStringList{QStringLiteral("A")});
        QCOMPARE(rowCounts(), before);
        QCOMPARE(logText(), log);
    }

    void editsOfStoredMessages()
    {
        Fixture f;
        f.intake.MessageReceived(record(QStringLiteral("M")), false);
        QCOMPARE(f.frontend.displayed, QStringList{QStringLiteral("M")});
        const DVMessage first = GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M"));

        // Only the expiration and modification dates differ: nothing changes.
        QString later = record(QStringLiteral("M"));
        later.replace(DateText::DateToText(FakeClock::at(2026, 12, 1, 0, 0, 0)),
                      DateText::DateToText(FakeClock::at(2027, 1, 1, 0, 0, 0)));
        f.intake.MessageReceived(
            tagged(later, QStringLiteral("MOD"), DateText::DateToText(FakeClock::at(2026, 11, 23, 9, 30, 0))),
            false);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")).ExpirationDate,
                 first.ExpirationDate);
        QVERIFY(logText().isEmpty() || !logText().contains(QStringLiteral("Unable")));

        // An edit while on display replaces it on the banner, schedule kept.
        QString edited = record(QStringLiteral("M"));
        edited.replace(QStringLiteral("Text of M"), QStringLiteral("New text"));
        f.intake.MessageReceived(edited, false);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")).Message,
                 QStringLiteral("New text"));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("undisplay")),
                 QStringList{QStringLiteral("undisplay M")});
        QCOMPARE(f.frontend.displayed.size(), 2);

        // Status 1 received for a finished row keeps it finished.
        ChangeMessageStatus(ClientDB(), QStringLiteral("M"), StatusFinished, QStringLiteral("Inbox"));
        f.intake.MessageReceived(edited, false);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")).Status,
                 qint32(StatusFinished));

        // Cancelled by the author: withdrawn from the banner.
        f.intake.MessageReceived(tagged(edited, QStringLiteral("STA"), QStringLiteral("0")), false);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")).Status,
                 qint32(StatusCancelled));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("undisplay")).size(), 2);

        // Resubmitted: taken as new and shown again with status 1.
        f.intake.MessageReceived(tagged(edited, QStringLiteral("STA"), QStringLiteral("5")), false);
        QCOMPARE(f.frontend.displayed.size(), 3);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")).Status,
                 qint32(StatusActive));

        // Deleted by the author: gone from the receiver, kept as deleted by the author.
        f.intake.MessageReceived(tagged(edited, QStringLiteral("STA"), QStringLiteral("3")), false);
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M")));
    }

    void groupsAndLeavingTheTarget()
    {
        Fixture f;
        gProcess().CurrentList = 1;
        f.intake.MessageReceived(record(QStringLiteral("G1"), QStringLiteral("ops")), false);
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("G1")));

        f.replication.UserGroupsReceived(QStringLiteral("OPS") + QChar(2) + QStringLiteral("sales"));
        f.intake.MessageReceived(record(QStringLiteral("G1"), QStringLiteral("ops")), false);
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("G1")));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("add 1")), QStringList{QStringLiteral("add 1 G1")});

        // The target changes away from us: the stored copy goes, and the open list hears of it.
        f.intake.MessageReceived(record(QStringLiteral("G1"), QStringLiteral("finance")), false);
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("G1")));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("del 1")), QStringList{QStringLiteral("del 1 G1")});

        // A second list in capitals fails on the key, and says so.
        f.replication.UserGroupsReceived(QStringLiteral("OPS"));
        QVERIFY(logText().contains(QStringLiteral("frmKorvanClient:UserGroupsReceived - ")));
    }

    void consoleCopiesAndPackages()
    {
        Fixture f;
        gSession().AdminsLoaded = true;
        gProcess().CurrentList = 4;
        f.intake.MessageReceived(record(QStringLiteral("X"), QStringLiteral("someone")), false);
        QVERIFY(MessageExist(TempDB(), QStringLiteral("Outbox"), QStringLiteral("X")));
        QCOMPARE(f.frontend.events.filter(QStringLiteral("add 4")), QStringList{QStringLiteral("add 4 X")});

        UserInfos postmaster(Me);
        postmaster.setMachineID(MyMachine);
        postmaster.setMyAuthority(UserInfos::RolePostmaster);
        ReplaceUserInfos(postmaster);
        f.sent.clear();
        const QString package =
            tagged(record(QStringLiteral("P")), QStringLiteral("LVL"), QStringLiteral("sysKVPackage"));
        f.intake.PackageReceived(package, false);
        QCOMPARE(f.sent,
                 QStringList{QStringLiteral("CPK") + QChar(1) + QStringLiteral("P") + QChar(2) + MyMachine});
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("InPkg"), QStringLiteral("P")));
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("OutPkg"), QStringLiteral("P")));
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("InPkg"), QStringLiteral("P")).NextRunDate,
                 FakeClock::at(2026, 11, 23, 9, 0, 0));

        f.intake.PackageReceived(tagged(package, QStringLiteral("STA"), QStringLiteral("3")), false);
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("InPkg"), QStringLiteral("P")));
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("OutPkg"), QStringLiteral("P")).Status,
                 qint32(StatusDeleted));

        f.intake.AllMessageReceived(batch({record(QStringLiteral("Y")), record(QStringLiteral("Z"))}));
        QVERIFY(MessageExist(TempDB(), QStringLiteral("Outbox"), QStringLiteral("Z")));
    }

    void statusChanges()
    {
        Fixture f;
        f.intake.MessageReceived(record(QStringLiteral("S")), false);
        f.sent.clear();
        Failure failure;
        f.replication.MessageStatusChanged(QStringLiteral("3") + QChar(2) + QStringLiteral("S"), failure);
        QVERIFY(!failure.isSet());
        QCOMPARE(f.sent, QStringList{cms(QStringLiteral("S"))});
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("S")));
        // After that the same id counts as new.
        f.intake.MessageReceived(record(QStringLiteral("S")), false);
        QCOMPARE(f.frontend.displayed.size(), 2);

        f.replication.MessageStatusChanged(QStringLiteral("3"), failure);
        QVERIFY(failure.isSet());

        // A packager's package status also goes to a table Temp.db lacks: logged.
        UserInfos packager(Me);
        packager.setMyAuthority(UserInfos::RolePackager);
        ReplaceUserInfos(packager);
        Failure packageFailure;
        f.replication.PackageStatusChanged(QStringLiteral("4") + QChar(2) + QStringLiteral("P9"),
                                           packageFailure);
        QVERIFY(!packageFailure.isSet());
        QVERIFY(logText().contains(QStringLiteral("DBFunctions:UpdateStatus - ")));
    }

    void targeting_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("member");
        QTest::newRow("everyone") << QString() << true;
        QTest::newRow("user in capitals") << QStringLiteral("alice,JDoe") << true;
        QTest::newRow("blank after comma") << QStringLiteral("alice, jdoe") << false;
        QTest::newRow("machine") << QStringLiteral("WS-7") << true;
        QTest::newRow("address") << QStringLiteral("10.0.5.7") << true;
        QTest::newRow("range holds") << QStringLiteral("10.0.0.1-10.0.9.254") << true;
        QTest::newRow("range misses by position") << QStringLiteral("10.0.4.1-10.0.6.6") << false;
        QTest::newRow("bound of three numbers") << QStringLiteral("10.0.5-10.0.6.9") << false;
        QTest::newRow("three pieces is no range") << QStringLiteral("10.0.5.1-10.0.5.8-x") << false;
        QTest::newRow("stranger") << QStringLiteral("alice,bob") << false;
    }

    void targeting()
    {
        QFETCH(QString, target);
        QFETCH(bool, member);
        Fixture f;
        QCOMPARE(Targeting::MemberOfTarget(target, MyAddress), member);
    }

    void orderedRangeAndPersonalGroups()
    {
        Fixture f;
        // The box test misses 10.0.5.200 between 10.0.5.1 and 10.0.6.9; the ordered one holds it.
        QVERIFY(
            !Targeting::MemberOfTarget(QStringLiteral("10.0.5.1-10.0.6.9"), QStringLiteral("10.0.5.200")));
        QVERIFY(Targeting::CheckIPRange(QStringLiteral("10.0.5.1"), QStringLiteral("10.0.6.9"),
                                        QStringLiteral("10.0.5.200")));
        QVERIFY(!Targeting::CheckIPRange(QStringLiteral("10.0.5.1"), QStringLiteral("10.0.6.9"),
                                         QStringLiteral("10.0.6.10")));
        QVERIFY(!Targeting::CheckIPRange(QStringLiteral("10.0.5"), QStringLiteral("10.0.6.9"), MyAddress));

        QVERIFY(
            ClientDB().exec(QStringLiteral("INSERT INTO MyGroupUsers VALUES ('team', 'a'), ('team', 'b')")));
        QCOMPARE(Targeting::ReplaceMyGroupsInTarget(QStringLiteral("team,c")), QStringLiteral("a,b,c"));
        QCOMPARE(Targeting::ReplaceMyGroupsInTarget(QString()), QString());
    }

    void levelsAndLists()
    {
        Fixture f;
        f.profile.writeFile(QStringLiteral("data/chime.wav"), "RIFF");
        auto level = [](const QStringList &fields) { return fields.join(QChar(3)); };
        f.replication.LevelsReceived(
            level({QStringLiteral("Chime"), QStringLiteral("d"), QStringLiteral("255"), QStringLiteral("0"),
                   QStringLiteral("0"), QStringLiteral("True"), QStringLiteral("2"),
                   QStringLiteral("\\\\srv\\media\\chime.wav"), QStringLiteral("False"),
                   QStringLiteral("0")}) +
            QChar(2) +
            level({QStringLiteral("Local"), QString(), QStringLiteral("1"), QStringLiteral("2"),
                   QStringLiteral("3"), QStringLiteral("False"), QStringLiteral("2"),
                   QStringLiteral("/home/me/beep.wav"), QStringLiteral("True"), QStringLiteral("1")}) +
            QChar(2) +
            level({QStringLiteral("Escape"), QString(), QStringLiteral("1"), QStringLiteral("2"),
                   QStringLiteral("3"), QStringLiteral("False"), QStringLiteral("2"),
                   QStringLiteral("\\\\srv\\media\\.."), QStringLiteral("False"), QStringLiteral("99")}));
        QCOMPARE(gLevels().count(), 3);
        // Already in the data folder: kept, not fetched again.
        QCOMPARE(gLevels().find(QStringLiteral("Chime"))->SoundType, qint16(2));
        QVERIFY(gLevels().find(QStringLiteral("Chime"))->DrawShadow);
        QSqlQuery *local =
            ClientDB().query(QStringLiteral("SELECT LocalSoundFile FROM Levels WHERE LevelName = 'Chime'"));
        QVERIFY(local && local->next());
        QCOMPARE(local->value(0).toString(),
                 QDir(f.profile.dataHome()).filePath(QStringLiteral("chime.wav")));
        local->finish();
        // A local path is no use to other machines: silent, and said in the log.
        QCOMPARE(gLevels().find(QStringLiteral("Local"))->SoundType, qint16(0));
        QVERIFY(logText().contains(
            QStringLiteral("frmKorvanClient:StoreLevels - /home/me/beep.wav is not in network path")));
        // A name that would leave the data folder gives no file and no sound.
        QCOMPARE(gLevels().find(QStringLiteral("Escape"))->SoundType, qint16(0));
        QVERIFY(!QFile::exists(QDir(f.profile.dataHome()).filePath(QStringLiteral("../media"))));

        // A second list replaces the first.
        f.replication.LevelsReceived(
            level({QStringLiteral("Only"), QString(), QStringLiteral("0"), QStringLiteral("0"),
                   QStringLiteral("0"), QStringLiteral("False"), QStringLiteral("0"), QString(),
                   QStringLiteral("False"), QStringLiteral("0")}));
        QCOMPARE(gLevels().count(), 1);

        f.replication.UsersReceived(QStringList{
            QStringLiteral("u1") + QChar(2) + QStringLiteral("User One") + QChar(2) +
                DateText::DateToText(FakeClock::at(2026, 11, 1, 8, 0, 0)) + QChar(2) +
                QStringLiteral("ws-1") + QChar(2) + QStringLiteral("True") + QChar(2) + QStringLiteral("1"),
            QStringLiteral("u2")}
                                        .join(QChar(3)));
        QSqlQuery *users = TempDB().query(
            QStringLiteral("SELECT UserID, LastLogon, Connected, Language FROM Users ORDER BY UserID"));
        QVERIFY(users && users->next());
        QCOMPARE(users->value(1).toString(), QStringLiteral("2026-11-01 08:00:00"));
        QCOMPARE(users->value(2).toInt(), 1);
        QCOMPARE(users->value(3).toInt(), 1);
        QVERIFY(users->next());
        users->finish();
    }
};

QTEST_GUILESS_MAIN(TestIntake)
#include "tst_intake.moc"
