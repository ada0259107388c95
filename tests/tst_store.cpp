// Both databases on real files: their making, cascades, purge and the storage operations.
#include "core/Log.h"
#include "store/DateText.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/LogText.h"
#include "support/StoreFixture.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

DVMessage message(const QString &id, const QString &subject = u"Subject"_s)
{
    DVMessage m;
    m.MsgID = id;
    m.Subject = subject;
    m.Message = u"Body of "_s + id;
    m.MsgLevel = u"Warning"_s;
    m.CreationDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
    m.ExpirationDate = FakeClock::at(2030, 1, 1);
    m.Status = StatusActive;
    return m;
}

const auto count = StoreFixture::count;
const auto column = StoreFixture::column;

} // namespace

class TestStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void restartsKeepClientRenewTempAndPurge()
    {
        StoreFixture f;
        QVERIFY(f.opened);
        QCOMPARE(QFile::permissions(f.profile.dataHome() + u"/Client.db"_s) & 0x0077,
                 QFileDevice::Permissions());
        // Queued and done rows; finished ones that expire before, in or after this minute, or never.
        for (const auto &[id, action, expiration] :
             std::initializer_list<std::tuple<QString, qint32, QDateTime>>{
                 {u"Q1"_s, ActionQueued, {}},
                 {u"D1"_s, ActionDone, {}},
                 {u"before"_s, ActionWaiting, FakeClock::at(2026, 11, 23, 10, 29, 59)},
                 {u"this-minute"_s, ActionWaiting, FakeClock::at(2026, 11, 23, 10, 30, 0)},
                 {u"later"_s, ActionWaiting, FakeClock::at(2026, 11, 23, 10, 31, 10)},
                 {u"zero"_s, ActionWaiting, DateText::ZeroDate()}}) {
            DVMessage m = message(id);
            m.MsgAction = action;
            if (expiration.isValid()) {
                m.ExpirationDate = expiration;
                m.Status = StatusFinished;
            }
            QVERIFY(SaveMessage(ClientDB(), u"Inbox"_s, m, false, false));
        }
        QVERIFY(SaveMessage(TempDB(), u"Outbox"_s, message(u"T1"_s), false, true));
        const QString ids = u"SELECT MsgID FROM Inbox ORDER BY MsgID"_s;
        PurgeInboxExpired(u"Inbox"_s);
        QCOMPARE(column(ClientDB(), ids), (QStringList{u"D1"_s, u"Q1"_s, u"later"_s, u"this-minute"_s}));

        // What a first-version file looks like: the tables without the scan indexes.
        for (const QString &index :
             column(ClientDB(),
                    u"SELECT name FROM sqlite_master WHERE type = 'index' AND name NOT LIKE 'sqlite_%'"_s))
            QVERIFY(ClientDB().exec(u"DROP INDEX "_s + index));
        QVERIFY(ClientDB().setUserVersion(1));

        // A minute later: the schema is brought up to date, the purge runs, the queue resets, Temp.db is new.
        f.clock.advanceSeconds(60);
        QVERIFY(f.reopen());
        QCOMPARE(ClientDB().userVersion(), 2);
        QCOMPARE(count(ClientDB(), u"SELECT count(*) FROM sqlite_master WHERE name = 'Inbox_NextRun'"_s), 1);
        QCOMPARE(column(ClientDB(), ids), (QStringList{u"D1"_s, u"Q1"_s, u"later"_s}));
        const QString actions =
            u"SELECT Message || '=' || MsgAction FROM Inbox WHERE MsgID LIKE '_1' ORDER BY 1"_s;
        QCOMPARE(column(ClientDB(), actions), (QStringList{u"Body of D1=2"_s, u"Body of Q1=0"_s}));
        QCOMPARE(count(TempDB(), u"SELECT count(*) FROM Outbox"_s), 0);
    }

    // A delete takes its dependents, and only those of its own key.
    void cascades()
    {
        const QString receipts = u"SELECT count(*) FROM Receipt WHERE MsgID = '%1'"_s;
        const QString history = u"SELECT count(*) FROM History WHERE MsgID = '%1'"_s;
        const std::tuple<bool, QString, QString, QString, QString> cases[] = {
            {false, u"Outbox"_s, u"M1"_s, u"M2"_s, receipts},
            {false, u"Outbox"_s, u"M1"_s, u"M2"_s, history},
            {false, u"OutPkg"_s, u"P1"_s, u"P2"_s, receipts},
            // An Inbox delete takes the digest of the same id, even one made from Outbox.
            {false, u"Inbox"_s, u"M2"_s, u"M1"_s, history},
            {false, u"MyGroups"_s, u"g1"_s, u"g2"_s,
             u"SELECT count(*) FROM MyGroupUsers WHERE GroupName = '%1'"_s},
            {true, u"Outbox"_s, u"M1"_s, u"M2"_s, receipts},
            {true, u"KorvaneGroups"_s, u"g1"_s, u"g2"_s,
             u"SELECT count(*) FROM KorvaneGroupUsers WHERE GroupName = '%1'"_s},
            {true, u"KorvaneGroups"_s, u"g1"_s, u"g2"_s,
             u"SELECT count(*) FROM GroupsIBelongTo WHERE GroupName = '%1'"_s},
        };
        for (const auto &[temp, table, id, other, dependents] : cases) {
            StoreFixture f;
            Database &db = temp ? TempDB() : ClientDB();
            for (const QString &box : {u"Outbox"_s, u"OutPkg"_s})
                for (const QString &m : {u"M1"_s, u"M2"_s, u"P1"_s, u"P2"_s})
                    if (!temp || box == u"Outbox"_s)
                        SaveMessage(db, box, message(m), false, temp);
            if (!temp)
                QVERIFY(SaveMessage(db, u"Inbox"_s, message(u"M2"_s), false, false));
            QVERIFY(db.exec(u"INSERT INTO Receipt (ReceiptID, MsgID) VALUES "
                            "('R1', 'M1'), ('R2', 'M2'), ('R3', 'P1'), ('R4', 'P2')"_s));
            const QString groups = temp ? u"KorvaneGroup"_s : u"MyGroup"_s;
            QVERIFY(db.exec(u"INSERT INTO %1s (GroupName) VALUES ('g1'), ('g2')"_s.arg(groups)));
            QVERIFY(db.exec(u"INSERT INTO %1Users VALUES ('g1', 'a'), ('g2', 'b')"_s.arg(groups)));
            if (temp)
                QVERIFY(db.exec(u"INSERT INTO GroupsIBelongTo VALUES ('g1', 'K'), ('g2', 'K')"_s));

            QCOMPARE(count(db, dependents.arg(id)), 1);
            if (table.endsWith(u"Groups"_s))
                DeleteRows(db, table, Filter::equals(u"GroupName"_s, id));
            else
                DeleteMessage(db, table, id);
            QCOMPARE((QList<int>{count(db, dependents.arg(id)), count(db, dependents.arg(other))}),
                     (QList<int>{0, 1}));
            if (table == u"Inbox"_s)
                QVERIFY(MessageExist(db, u"Outbox"_s, id));
            if (table.endsWith(u"Groups"_s)) {
                // An empty filter empties the table, cascades included.
                DeleteRows(db, table, Filter{});
                QCOMPARE(count(db, dependents.arg(other)), 0);
                // A delete the database refuses is logged.
                DeleteRows(db, table, Filter::equals(u"NoSuchColumn"_s, id));
                QVERIFY(logText().contains(u"DBFunctions:DeleteRows - "_s));
            }
        }
    }

    void storageOperations()
    {
        StoreFixture f;
        Database &client = ClientDB();
        DVMessage m = message(u"M1"_s);
        m.DeleteAtExpiration = false;
        m.Agent = u"agent-9"_s;
        m.NextRunDate = FakeClock::at(2026, 11, 24, 12, 34, 56);
        QVERIFY(SaveMessage(client, u"Inbox"_s, m, false, false));

        // A known id is kept unless replacing is asked for; the digest keeps the first text.
        DVMessage changed = m;
        changed.Subject = u"changed"_s;
        changed.Message = u"edited body"_s;
        QVERIFY(!SaveMessage(client, u"Inbox"_s, changed, false, false));
        QCOMPARE(GetMessage(client, u"Inbox"_s, u"M1"_s).Subject, u"Subject"_s);
        QVERIFY(SaveMessage(client, u"Inbox"_s, changed, true, false));
        const DVMessage read = GetMessage(client, u"Inbox"_s, u"M1"_s);
        QCOMPARE((QVariantList{read.Subject, read.DeleteAtExpiration, read.Agent, read.NextRunDate,
                               read.CreationDate}),
                 (QVariantList{u"changed"_s, true, QString(), FakeClock::at(2026, 11, 24, 12, 34, 0),
                               m.CreationDate}));
        QCOMPARE(count(client, u"SELECT count(*) FROM History WHERE Message = 'Body of M1'"_s), 1);
        QVERIFY(SaveMessage(client, u"MyTemplates"_s, message(u"TPL"_s), false, false));
        QCOMPARE(count(client, u"SELECT count(*) FROM History WHERE MsgID = 'TPL'"_s), 0);

        // Temp.db has no History: false and logged, though the row stands.
        QVERIFY(!SaveMessage(TempDB(), u"Outbox"_s, message(u"T1"_s), false, false));
        QVERIFY(MessageExist(TempDB(), u"Outbox"_s, u"T1"_s));
        QVERIFY(logText().contains(u"DBFunctions:SaveMessage - "_s));
        QVERIFY(!SaveMessage(client, u"Inbox"_s, message(QString()), false, false));

        // Quotes and control characters are stored as they are, never read as SQL.
        const QString awkward = u"l'été \"cité\" ; DROP TABLE Inbox; --"_s + QChar(1) + QChar(4);
        DVMessage odd = message(u"it's"_s, awkward);
        odd.Target = u"o'brien,d'arcy"_s;
        QVERIFY(SaveMessage(client, u"Inbox"_s, odd, false, false));
        const DVMessage oddRead = GetMessage(client, u"Inbox"_s, u"it's"_s);
        QCOMPARE((QStringList{oddRead.Subject, oddRead.Target}), (QStringList{awkward, odd.Target}));

        QVERIFY(client.exec(u"INSERT INTO MyGroups (GroupName) VALUES (?)"_s, {u"o'team"_s}));
        QVERIFY(client.exec(u"INSERT INTO MyGroupUsers VALUES (?, ?), (?, ?)"_s,
                            {u"o'team"_s, u"o'brien"_s, u"o'team"_s, u"d'arcy"_s}));
        QVERIFY(GroupExist(client, u"MyGroups"_s, u"o'team"_s));
        // A name that is no personal group stands for itself.
        QCOMPARE((QStringList{ResolveMyGroup(u"o'team"_s), GetGroupMembers(u"o'team"_s, true),
                              ResolveMyGroup(u"l'autre"_s)}),
                 (QStringList{u"o'brien,d'arcy"_s, u"o'brien,d'arcy"_s, u"l'autre"_s}));

        QVERIFY(TempDB().exec(u"INSERT INTO Users (UserID) VALUES (?)"_s, {u"o'brien"_s}));
        DeleteUser(TempDB(), u"Users"_s, u"o'brien"_s);
        QCOMPARE(count(TempDB(), u"SELECT count(*) FROM Users"_s), 0);
        DeleteMessage(client, u"Inbox"_s, u"it's"_s);
        QVERIFY(!MessageExist(client, u"Inbox"_s, u"it's"_s));

        // Levels come in the order they were stored.
        QVERIFY(client.exec(u"INSERT INTO Levels (LevelName, BackColor, SoundType, Authority) VALUES "
                            "('Zeta', 255, 2, 0), ('Alpha', 65280, 0, 99)"_s));
        GetLevels();
        QCOMPARE((QVariantList{gLevels().count(), gLevels().items()[0].LevelName,
                               gLevels().find(u"Alpha"_s)->Authority}),
                 (QVariantList{2, u"Zeta"_s, qint16(99)}));
    }

    // Garbage, a torn header or a folder as Client.db: the operations fail quietly, the file stays.
    void damagedFilesAreLeftAlone()
    {
        for (const QByteArray &content :
             {QByteArray("this is not a database at all, not even close").repeated(200),
              QByteArray(QByteArray("SQLite format 3\0", 16) + QByteArray(4080, '\xee')), QByteArray()}) {
            StoreFixture f(false);
            if (content.isEmpty())
                QDir(f.profile.dataHome()).mkpath(u"Client.db"_s);
            else
                f.profile.writeFile(u"data/Client.db"_s, content);
            QVERIFY(!InitializeDB(f.profile.dataHome()));
            QVERIFY(logText().contains(u"DBFunctions:InitializeDB - "_s) || content.isEmpty());
            QVERIFY(!SaveMessage(ClientDB(), u"Inbox"_s, message(u"M1"_s), false, false));
            QCOMPARE(GetMessage(ClientDB(), u"Inbox"_s, u"M1"_s).MsgID, QString());
            QCOMPARE(f.profile.readFile(u"data/Client.db"_s), content);
        }
    }
};

QTEST_GUILESS_MAIN(TestStore)
#include "tst_store.moc"
