// Intake, targeting and replication over a real store; the banner and the console are the recorder.
#include "core/Failure.h"
#include "core/UserInfos.h"
#include "delivery/MessageIntake.h"
#include "delivery/Receipts.h"
#include "delivery/Replication.h"
#include "delivery/Targeting.h"
#include "store/DateText.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString Me = u"jdoe"_s;
const QString MyMachine = u"ws-7"_s;
const QString MyAddress = u"10.0.5.7"_s;
const QDateTime Dec1 = FakeClock::at(2026, 12, 1);

// A record as the server writes it.
QString record(const QString &id, const QString &target = {}, const QDateTime &expires = Dec1,
               const QString &author = u"author"_s)
{
    DVMessage m;
    m.MsgID = id;
    m.Message = u"Text of "_s + id;
    m.MsgLevel = u"Warning"_s;
    m.CreationDate = m.StartDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
    m.ExpirationDate = expires;
    m.DeleteAtExpiration = true;
    m.UserID = author;
    m.Target = target;
    m.Status = StatusActive;
    return m.ToString();
}

QString tagged(const QString &text, const QString &tag, const QString &value)
{
    return text + tag + u'\3' + value + u'\4';
}

// One confirmation per letter, each letter a record's id.
QStringList cms(const QString &ids)
{
    QStringList confirmations;
    for (const QChar id : ids)
        confirmations << u"CMS"_s + QChar(1) + id + QChar(2) + MyMachine;
    return confirmations;
}

QString stored(const QString &table = u"Inbox"_s)
{
    return StoreFixture::column(ClientDB(), u"SELECT MsgID FROM "_s + table + u" ORDER BY 1"_s).join(u',');
}

QStringList rowCounts()
{
    QStringList counts;
    for (Database *db : {&ClientDB(), &TempDB()})
        for (const QString &table :
             StoreFixture::column(*db, u"SELECT name FROM sqlite_master WHERE type = 'table'"_s))
            counts << table + u'=' +
                          QString::number(StoreFixture::count(*db, u"SELECT count(*) FROM "_s + table));
    return counts;
}

struct Fixture : StoreFixture
{
    RecordingFrontend frontend;
    QStringList sent;
    std::function<bool(const QString &)> send = [this](const QString &p) { return !(sent << p).isEmpty(); };
    Replication replication{send};
    MessageIntake intake{send, [] { return MyAddress; }, replication};
    Receipts receipts{send};

    Fixture() { signIn(UserInfos::RoleUser); }
    static void signIn(qint16 authority)
    {
        UserInfos user(Me);
        user.setMachineID(MyMachine);
        user.Agent = u"agent-1"_s;
        user.setMyAuthority(authority);
        ReplaceUserInfos(user);
    }
    void receive(QStringList list, bool logon = false) { intake.MessageReceived(list.join(u'\2'), logon); }
    static DVMessage inbox(const QString &id) { return GetMessage(ClientDB(), u"Inbox"_s, id); }
    QString shown() const { return frontend.displayed.join(u','); }
};

} // namespace

class TestIntake : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void batchWithEveryBranch()
    {
        Fixture f;
        f.receive({record(u"A"_s), record(u"B"_s, u"someone,other-pc"_s), record(u"C"_s, u"someone,JDOE"_s),
                   tagged(record(u"D"_s), u"DLV"_s, u"1"_s),
                   tagged(record(u"E"_s, {}, FakeClock::at(2026, 11, 22)), u"DLV"_s, u"3"_s),
                   record(u"F"_s, {}, Dec1, Me), tagged(record(u"G"_s), u"AGN"_s, u"agent-2"_s),
                   record(u"H"_s)});
        // One confirmation per record in batch order, the other agent's too; none for what comes behind it.
        QCOMPARE(f.sent, cms(u"ABCDEFG"_s));
        QCOMPARE(std::tuple(f.shown(), stored(), stored(u"Outbox"_s), f.inbox(u"E"_s).Status),
                 std::tuple(u"A,C,F"_s, u"A,C,D,E,F"_s, u"F"_s, qint32(StatusExpired)));
        // A logon delivery is shown when the batch is a logon batch.
        f.receive({tagged(record(u"L"_s), u"DLV"_s, u"1"_s)}, true);
        QCOMPARE(f.shown(), u"A,C,F,L"_s);

        // The target rules alone: ours by name, machine, address or range.
        for (const QString &target :
             {QString(), u"alice,JDoe"_s, u"WS-7"_s, u"10.0.5.7"_s, u"10.0.0.1-10.0.9.254"_s,
              u"10.0.5.7-10.0.5.9"_s, u"10.0.5.1-10.0.5.7"_s})
            QVERIFY2(Targeting::MemberOfTarget(target, MyAddress), qPrintable(target));
        // A blank after the comma, a range that ends before or misses by position, a bad bound, strangers.
        for (const QString &target : {u"alice, jdoe"_s, u"10.0.5.1-10.0.5.6"_s, u"10.0.4.1-10.0.6.6"_s,
                                      u"10.0.5-10.0.6.9"_s, u"10.0.5.1-10.0.5.8-x"_s, u"alice,bob"_s})
            QVERIFY2(!Targeting::MemberOfTarget(target, MyAddress), qPrintable(target));
        // The box test misses an address the ordered comparison would hold.
        QVERIFY(!Targeting::MemberOfTarget(u"10.0.5.1-10.0.6.9"_s, u"10.0.5.200"_s));
    }

    // A batch the store cannot take (a row refused, the file full) is neither kept nor confirmed.
    void failedStoreConfirmsNothing()
    {
        for (QString obstacle : {u"CREATE TRIGGER refuse BEFORE INSERT ON Inbox WHEN NEW.MsgID = 'B' "
                                 "BEGIN SELECT RAISE(ABORT, 'refused'); END"_s,
                                 u"PRAGMA max_page_count = 1"_s}) {
            Fixture f;
            const int pages = StoreFixture::count(ClientDB(), u"PRAGMA page_count"_s);
            QVERIFY(ClientDB().exec(obstacle.replace(u"= 1"_s, u"= "_s + QString::number(pages))));
            f.receive({record(u"A"_s), record(u"B"_s).replace(u"Text of B"_s, QString(200000, u'x')),
                       record(u"C"_s)});
            QCOMPARE(std::pair(f.sent, stored()), std::pair(QStringList(), QString()));
        }
    }

    // Shared templates come one by one or as a list; one the store refuses is logged by its ID.
    void sharedTemplatesStoredOrLogged()
    {
        Fixture f;
        const QString refused = u"Unable to save shared template #"_s;
        f.replication.TemplatesReceived(record(u"T1"_s) + QChar(2) + record(u"T2"_s));
        f.replication.TemplateReceived(record(u"T3"_s));
        QCOMPARE(logText().count(refused), 0);
        QCOMPARE(StoreFixture::column(TempDB(), u"SELECT MsgID FROM SharedTemplates ORDER BY 1"_s),
                 (QStringList{u"T1"_s, u"T2"_s, u"T3"_s}));
        QVERIFY(TempDB().exec(u"CREATE TRIGGER refuse BEFORE INSERT ON SharedTemplates "
                              "BEGIN SELECT RAISE(ABORT, 'refused'); END"_s));
        f.replication.TemplateReceived(record(u"T4"_s));
        f.replication.TemplatesReceived(record(u"T5"_s));
        QCOMPARE(logText().count(refused), 2);
        QVERIFY(logText().contains(refused + u"T4"_s) && logText().contains(refused + u"T5"_s));
    }

    // An empty list, or a lone separator, holds no record: nothing is stored, shown, sent or logged.
    void emptyListsHoldNothing()
    {
        Fixture f;
        gSession().AdminsLoaded = gSession().AllMessagesLoaded = true;
        f.receive({record(u"A"_s)});
        f.sent.clear();
        f.frontend.events.clear();
        const QStringList before = rowCounts();
        const QString log = logText();

        Failure failure;
        Replication &r = f.replication;
        const QString none, lone(QChar(2));
        for (const QString &list : {none, lone}) {
            for (bool logon : {false, true}) {
                f.intake.MessageReceived(list, logon);
                f.intake.PackageReceived(list, logon);
            }
            f.intake.AllMessageReceived(list);
            r.UserGroupsReceived(list);
        }
        for (auto handler :
             {&Replication::UsersReceived, &Replication::MachinesReceived, &Replication::GroupsReceived,
              &Replication::UsersGroupReceived, &Replication::StoreLevels, &Replication::TemplateReceived,
              &Replication::TemplatesReceived, &Replication::PackagesDeleted})
            (r.*handler)(none);
        r.StoreAdministrator(lone + u"3"_s, failure);   // no user
        r.MessageStatusChanged(u"3"_s + lone, failure); // no ID
        r.PackageStatusChanged(u"3"_s + lone, failure);
        for (const QString &ids : {none, u","_s})
            r.MessagesDeleted(ids);
        for (const QString &receipts : {none, QString(QChar(3))})
            f.receipts.GetReceipt(receipts);
        f.receipts.GetAdminReceipt(none);

        QCOMPARE(std::tuple(failure.isSet(), f.sent + f.frontend.events, f.frontend.onDisplay, rowCounts(),
                            logText()),
                 std::tuple(false, QStringList(), QStringList{u"A"_s}, before, log));
    }

    void storedMessagesFollowTheServer()
    {
        Fixture f;
        const auto events = [&f](const QString &kind) { return f.frontend.events.filter(kind).join(u','); };
        // A group target counts once the server has said we belong to the group.
        gProcess().CurrentList = 1;
        f.receive({record(u"G1"_s, u"ops"_s)});
        QCOMPARE(stored(), QString());
        f.replication.UserGroupsReceived(u"OPS\u0002sales"_s);
        f.receive({record(u"G1"_s, u"ops"_s)});
        QCOMPARE(std::pair(stored(), events(u"add 1 G"_s)), std::pair(u"G1"_s, u"add 1 G1"_s));
        // The target changes away from us: the stored copy goes, and the open list hears of it.
        f.receive({record(u"G1"_s, u"finance"_s)});
        QCOMPARE(std::pair(stored(), events(u"del 1 G"_s)), std::pair(QString(), u"del 1 G1"_s));

        // Only the expiration and modification dates differ: nothing changes.
        f.receive({record(u"M"_s)});
        f.receive({tagged(record(u"M"_s, {}, FakeClock::at(2027, 1, 1)), u"MOD"_s,
                          DateText::DateToText(FakeClock::at(2026, 11, 23, 9, 30)))});
        QCOMPARE(f.inbox(u"M"_s).ExpirationDate, Dec1);
        // An edit while on display replaces it on the banner.
        const QString edited = record(u"M"_s).replace(u"Text of M"_s, u"New text"_s);
        f.receive({edited});
        QCOMPARE(
            std::tuple(f.inbox(u"M"_s).Message, events(u"undisplay M"_s), f.frontend.displayed.count(u"M"_s)),
            std::tuple(u"New text"_s, u"undisplay M"_s, qsizetype(2)));
        // Status 1 received for a finished row keeps it finished.
        ChangeMessageStatus(ClientDB(), u"M"_s, StatusFinished, u"Inbox"_s);
        f.receive({edited});
        QCOMPARE(f.inbox(u"M"_s).Status, qint32(StatusFinished));
        // Cancelled by the author: withdrawn; resubmitted: shown again; deleted: gone.
        f.receive({tagged(edited, u"STA"_s, u"0"_s)});
        QCOMPARE(std::pair(f.inbox(u"M"_s).Status, events(u"undisplay M"_s)),
                 std::pair(qint32(StatusCancelled), u"undisplay M,undisplay M"_s));
        f.receive({tagged(edited, u"STA"_s, u"5"_s)});
        QCOMPARE(std::pair(f.inbox(u"M"_s).Status, f.frontend.displayed.count(u"M"_s)),
                 std::pair(qint32(StatusActive), qsizetype(3)));
        f.receive({tagged(edited, u"STA"_s, u"3"_s)});
        QCOMPARE(stored(), QString());

        // Deletions and status changes replicated from the server.
        f.receive({record(u"S"_s), record(u"T"_s), record(u"U"_s)});
        f.sent.clear();
        Failure failure;
        f.replication.MessageStatusChanged(u"3\u0002S"_s, failure);
        QCOMPARE(std::tuple(failure.isSet(), f.sent, events(u"undisplay S"_s)),
                 std::tuple(false, cms(u"S"_s), u"undisplay S"_s));
        f.replication.MessagesDeleted(u"T,U"_s);
        QCOMPARE(stored(), QString());
        // After that the same id counts as new.
        f.receive({record(u"S"_s)});
        QCOMPARE(f.frontend.displayed.count(u"S"_s), 2);
        f.replication.MessageStatusChanged(u"3"_s, failure);
        QVERIFY(failure.isSet());

        // The open list reads each row anew, our own echo from the other agent too; none open, none told.
        f.frontend.changed.clear();
        f.receive({record(u"N"_s), tagged(record(u"W"_s, {}, Dec1, Me), u"AGN"_s, u"agent-2"_s)});
        gProcess().CurrentList = 0;
        f.receive({record(u"Z"_s)});
        QCOMPARE(f.frontend.changed, (QStringList{u"N"_s, u"W"_s}));
        gProcess().CurrentList = 1;

        // Copies for the console, and packages for a postmaster.
        gSession().AdminsLoaded = true;
        f.receive({record(u"X"_s, u"someone"_s)});
        QVERIFY(MessageExist(TempDB(), u"Outbox"_s, u"X"_s));
        // Deleted on the server, it leaves the console's list of all messages too.
        gSession().AllMessagesLoaded = true;
        failure = Failure{};
        f.replication.MessageStatusChanged(u"3\u0002X"_s, failure);
        QVERIFY(!MessageExist(TempDB(), u"Outbox"_s, u"X"_s));
        Fixture::signIn(UserInfos::RolePostmaster);
        f.sent.clear();
        // The postmaster's open list of all packages shows the new one.
        gProcess().CurrentList = 9;
        const QString package = tagged(record(u"P"_s), u"LVL"_s, u"sysKVPackage"_s);
        f.intake.PackageReceived(package, false);
        QCOMPARE(std::tuple(f.sent, stored(u"InPkg"_s),
                            GetMessage(ClientDB(), u"InPkg"_s, u"P"_s).NextRunDate,
                            f.frontend.events.filter(u"add 9"_s)),
                 std::tuple(QStringList{u"CPK"_s + QChar(1) + u"P"_s + QChar(2) + MyMachine}, u"P"_s,
                            FakeClock::at(2026, 11, 23, 9, 0), QStringList{u"add 9 P"_s}));
        f.intake.PackageReceived(tagged(package, u"STA"_s, u"3"_s), false);
        QCOMPARE(std::pair(stored(u"InPkg"_s), GetMessage(ClientDB(), u"OutPkg"_s, u"P"_s).Status),
                 std::pair(QString(), qint32(StatusDeleted)));

        // Levels: a sound is fetched only when it belongs on the network.
        f.profile.writeFile(u"data/chime.wav"_s, "RIFF");
        auto level = [](const QString &name, const QString &sound) {
            return QStringList{name, {}, u"1"_s, u"2"_s, u"3"_s, u"True"_s, u"2"_s, sound, u"False"_s, u"0"_s}
                .join(QChar(3));
        };
        f.replication.LevelsReceived(QStringList{level(u"Chime"_s, u"\\\\srv\\media\\chime.wav"_s),
                                                 level(u"Local"_s, u"/home/me/beep.wav"_s),
                                                 level(u"Escape"_s, u"\\\\srv\\media\\.."_s)}
                                         .join(QChar(2)));
        // Already in the data folder: kept; a local path and a name that leaves the folder: silent.
        QCOMPARE(std::tuple(gLevels().count(), gLevels().find(u"Chime"_s)->SoundType,
                            gLevels().find(u"Local"_s)->SoundType, gLevels().find(u"Escape"_s)->SoundType),
                 std::tuple(3, qint16(2), qint16(0), qint16(0)));
        // A second list replaces the first.
        f.replication.LevelsReceived(level(u"Only"_s, QString()));
        QCOMPARE(
            std::tuple(gLevels().count(), gLevels().find(u"Chime"_s), gLevels().find(u"Only"_s)->LevelName),
            std::tuple(1, nullptr, u"Only"_s));
    }
};

QTEST_GUILESS_MAIN(TestIntake)
#include "tst_intake.moc"
