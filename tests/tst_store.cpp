// Both databases on real files: their making, cascades, purge and every
// storage operation.
#include "core/Globals.h"
#include "core/Log.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"
#include "support/TempProfile.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QTest>

namespace {

DVMessage message(const QString &id, const QString &subject = QStringLiteral("Subject"))
{
    DVMessage m;
    m.MsgID = id;
    m.Subject = subject;
    m.Message = QStringLiteral("Body of ") + id;
    m.MsgLevel = QStringLiteral("Warning");
    m.UserID = QStringLiteral("author");
    m.UserName = QStringLiteral("The Author");
    m.MachineID = QStringLiteral("ws-1");
    m.Status = StatusActive;
    m.ReceiptRequired = true;
    m.CreationDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
    m.ExpirationDate = FakeClock::at(2030, 1, 1, 0, 0, 0);
    return m;
}

int count(Database &database, const QString &sql, const QVariantList &values = {})
{
    QSqlQuery *rows = database.query(sql, values);
    const int result = rows && rows->next() ? rows->value(0).toInt() : -1;
    if (rows)
        rows->finish();
    return result;
}

QStringList names(Database &database, const QString &type)
{
    QStringList result;
    QSqlQuery *rows = database.query(
        QStringLiteral(
            "SELECT name FROM sqlite_master WHERE type = ? AND name NOT LIKE 'sqlite_%' ORDER BY name"),
        {type});
    while (rows && rows->next())
        result << rows->value(0).toString();
    if (rows)
        rows->finish();
    return result;
}

QString logText()
{
    QFile file(LogFile::path());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestStore : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        TempProfile profile;
        FakeClock clock{FakeClock::at(2026, 11, 23, 10, 30, 45)};
        QString folder;

        Fixture()
        {
            folder = profile.dataHome();
            gProcess().AppDataPath = folder;
        }
        ~Fixture()
        {
            ClientDB().close();
            TempDB().close();
        }
        bool reopen()
        {
            ClientDB().close();
            TempDB().close();
            return InitializeDB(folder);
        }
    };

private Q_SLOTS:
    void firstStartMakesBothFiles()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        QCOMPARE(
            names(ClientDB(), QStringLiteral("table")),
            (QStringList{QStringLiteral("History"), QStringLiteral("InPkg"), QStringLiteral("Inbox"),
                         QStringLiteral("Levels"), QStringLiteral("MyGroupUsers"), QStringLiteral("MyGroups"),
                         QStringLiteral("MyTemplates"), QStringLiteral("OutPkg"), QStringLiteral("Outbox"),
                         QStringLiteral("Receipt")}));
        QCOMPARE(names(TempDB(), QStringLiteral("table")),
                 (QStringList{QStringLiteral("Administrators"), QStringLiteral("DomainGroups"),
                              QStringLiteral("GroupsIBelongTo"), QStringLiteral("KorvaneGroupUsers"),
                              QStringLiteral("KorvaneGroups"), QStringLiteral("Levels"),
                              QStringLiteral("Machines"), QStringLiteral("Outbox"), QStringLiteral("Receipt"),
                              QStringLiteral("SharedTemplates"), QStringLiteral("Users")}));
        QCOMPARE(names(ClientDB(), QStringLiteral("trigger")).size(), 4);
        QCOMPARE(names(TempDB(), QStringLiteral("trigger")).size(), 2);
        QCOMPARE(ClientDB().userVersion(), 2);
        QVERIFY(names(ClientDB(), QStringLiteral("index")).contains(QStringLiteral("Inbox_Action")));
        // Readable by its owner only.
        const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                                QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                                QFileDevice::WriteOther | QFileDevice::ExeOther;
        QCOMPARE(QFile::permissions(f.folder + QStringLiteral("/Client.db")) & others,
                 QFileDevice::Permissions());
        QSqlQuery *journal = ClientDB().query(QStringLiteral("PRAGMA journal_mode"));
        QVERIFY(journal && journal->next());
        QCOMPARE(journal->value(0).toString(), QStringLiteral("wal"));
        journal->finish();
        // Temp.db has no OutPkg: a status change there fails and is logged.
        UpdateStatus(TempDB(), QStringLiteral("OutPkg"), 3, QStringLiteral("M1"));
        QVERIFY(logText().contains(QStringLiteral("DBFunctions:UpdateStatus - ")));
    }

    void secondStartKeepsClientAndRenewsTemp()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        DVMessage queued = message(QStringLiteral("Q1"));
        queued.MsgAction = ActionQueued;
        DVMessage done = message(QStringLiteral("D1"));
        done.MsgAction = ActionDone;
        QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Inbox"), queued, false, false));
        QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Inbox"), done, false, false));
        QVERIFY(SaveMessage(TempDB(), QStringLiteral("Outbox"), message(QStringLiteral("T1")), false, true));

        QVERIFY(f.reopen());
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("Q1")).MsgAction,
                 qint32(ActionWaiting));
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("D1")).MsgAction,
                 qint32(ActionDone));
        QCOMPARE(count(TempDB(), QStringLiteral("SELECT count(*) FROM Outbox")), 0);
    }

    void cascades()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        Database &client = ClientDB();
        QVERIFY(SaveMessage(client, QStringLiteral("Outbox"), message(QStringLiteral("M1")), false, false));
        QVERIFY(SaveMessage(client, QStringLiteral("Outbox"), message(QStringLiteral("M2")), false, false));
        QVERIFY(client.exec(
            QStringLiteral("INSERT INTO Receipt (ReceiptID, MsgID) VALUES ('R1', 'M1'), ('R2', 'M2')")));
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM History")), 2);

        DeleteMessage(client, QStringLiteral("Outbox"), QStringLiteral("M1"));
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM History WHERE MsgID = 'M1'")), 0);
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM Receipt")), 1);

        // An Inbox delete takes the digest of the same id, even one made from Outbox.
        QVERIFY(SaveMessage(client, QStringLiteral("Inbox"), message(QStringLiteral("M2")), false, false));
        QCOMPARE(count(client, QStringLiteral("SELECT Mailbox FROM History WHERE MsgID = 'M2'")), 1);
        DeleteMessage(client, QStringLiteral("Inbox"), QStringLiteral("M2"));
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM History")), 0);
        QVERIFY(MessageExist(client, QStringLiteral("Outbox"), QStringLiteral("M2")));

        QVERIFY(client.exec(QStringLiteral("INSERT INTO MyGroups (GroupName) VALUES ('team')")));
        QVERIFY(client.exec(QStringLiteral("INSERT INTO MyGroupUsers VALUES ('team', 'a'), ('team', 'b')")));
        DeleteRows(client, QStringLiteral("MyGroups"),
                   Filter::equals(QStringLiteral("GroupName"), QStringLiteral("team")));
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM MyGroupUsers")), 0);

        Database &temp = TempDB();
        QVERIFY(temp.exec(QStringLiteral("INSERT INTO KorvaneGroups (GroupName) VALUES ('all'), ('ops')")));
        QVERIFY(temp.exec(QStringLiteral("INSERT INTO KorvaneGroupUsers VALUES ('all', 'a'), ('ops', 'b')")));
        QVERIFY(temp.exec(QStringLiteral("INSERT INTO GroupsIBelongTo VALUES ('all', 'K'), ('ops', 'K')")));
        QVERIFY(SaveMessage(temp, QStringLiteral("Outbox"), message(QStringLiteral("T1")), false, true));
        QVERIFY(temp.exec(QStringLiteral("INSERT INTO Receipt (ReceiptID, MsgID) VALUES ('R9', 'T1')")));
        DeleteRows(temp, QStringLiteral("KorvaneGroups"),
                   Filter::equals(QStringLiteral("GroupName"), QStringLiteral("all")));
        DeleteMessage(temp, QStringLiteral("Outbox"), QStringLiteral("T1"));
        QCOMPARE(count(temp, QStringLiteral("SELECT count(*) FROM KorvaneGroupUsers")), 1);
        QCOMPARE(count(temp, QStringLiteral("SELECT count(*) FROM GroupsIBelongTo")), 1);
        QCOMPARE(count(temp, QStringLiteral("SELECT count(*) FROM Receipt")), 0);
        // An empty filter empties the table, cascades included.
        DeleteRows(temp, QStringLiteral("KorvaneGroups"), Filter{});
        QCOMPARE(count(temp, QStringLiteral("SELECT count(*) FROM GroupsIBelongTo")), 0);
    }

    void purgeAtTheMinuteBoundary()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        const QList<QPair<QString, QDateTime>> rows = {
            {QStringLiteral("before"), FakeClock::at(2026, 11, 23, 10, 29, 59)},
            {QStringLiteral("this-minute"), FakeClock::at(2026, 11, 23, 10, 30, 0)},
            {QStringLiteral("later"), FakeClock::at(2026, 11, 23, 10, 31, 10)},
            {QStringLiteral("zero"), DateText::ZeroDate()},
        };
        for (const auto &[id, expiration] : rows) {
            DVMessage m = message(id);
            m.ExpirationDate = expiration;
            m.Status = StatusFinished;
            QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Inbox"), m, false, false));
        }
        PurgeInboxExpired(QStringLiteral("Inbox"));
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("before")));
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("zero")));
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("this-minute")));
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("later")));
        // The purge runs at every start, a minute later too.
        f.clock.advanceSeconds(60);
        QVERIFY(f.reopen());
        QVERIFY(!MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("this-minute")));
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("later")));
    }

    void saveAndReadRules()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        Database &client = ClientDB();
        DVMessage m = message(QStringLiteral("M1"));
        m.DeleteAtExpiration = false;
        m.Agent = QStringLiteral("agent-9");
        m.NextRunDate = FakeClock::at(2026, 11, 24, 12, 34, 56);
        QVERIFY(SaveMessage(client, QStringLiteral("Inbox"), m, false, false));

        DVMessage changed = m;
        changed.Subject = QStringLiteral("changed");
        changed.Message = QStringLiteral("edited body");
        QVERIFY(!SaveMessage(client, QStringLiteral("Inbox"), changed, false, false));
        QCOMPARE(GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("M1")).Subject,
                 QStringLiteral("Subject"));
        QVERIFY(SaveMessage(client, QStringLiteral("Inbox"), changed, true, false));

        const DVMessage read = GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("M1"));
        QCOMPARE(read.Subject, QStringLiteral("changed"));
        QCOMPARE(read.DeleteAtExpiration, true);
        QCOMPARE(read.Agent, QString());
        QCOMPARE(read.NextRunDate, FakeClock::at(2026, 11, 24, 12, 34, 0));
        QCOMPARE(read.CreationDate, m.CreationDate);
        QCOMPARE(read.ReceiptRequired, true);
        // The digest keeps the first text.
        QSqlQuery *history =
            client.query(QStringLiteral("SELECT Message, Mailbox FROM History WHERE MsgID = 'M1'"));
        QVERIFY(history && history->next());
        QCOMPARE(history->value(0).toString(), QStringLiteral("Body of M1"));
        QCOMPARE(history->value(1).toInt(), 0);
        history->finish();

        // Other tables keep no digest.
        QVERIFY(
            SaveMessage(client, QStringLiteral("MyTemplates"), message(QStringLiteral("TPL")), false, false));
        QCOMPARE(count(client, QStringLiteral("SELECT count(*) FROM History WHERE MsgID = 'TPL'")), 0);

        // Temp.db has no History: false and logged, though the row stands.
        QVERIFY(
            !SaveMessage(TempDB(), QStringLiteral("Outbox"), message(QStringLiteral("T1")), false, false));
        QVERIFY(MessageExist(TempDB(), QStringLiteral("Outbox"), QStringLiteral("T1")));
        QVERIFY(logText().contains(QStringLiteral("DBFunctions:SaveMessage - ")));

        const DVMessage unknown = GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("nope"));
        QCOMPARE(unknown.MsgID, QString());
        QCOMPARE(unknown.Status, 0);
        QCOMPARE(unknown.ReceiptRequired, false);

        QVERIFY(ChangeMessageStatus(client, QStringLiteral("M1"), StatusFinished, QStringLiteral("Inbox")));
        QVERIFY(ChangeMessageStatus(client, QStringLiteral("nope"), StatusFinished, QStringLiteral("Inbox")));
        QCOMPARE(GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("M1")).Status,
                 qint32(StatusFinished));
        // A required key may not be empty.
        QVERIFY(!SaveMessage(client, QStringLiteral("Inbox"), message(QString()), false, false));
    }

    void anyCharacterIsStoredIntact()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        Database &client = ClientDB();
        const QString awkward = QStringLiteral("l'été \"cité\" ; DROP TABLE Inbox; --") + QChar(1) +
                                QChar(2) + QChar(3) + QChar(4);
        DVMessage m = message(QStringLiteral("it's"), awkward);
        m.Target = QStringLiteral("o'brien,d'arcy");
        QVERIFY(SaveMessage(client, QStringLiteral("Inbox"), m, false, false));
        const DVMessage read = GetMessage(client, QStringLiteral("Inbox"), QStringLiteral("it's"));
        QCOMPARE(read.Subject, awkward);
        QCOMPARE(read.Target, m.Target);

        QVERIFY(client.exec(QStringLiteral("INSERT INTO MyGroups (GroupName) VALUES (?)"),
                            {QStringLiteral("o'team")}));
        QVERIFY(client.exec(QStringLiteral("INSERT INTO MyGroupUsers VALUES (?, ?), (?, ?)"),
                            {QStringLiteral("o'team"), QStringLiteral("o'brien"), QStringLiteral("o'team"),
                             QStringLiteral("d'arcy")}));
        QVERIFY(GroupExist(client, QStringLiteral("MyGroups"), QStringLiteral("o'team")));
        QCOMPARE(ResolveMyGroup(QStringLiteral("o'team")), QStringLiteral("o'brien,d'arcy"));
        QCOMPARE(GetGroupMembers(QStringLiteral("o'team"), true), QStringLiteral("o'brien,d'arcy"));
        // A name that is no personal group stands for itself; an empty group gives nothing.
        QCOMPARE(ResolveMyGroup(QStringLiteral("l'autre")), QStringLiteral("l'autre"));
        QCOMPARE(GetGroupMembers(QStringLiteral("l'autre"), false), QString());

        QVERIFY(TempDB().exec(QStringLiteral("INSERT INTO Users (UserID) VALUES (?)"),
                              {QStringLiteral("o'brien")}));
        DeleteUser(TempDB(), QStringLiteral("Users"), QStringLiteral("o'brien"));
        QCOMPARE(count(TempDB(), QStringLiteral("SELECT count(*) FROM Users")), 0);
        DeleteMessage(client, QStringLiteral("Inbox"), QStringLiteral("it's"));
        QVERIFY(!MessageExist(client, QStringLiteral("Inbox"), QStringLiteral("it's")));
    }

    void levelsAndArrays()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        Database &client = ClientDB();
        QVERIFY(client.exec(
            QStringLiteral("INSERT INTO Levels (LevelName, BackColor, SoundType, Authority) VALUES "
                           "('Zeta', 255, 2, 0), ('Alpha', 65280, 0, 99)")));
        GetLevels();
        QCOMPARE(gLevels().count(), 2);
        QCOMPARE(gLevels().items()[0].LevelName, QStringLiteral("Zeta"));
        QCOMPARE(gLevels().find(QStringLiteral("Alpha"))->Authority, qint16(99));
        QCOMPARE(gLevels().find(QStringLiteral("Zeta"))->BackColor, 255.0);
        QVERIFY(!gLevels().find(QStringLiteral("missing")));
        const level fresh;
        QCOMPARE(fresh.BackColor, 16777215.0);
        QCOMPARE(fresh.ForeColor, 0.0);

        QVERIFY(SaveMessage(client, QStringLiteral("Inbox"), message(QStringLiteral("M1")), false, false));
        QSqlQuery *table = client.query(QStringLiteral("SELECT * FROM Inbox"));
        QVERIFY(table);
        RowArray rows;
        rs2array(rows, *table);
        table->finish();
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0].size(), 25);
        QCOMPARE(rows[0].first().toString(), QStringLiteral("M1"));

        QVERIFY(TempDB().exec(QStringLiteral(
            "INSERT INTO Machines (MachineID, MachineIP, Agent) VALUES ('ws', '10.0.0.1', 'a')")));
        QSqlQuery *machines = TempDB().query(QStringLiteral("SELECT * FROM Machines"));
        RowArray machineRows;
        machines2array(machineRows, *machines);
        machines->finish();
        QCOMPARE(machineRows.size(), 1);
        QCOMPARE(machineRows[0].size(), 7);
        QCOMPARE(machineRows[0][1].toString(), QStringLiteral("10.0.0.1"));
        QCOMPARE(machineRows[0][6].toString(), QStringLiteral("a"));
    }

    void olderSchemaIsBroughtUpToDate()
    {
        Fixture f;
        QVERIFY(InitializeDB(f.folder));
        QVERIFY(
            SaveMessage(ClientDB(), QStringLiteral("Inbox"), message(QStringLiteral("OLD")), false, false));
        // What a first-version file looks like: the tables without the scan indexes.
        for (const QString &index : names(ClientDB(), QStringLiteral("index")))
            QVERIFY(ClientDB().exec(QStringLiteral("DROP INDEX ") + index));
        QVERIFY(ClientDB().setUserVersion(1));

        QVERIFY(f.reopen());
        QCOMPARE(ClientDB().userVersion(), 2);
        QVERIFY(names(ClientDB(), QStringLiteral("index")).contains(QStringLiteral("Inbox_NextRun")));
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("OLD")).Message,
                 QStringLiteral("Body of OLD"));
    }

    void damagedFilesAreLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray("this is not a database at all, not even close").repeated(200);
        QByteArray header("SQLite format 3\0", 16);
        QTest::newRow("torn header") << header + QByteArray(4080, '\xee');
    }

    void damagedFilesAreLeftAlone()
    {
        QFETCH(QByteArray, content);
        Fixture f;
        f.profile.writeFile(QStringLiteral("data/Client.db"), content);
        QVERIFY(!InitializeDB(f.folder));
        QVERIFY(logText().contains(QStringLiteral("DBFunctions:InitializeDB - ")));
        QCOMPARE(f.profile.readFile(QStringLiteral("data/Client.db")), content);
        // The operations fail quietly rather than crash.
        QVERIFY(
            !SaveMessage(ClientDB(), QStringLiteral("Inbox"), message(QStringLiteral("M1")), false, false));
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("M1")).MsgID, QString());
        QCOMPARE(f.profile.readFile(QStringLiteral("data/Client.db")), content);
    }

    void aFolderWhereTheFileShouldBe()
    {
        Fixture f;
        QDir(f.folder).mkpath(QStringLiteral("Client.db"));
        QVERIFY(!InitializeDB(f.folder));
        QVERIFY(QFileInfo(f.folder + QStringLiteral("/Client.db")).isDir());
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
