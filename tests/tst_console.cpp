// The console's frame (the side bar by role and policy, what a click shows or asks for, the window's
// place), its lists' commands and rows, and their column layouts.
#include "authoring/AdminsEditForm.h"
#include "authoring/GroupEditForm.h"
#include "authoring/MessageForm.h"
#include "console/ConsoleFrame.h"
#include "console/CsvExport.h"
#include "console/DirectoryList.h"
#include "console/GridLayout.h"
#include "console/GroupedRecords.h"
#include "console/MessageList.h"
#include "console/RecordModel.h"
#include "console/TemplateList.h"
#include "core/UserStore.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A user with the default policies over a real store, every frame sent kept.
struct Fixture : AuthoringFixture
{
    MessageList::Context messages{ClientDB(), TempDB(), clock, frontend, process, session, send};
    DirectoryList::Context directory{ClientDB(), TempDB(), frontend, process, session, user, send};
};

// Each frame as its code and the first field of its data.
QStringList brief(const QStringList &sent)
{
    QStringList codes;
    for (const QString &p : sent)
        codes << p.section(QChar(1), 0, 0) + u' ' + p.section(QChar(1), 1).section(QChar(2), 0, 0);
    return codes;
}

// An active record of this ID, expiring when told.
DVMessage record(const QString &id, const QDateTime &expires = QDateTime())
{
    DVMessage m;
    std::tie(m.MsgID, m.Status, m.ExpirationDate) = std::tuple(id, StatusActive, expires);
    return m;
}

ListRecord row(const QString &id, const QDateTime &created, const QString &target = u"bob"_s,
               const QString &subject = QString())
{
    DVMessage m = record(id);
    std::tie(m.CreationDate, m.Target, m.Subject) = std::tie(created, target, subject);
    return ListRecord::FromMessage(m);
}

QDateTime day(int january, int hour = 0)
{
    return QDateTime(QDate(2026, 1, january), QTime(hour, 0), Qt::UTC);
}

} // namespace

class TestConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A user's, a postmaster's and a packager's side bar, and an administrator's without groups; what a
    // click shows or asks for, and the window's place.
    void frame()
    {
        for (const auto &[authority, lists] : {std::pair{0, QList<int>{1, 2, 3, 5, 6, 7, 10, 11, 12, 13, 14}},
                                               {1, {1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14}},
                                               {2, {1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14}},
                                               {3, {1, 2, 3, 4, 5, 6, 7, 9, 12, 13, 14, 15}}}) {
            Fixture f;
            f.user.setMyAuthority(qint16(authority));
            f.policies.UseDomainGroups = f.policies.UseKorvanGroups = authority < 3;
            QList<int> shown;
            for (const ConsoleFrame::Item &item :
                 ConsoleFrame(f.process, f.session, f.user, f.policies, f.send).Load())
                shown << item.list;
            QCOMPARE(shown, lists);
        }

        Fixture f;
        f.session.UsersLoaded = true;
        ConsoleFrame frame(f.process, f.session, f.user, f.policies, f.send);
        // Each click's list, busy window and frames sent so far: the receipts not yet here are asked for by
        // the Outbox alone, the machines not yet here again at each click while the request is out.
        QList<std::tuple<int, bool, qsizetype>> steps;
        for (const QString &link :
             {u"btnInbox"_s, u"btnOutbox"_s, u"btnUsers"_s, u"btnMachines"_s, u"btnMachines"_s}) {
            const ConsoleFrame::Step step = frame.OnClickItemLink(link);
            steps << std::tuple(step.show, step.progress, f.sent.size());
        }
        QCOMPARE(steps, (QList<std::tuple<int, bool, qsizetype>>{
                            {1, false, 0}, {2, false, 1}, {13, false, 1}, {0, true, 2}, {0, true, 3}}));
        QCOMPARE(f.sent, (QStringList{u"RRC"_s, u"RMA\u0001A"_s, u"RMA\u0001A"_s}));
        // The person moves on: the machines' late answer shows nothing, the groups' always shows.
        frame.OnClickItemLink(u"btnInbox"_s);
        QVERIFY(!frame.MayDisplay(14) && frame.MayDisplay(11));
        // My groups leave the choice as it was; btnInstalled does nothing at all.
        QCOMPARE((std::tuple{frame.OnClickItemLink(u"btnMyGroups"_s).show, f.process.CurrentList,
                             frame.OnClickItemLink(u"btnInstalled"_s).show}),
                 std::tuple(12, 1, 0));
        frame.QueryUnload();
        QCOMPARE(f.process.CurrentList, 0);

        // The place in twips, past 16 bits of them too; a value of text counts as missing.
        const UserStore store(f.profile.path() + u"/Client.conf"_s);
        QCOMPARE(ConsoleFrame::ReadGeometry(store), QRect(0, 0, 800, 600));
        for (const QRect &place : {QRect(100, 50, 2300, 1200), QRect(10, 20, 1000, 700)}) {
            ConsoleFrame::WriteGeometry(store, place);
            QCOMPARE(ConsoleFrame::ReadGeometry(store), place);
        }
        store.write(u"Setup"_s, u"AdminHeight"_s, u"tall"_s);
        QCOMPARE(ConsoleFrame::ReadGeometry(store), QRect(10, 20, 1000, 600));
    }

    void listCommands()
    {
        Fixture f;
        const QStringList ids{u"M1"_s, u"M2"_s, u"M3"_s, u"M4"_s, u"M5"_s, u"M6"_s};
        for (const QString &id : ids) {
            DVMessage m = record(id, f.clock.currentDateTime().addDays(1));
            m.MsgLevel = id == u"M6"_s ? u"sysKVReply"_s : u"Message"_s;
            QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, m, false, true) &&
                    SaveMessage(ClientDB(), u"Inbox"_s, m, false, true));
        }
        MessageList outbox(MessageList::Outbox, f.messages);
        // Replies stay hidden until asked for.
        outbox.ViewMyReplies = false;
        QCOMPARE(outbox.LoadData().size(), 5);
        outbox.ViewMyReplies = true;
        QCOMPARE(outbox.LoadData().size(), 6);
        // A list's row gives back the record as stored, every field in its place; each date a day, a minute
        // and a second after the one before, the next run kept to the minute.
        DVMessage full = record(u"F1"_s);
        int n = 0;
        for (QString *text : {&full.RefID, &full.InitID, &full.Subject, &full.Message, &full.MsgLevel,
                              &full.Attachment, &full.UserID, &full.UserName, &full.MachineID, &full.Target})
            *text = u"F\u00e9"_s + QString::number(++n);
        full.AllowReply = full.ReceiptRequired = full.Notify = full.ExactTime = full.DeleteAtExpiration =
            true;
        std::tie(full.MsgDelivery, full.RepeatValue, full.RepeatStep, full.Status, full.MsgAction) =
            std::tuple(2, 3, 7, StatusCancelled, 4);
        n = 0;
        for (QDateTime *date :
             {&full.CreationDate, &full.ModificationDate, &full.StartDate, &full.ExpirationDate})
            *date = QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7), Qt::UTC).addSecs(86461 * n++);
        full.NextRunDate = QDateTime(QDate(2026, 3, 9), QTime(6, 7), Qt::UTC);
        QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, full, false, true));
        const DVMessage back = outbox.LoadData(u"F1"_s).value(0).ToMessage();
        QCOMPARE(std::tuple(back.ToString(), back.MsgAction, back.NextRunDate),
                 std::tuple(full.ToString(), full.MsgAction, full.NextRunDate));
        DeleteMessage(ClientDB(), u"Outbox"_s, u"F1"_s);
        QVERIFY(
            ClientDB().exec(u"INSERT INTO Receipt (ReceiptID, MsgID, UserID) VALUES ('R1', 'M1', 'bob')"_s));
        QCOMPARE(outbox.Receipts(u"M1"_s).value(0).mid(0, 2), (QStringList{u"R1"_s, u"bob"_s}));

        // Cancel, then a resubmit makes it active again (in its thread's history too); an active, unexpired
        // one changes nothing here.
        QCOMPARE(outbox.Cancel(u"M1"_s), std::optional<qint32>(StatusCancelled));
        QCOMPARE(outbox.Resubmit(u"M1"_s), std::optional<qint32>(StatusActive));
        QCOMPARE(outbox.Resubmit(u"M2"_s), std::nullopt);
        QCOMPARE(GetMessage(ClientDB(), u"Outbox"_s, u"M1"_s).Status, qint32(StatusActive));
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM History WHERE MsgID = 'M1'"_s), 1);

        // Five rows at once are asked about with their count: No keeps them, Yes sends an update for
        // each and one list of deletions.
        f.frontend.answerBox(ResultNo);
        QCOMPARE(outbox.Delete(u"M1"_s, ids.mid(0, 5)), QStringList());
        f.frontend.answerBox(ResultYes);
        QCOMPARE(outbox.Delete(u"M1"_s, ids.mid(0, 5)), ids.mid(0, 5));
        QCOMPARE(f.frontend.questions.value(1).text,
                 u"The 5 selected rows will be deleted.  Do you want to proceed?"_s);
        QCOMPARE(brief(f.sent),
                 (QStringList{u"MCA M1"_s, u"MSG M1"_s, u"MSG M2"_s, u"MUP M1"_s, u"MUP M2"_s, u"MUP M3"_s,
                              u"MUP M4"_s, u"MUP M5"_s, u"MDE M1,M2,M3,M4,M5"_s}));
        MessageList deleted(MessageList::DeletedMsg, f.messages), inbox(MessageList::Inbox, f.messages);
        QCOMPARE(deleted.LoadData().size(), 5);
        // An undelete is local; the Inbox deletes only its focused row.
        f.sent.clear();
        QVERIFY(deleted.Undelete(u"M2"_s));
        QCOMPARE(inbox.Delete(u"M3"_s, ids), QStringList{u"M3"_s});
        QCOMPARE(inbox.LoadData().size(), 5);
        // A delete for the whole organisation is asked about even for one row.
        f.frontend.answerBox(ResultNo);
        MessageList all(MessageList::AllMsgs, f.messages);
        QCOMPARE(all.Delete(u"M6"_s, {u"M6"_s}), QStringList());
        QCOMPARE(f.frontend.questions.last().text,
                 u"1 row(s) will be deleted for the whole organisation.  Do you want to proceed?"_s);
        inbox.Repost(u"M4"_s);
        QCOMPARE(f.frontend.displayed, QStringList{u"M4"_s});

        // A package's cancel marks "Outbox", where no package stands: its cell stays.
        QVERIFY(SaveMessage(ClientDB(), u"OutPkg"_s, record(u"P1"_s), false, true));
        QCOMPARE(MessageList(MessageList::AllPkgs, f.messages).Cancel(u"P1"_s), std::nullopt);
        QCOMPARE(f.sent, QStringList{u"PCA\u0001P1"_s});

        // All messages: an expired one is extended and goes out twice; the author's own copy follows.
        for (Database *db : {&TempDB(), &ClientDB()})
            QVERIFY(SaveMessage(*db, u"Outbox"_s, record(u"A1"_s, f.clock.currentDateTime().addDays(-1)),
                                false, true));
        all.Resubmit(u"A1"_s);
        QCOMPARE(brief(f.sent.mid(1)), (QStringList{u"MSG A1"_s, u"MSG A1"_s}));
        const QDateTime extended = DateText::TruncateToMinute(f.clock.currentDateTime()).addDays(1);
        QCOMPARE((std::pair{GetMessage(TempDB(), u"Outbox"_s, u"A1"_s).ExpirationDate,
                            GetMessage(ClientDB(), u"Outbox"_s, u"A1"_s).ExpirationDate}),
                 (std::pair{extended, extended}));
        // Its refresh forgets every row it had and asks the server for all of them again.
        f.session.AllMessagesLoaded = true;
        all.Refresh();
        QVERIFY(!f.session.AllMessagesLoaded && all.LoadData().isEmpty());
        QCOMPARE(f.sent.mid(3), QStringList{u"ALM"_s});
    }

    void templates()
    {
        Fixture f;
        const TemplateList::Context context{ClientDB(), TempDB(), f.user, f.process, f.session, f.send};
        // A user may use a shared template and copy it, not change it.
        TemplateList shared(TemplateList::Shared, context), personal(TemplateList::Personal, context);
        QString offered;
        for (TemplateList::Item item : shared.Items())
            offered += shared.Enabled(item, 1) ? u'1' : u'0';
        QCOMPARE(offered, u"01001001"_s);
        f.user.setMyAuthority(UserInfos::RolePostmaster);
        QVERIFY(shared.Enabled(TemplateList::mnuEdit, 1) && !shared.Enabled(TemplateList::mnuDelete, 0));
        // Editing opens the composer in the mode of the template's own list.
        QCOMPARE(std::pair(shared.EditAction(), personal.EditAction()),
                 std::pair(int(EditSharedTemplate), int(EditPersonalTemplate)));

        for (const QString &id : {u"S1"_s, u"S2"_s})
            QVERIFY(SaveMessage(TempDB(), u"SharedTemplates"_s, record(id), false, true) &&
                    SaveMessage(ClientDB(), u"MyTemplates"_s, record(id), false, true));
        QCOMPARE(shared.Delete(u"S1"_s, {u"S1"_s, u"S2"_s}), (QStringList{u"S1"_s, u"S2"_s}));
        QVERIFY(shared.LoadData().isEmpty());
        // A personal one goes at once, the focused row alone, and the server is not told; a new template is
        // asked for in the list's own kind.
        QCOMPARE(personal.Delete(u"S2"_s, {u"S1"_s, u"S2"_s}), QStringList{u"S2"_s});
        QCOMPARE(personal.LoadData().size(), 1);
        personal.CreateFromTemplate(u"S1"_s);
        f.session.SharedTemplatesLoaded = true;
        shared.Refresh();
        QVERIFY(!f.session.SharedTemplatesLoaded);
        shared.New();
        personal.New();
        QCOMPARE(f.sent, (QStringList{u"TDE\u0001S1,S2"_s, u"MTP\u0001S1"_s, u"TMP"_s, u"STI"_s, u"PTI"_s}));
    }

    // The enabled items (by their Item number) for 0, 1 and 3 selected rows, of the
    // message lists (kind below 10) and of the directories by role.
    void menus()
    {
        using Row = std::tuple<int, int, QList<QList<int>>>;
        for (const auto &[kind, authority, enabled] : std::initializer_list<Row>{
                 {MessageList::Inbox, 0, {{0, 9}, {0, 4, 5, 6, 7, 9}, {0, 4, 9}}},
                 {MessageList::Outbox, 0, {{0, 8}, {0, 1, 2, 3, 4, 5, 6, 7, 8}, {0, 4, 8}}},
                 {MessageList::DeletedMsg, 0, {{0}, {0, 4, 5, 6, 7, 10}, {0, 4}}},
                 {MessageList::AllPkgs, 0, {{0, 11}, {0, 1, 2, 3, 4, 5, 11}, {0, 4, 11}}},
                 {MessageList::Received, 0, {{}, {}, {}}},
                 {DirectoryList::Users, 0, {{}, {0}, {0}}},
                 {DirectoryList::Users, 1, {{5}, {0, 5}, {0, 5}}},
                 {DirectoryList::Users, 3, {{5}, {0, 1, 2, 3, 4, 5}, {0, 1, 5}}},
                 {DirectoryList::Machines, 1, {{5}, {0, 1, 5}, {0, 1, 5}}},
                 {DirectoryList::KorvaneGroups, 0, {{5}, {0, 5}, {0, 5}}},
                 {DirectoryList::KorvaneGroups, 1, {{5, 6}, {0, 1, 5, 6, 7, 8}, {0, 5, 6}}},
                 {DirectoryList::MyGroups, 0, {{6}, {0, 1, 6, 7, 8}, {0, 6}}}}) {
            Fixture f;
            f.user.setMyAuthority(qint16(authority));
            QList<QList<int>> items;
            for (int selected : {0, 1, 3}) {
                const auto numbers = [selected](const auto &list) {
                    QList<int> items;
                    for (auto item : list.Items())
                        if (list.Enabled(item, selected))
                            items << int(item);
                    std::sort(items.begin(), items.end());
                    return items;
                };
                items << (kind < DirectoryList::DomainGroups
                              ? numbers(MessageList(MessageList::Kind(kind), f.messages))
                              : numbers(DirectoryList(DirectoryList::Kind(kind), f.directory)));
            }
            QCOMPARE(std::tuple(kind, authority, items), std::tuple(kind, authority, enabled));
        }
    }

    void directoryCommands()
    {
        Fixture f;
        QVERIFY(TempDB().exec(
            u"INSERT INTO Users (UserID, UserName) VALUES ('a', 'A'), ('b', 'B'), ('c', 'C')"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO Administrators (UserID, Authority) VALUES ('a', 2), ('b', 7)"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops')"_s));
        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroups (GroupName, Description) VALUES ('mine', 'Mine')"_s));
        QVERIFY(ClientDB().exec(
            u"INSERT INTO MyGroupUsers (GroupName, UserID) VALUES ('mine', 'b'), ('mine', 'a')"_s));

        // Send on three selected users: the composer's target, in selection order.
        DirectoryList users(DirectoryList::Users, f.directory),
            shared(DirectoryList::KorvaneGroups, f.directory),
            admins(DirectoryList::Administrators, f.directory),
            machines(DirectoryList::Machines, f.directory);
        users.Send({u"c"_s, u"a"_s, u"b"_s});
        QCOMPARE(f.process.SavedSelection, u"c,a,b"_s);
        // A user deleted here and at the server once the question is answered Yes, a machine kept on No; a
        // refresh empties the table and asks again.
        for (int answer : {ResultNo, ResultNo, ResultYes})
            f.frontend.answerBox(answer);
        QCOMPARE((std::tuple{users.Delete(u"b"_s), users.LoadData().size(), machines.Delete(u"PC7"_s),
                             users.Delete(u"b"_s), users.LoadData().size()}),
                 std::tuple(false, qsizetype(3), false, true, qsizetype(2)));
        f.session.UsersLoaded = true;
        QVERIFY(!users.Refresh() && !f.session.UsersLoaded && users.LoadData().isEmpty());
        // The shared groups' refresh empties their table too, and asks the server for all of them.
        QVERIFY(!shared.Refresh() && shared.LoadData().isEmpty());
        QCOMPARE(f.sent, (QStringList{u"MID"_s, u"USD\u0001b"_s, u"RUS\u0001A"_s, u"RPI\u0001A"_s}));

        // Roles show as words; a number no version knows stays a number.
        QCOMPARE(admins.LoadData(), (QList<QStringList>{{u"a"_s, u"Packager"_s}, {u"b"_s, u"7"_s}}));
        // A role given to two users at once: one ADM, one row updated and one added.
        f.sent.clear();
        f.process.CurrentList = 15;
        AdminsEditForm role({TempDB(), f.session, f.process, f.send});
        // Nobody named: the form stays, and the list has nothing to reread.
        QCOMPARE(role.OKButton(), AdminsEditForm::StayOpen);
        QVERIFY(!role.RefreshList());
        // The Users button asks the server once, then takes the people picked in the selection.
        role.getSelection = [](const QString &before) -> QString { return before + u"ann, bob"_s; };
        role.UsersButton();
        f.session.UsersLoaded = true;
        role.UsersButton();
        QCOMPARE(role.txtUserID, u"ann, bob"_s);
        role.EditAdmin(u"a, z"_s, UserInfos::RoleAdministrator);
        QVERIFY(role.OKButton() == AdminsEditForm::Close && role.RefreshList());
        QCOMPARE(f.sent, (QStringList{u"RUS\u0001L"_s, u"ADM\u0001a, z\u00023"_s}));
        QCOMPARE(admins.LoadData(),
                 (QList<QStringList>{
                     {u"a"_s, u"Administrator"_s}, {u"b"_s, u"7"_s}, {u"z"_s, u"Administrator"_s}}));
        // Each list the server gives is emptied by its refresh, and asked for again; this
        // workstation's groups and the domain's are read again at once.
        f.sent.clear();
        f.session.MachinesLoaded = f.session.AdminsLoaded = true;
        QVERIFY(TempDB().exec(u"INSERT INTO Machines (MachineID) VALUES ('PC9')"_s));
        QVERIFY(!machines.Refresh() && !admins.Refresh() && !f.session.MachinesLoaded &&
                !f.session.AdminsLoaded && machines.LoadData().isEmpty() && admins.LoadData().isEmpty());
        QCOMPARE(f.sent, (QStringList{u"RMA\u0001A"_s, u"RAD"_s}));
        QVERIFY(DirectoryList(DirectoryList::MyGroups, f.directory).Refresh() &&
                DirectoryList(DirectoryList::DomainGroups, f.directory).Refresh());
        // A group's Edit opens the editor on that group, its New and Duplicate on a new one, each of
        // the list's own kind.
        QList<int> actions;
        for (auto kind : {DirectoryList::MyGroups, DirectoryList::KorvaneGroups})
            for (auto item : {DirectoryList::mnuNew, DirectoryList::mnuEdit, DirectoryList::mnuDuplicate})
                actions << DirectoryList(kind, f.directory).GroupAction(item);
        QCOMPARE(actions, (QList<int>{GroupEditForm::NewPersonal, GroupEditForm::EditPersonal,
                                      GroupEditForm::NewPersonal, GroupEditForm::NewShared,
                                      GroupEditForm::EditShared, GroupEditForm::NewShared}));

        // A personal group: its members in their order; No keeps it, Yes takes it with its members. A
        // shared one goes at the server with its fields emptied.
        DirectoryList mine(DirectoryList::MyGroups, f.directory);
        QCOMPARE(mine.Members(u"mine"_s), (QStringList{u"b"_s, u"a"_s}));
        for (int answer : {ResultNo, ResultYes, ResultYes})
            f.frontend.answerBox(answer);
        QVERIFY(!mine.Delete(u"mine"_s) && mine.LoadData().size() == 1);
        QVERIFY(mine.Delete(u"mine"_s) && mine.LoadData().isEmpty() && mine.Members(u"mine"_s).isEmpty());
        QVERIFY(shared.Delete(u"ops"_s) && shared.LoadData().isEmpty());
        QCOMPARE(f.sent.mid(2), QStringList{u"KVG\u0001ops\u0002\u0002\u0002\u0002"_s});
    }

    void rowsFoundByKeyFilteredAndSorted()
    {
        RecordModel model;
        model.setRecords({row(u"C"_s, day(1)), row(u"A"_s, day(2)), row(u"B"_s, day(3), u"ops"_s)});
        // Insert or update by key; a delete keeps the rows behind it findable.
        model.AddRecord(row(u"A"_s, day(2), u"bob"_s, u"Changed"_s));
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(model.index(1, 3).data().toString(), u"Changed"_s);
        // A row a view holds on to (its chosen one) stays that row when another goes.
        const QPersistentModelIndex chosen = model.index(model.Locate(u"B"_s), 0);
        model.DelRecord(u"C"_s);
        model.DelRecord(u"missing"_s);
        QCOMPARE(std::pair(model.Locate(u"B"_s), chosen.data().toString()), std::pair(1, u"B"_s));
        model.AddRecord(row(u"D"_s, QDateTime(QDate(2025, 1, 1), QTime(), Qt::UTC), QString()));
        QCOMPARE(model.Locate(u"D"_s), 2);

        // The quick filter looks at the shown columns only; an update that no longer matches leaves the
        // shown rows, one that matches joins them.
        model.setShownColumns({0, 3});
        model.setQuickFilter(u"OPS"_s);
        QCOMPARE(model.rowCount(), 0);
        model.setShownColumns({0, 20});
        QCOMPARE(model.rowCount(), 1);
        model.AddRecord(row(u"B"_s, day(3)));
        QCOMPARE(model.rowCount(), 0);
        model.AddRecord(row(u"B"_s, day(3), u"ops desk"_s));
        QCOMPARE(model.Locate(u"B"_s), 0);
        model.setQuickFilter(QString());
        QCOMPARE(model.heldCount(), 3);

        // Grouped under a column's values, with counts, and following the rows below.
        GroupedRecords grouped(&model);
        grouped.setGroupColumn(20);
        QCOMPARE(grouped.rowCount(), 3);
        QCOMPARE(grouped.index(1, 0).data().toString(), u"bob (1)"_s);
        model.AddRecord(row(u"E"_s, DateText::ZeroDate()));
        const QModelIndex bob = grouped.index(1, 0);
        QCOMPARE(bob.data().toString(), u"bob (2)"_s);
        QCOMPARE(model.index(grouped.sourceRow(grouped.index(1, 0, bob)), 0).data().toString(), u"E"_s);
        QCOMPARE(grouped.sourceRow(bob), -1);
        // The caption follows the first shown column, and the view is told to draw the headings anew.
        QSignalSpy redrawn(&grouped, &QAbstractItemModel::dataChanged);
        grouped.setCaptionColumn(3);
        QCOMPARE(grouped.index(1, 3).data().toString(), u"bob (2)"_s);
        QVERIFY(!grouped.index(1, 0).data().isValid());
        QCOMPARE(redrawn.size(), 1);
        QCOMPARE(redrawn[0][1].toModelIndex(),
                 grouped.index(grouped.rowCount() - 1, grouped.columnCount() - 1));

        // Dates sort in time, an unset one after every set one; a new or changed row goes straight to its
        // sorted place.
        const auto ids = [&model](auto change) {
            change();
            QString shown;
            for (int row = 0; row < model.rowCount(); ++row)
                shown += model.index(row, 0).data().toString();
            return shown;
        };
        QCOMPARE(
            (QStringList{ids([&] { model.sort(10); }), ids([&] { model.AddRecord(row(u"F"_s, day(2, 12))); }),
                         ids([&] { model.AddRecord(row(u"D"_s, day(2, 11))); }),
                         ids([&] { model.sort(0, Qt::DescendingOrder); }), ids([&] { model.sort(3); })}),
            (QStringList{u"DABE"_s, u"DAFBE"_s, u"ADFBE"_s, u"FEDBA"_s, u"FEDBA"_s}));
        // Quoted where a comma, a quote or a line break needs it, and only there.
        QCOMPARE(
            CsvExport::Write({u"ID"_s, u"Text"_s},
                             {{u"A"_s, u"Say \"hi\", then"_s}, {u"é"_s, QString()}, {u"B"_s, u"go\nhome"_s}}),
            QByteArray(
                "\xEF\xBB\xBFID,Text\r\nA,\"Say \"\"hi\"\", then\"\r\n\xC3\xA9,\r\nB,\"go\nhome\"\r\n"));
    }

    // The layouts the program ships read whole and name only real columns: the selection dialog's
    // grids a name and a description, the lists the records' columns (the directories' are their own
    // test's). A file read back writes itself unchanged; a refused one says where and changes nothing.
    void layouts()
    {
        const QDir folder(QStringLiteral(QT_TESTCASE_SOURCEDIR "/../resources/layouts"));
        QVERIFY(folder.exists(u"InboxMax.xgl"_s));
        const QStringList directories{u"Users.xgl"_s,    u"Machines.xgl"_s,      u"AdminsList.xgl"_s,
                                      u"MyGroups.xgl"_s, u"KorvaneGroups.xgl"_s, u"DomainGroups.xgl"_s};
        for (const QString &name : folder.entryList({u"*.xgl"_s})) {
            if (directories.contains(name))
                continue;
            QFile file(folder.filePath(name));
            GridState state;
            QVERIFY2(file.open(QIODevice::ReadOnly) && GridState::Read(file.readAll(), state),
                     qPrintable(name));
            const QStringList known = name.endsWith(u"Selection.xgl"_s)
                                          ? QStringList{u"colName"_s, u"colDescription"_s}
                                          : RecordModel::Columns();
            for (const GridState::Column &column : state.columns)
                QVERIFY2(known.contains(column.name), qPrintable(name + u' ' + column.name));
        }

        const QByteArray written("korvane-grid 1\ncolumn colSubject 220 1\ncolumn colLevel 80 0\n"
                                 "group colLevel\nsort colSubject desc\n");
        for (const auto &[file, error] :
             {std::pair{written, QString()},
              {QByteArray("korvane-grid 2\r\nfreeze colSubject\r\n"), QString()}, // a later version
              {QByteArray("\x00\xff garbage", 10), u"not a grid layout at line 1"_s},
              {QByteArray("korvane-grid 1\ncolumn colA wide 1\n"), u"bad column at line 2"_s},
              {QByteArray("korvane-grid 1\ncolumn colA -5 1\n"), u"bad column at line 2"_s},
              {QByteArray("korvane-grid 1\ncolumn col_A9 5 1\n"), QString()},
              {QByteArray("korvane-grid 1\ncolumn col/A 5 1\n"), u"bad column at line 2"_s},
              {QByteArray("korvane-grid 1\ncolumn colA 5 1\ncolumn colA 6 1\n"), u"column twice at line 3"_s},
              {QByteArray("korvane-grid 1\nsort colA up\n"), u"bad sort at line 2"_s}}) {
            GridState state, again;
            state.sortColumn = u"kept"_s;
            QString reason;
            QCOMPARE((std::pair{GridState::Read(file, state, &reason), reason}),
                     std::pair(error.isEmpty(), error));
            if (!error.isEmpty()) {
                QCOMPARE(state.sortColumn, u"kept"_s);
                continue;
            }
            QVERIFY(GridState::Read(state.Write(), again));
            QCOMPARE(again.Write(), file == written ? file : state.Write());
        }

        // Which file a list loads, and when the person's own is saved.
        TempProfile profile;
        GridLayout inbox(u"Inbox"_s, u"/opt/k"_s, profile.dataHome());
        QCOMPARE(
            (QStringList{inbox.LayoutKey(), GridLayout(u"Ptemplates"_s, u"/opt/k"_s, QString()).LayoutKey(),
                         GridLayout(u"Users"_s, u"/opt/k"_s, QString()).MinFile()}),
            (QStringList{u"InboxLayout"_s, u"MyTemplatesLayout"_s, u"/opt/k/Layouts/Users.xgl"_s}));
        // First start: no key, the full layout, loaded once at the first activation.
        inbox.Load(QString());
        QVERIFY(inbox.Activate() && !inbox.Activate());
        const QString full = u"/opt/k/Layouts/InboxMax.xgl"_s;
        QCOMPARE(inbox.LoadLayout(), full);
        inbox.Load(u"7"_s);
        QCOMPARE(inbox.number(), int(GridLayout::Full));

        // Custom without the person's file: the full columns, the chooser opens on them,
        // and what the person changes is kept at the end.
        GridLayout::Change change = inbox.Choose(GridLayout::Custom);
        QVERIFY(change.reload && change.openChooser && !change.saveCustom);
        QCOMPARE(inbox.LoadLayout(), full);
        inbox.ColumnsChanged();
        QVERIFY(inbox.SaveOnUnload());
        // Full with changed columns keeps them first, so that Custom finds them later.
        change = inbox.Choose(GridLayout::Full);
        QVERIFY(change.saveCustom && change.reload);
        QCOMPARE(inbox.LoadLayout(), full);
        QVERIFY(!inbox.dirty() && !inbox.Choose(GridLayout::Full).reload);
        profile.writeFile(u"data/InboxCust.xgl"_s, "korvane-grid 1\n");
        inbox.Choose(GridLayout::Custom);
        inbox.ColumnsChanged();
        QCOMPARE(inbox.LoadLayout(), inbox.CustomFile());
        QVERIFY(inbox.dirty());
        inbox.Choose(GridLayout::Simple);
        QCOMPARE((std::pair{inbox.LoadLayout(), inbox.StoredNumber()}),
                 std::pair(u"/opt/k/Layouts/InboxMin.xgl"_s, u"1"_s));
        const GridLayout::Menu menu = inbox.LayoutMenu(1);
        QVERIFY(menu.resetVisible && menu.fullEnabled && !menu.simpleEnabled &&
                !inbox.LayoutMenu(0).resetVisible);
    }
};

QTEST_GUILESS_MAIN(TestConsole)
#include "tst_console.moc"
