// The console's frame (the side bar by role and policy, what a click shows or
// asks for, the window's place) and its lists' column layouts.
#include "authoring/GroupEditForm.h"
#include "authoring/MessageForm.h"
#include "console/AdminsEditForm.h"
#include "console/ConsoleFrame.h"
#include "console/CsvExport.h"
#include "console/DirectoryList.h"
#include "console/GridLayout.h"
#include "console/GridState.h"
#include "console/GroupedRecords.h"
#include "console/ListRecord.h"
#include "console/MessageList.h"
#include "console/RecordModel.h"
#include "console/TemplateList.h"
#include "core/UserStore.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/TempProfile.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A user with the default policies over a real store, every frame sent kept.
struct Fixture : AuthoringFixture
{
    MessageList::Context messages()
    {
        return {ClientDB(), TempDB(), clock, frontend, process, session, send};
    }
    DirectoryList::Context directory()
    {
        return {ClientDB(), TempDB(), frontend, process, session, user, send};
    }
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
    m.MsgID = id;
    m.Status = StatusActive;
    m.ExpirationDate = expires;
    return m;
}

// A list's row: its ID, creation date, target and subject.
ListRecord row(const QString &id, const QDateTime &created, const QString &target = u"bob"_s,
               const QString &subject = QString())
{
    DVMessage m = record(id);
    m.CreationDate = created;
    m.Target = target;
    m.Subject = subject;
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
    // A user's, a postmaster's and a packager's lists, and an administrator's without groups.
    void sideBarByRoleAndPolicy()
    {
        for (const auto &[authority, lists] :
             {std::pair{0, QList<int>{1, 2, 3, 5, 6, 7, 10, 11, 12, 13, 14}},
              std::pair{1, QList<int>{1, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14}},
              std::pair{2, QList<int>{1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14}},
              std::pair{3, QList<int>{1, 2, 3, 4, 5, 6, 7, 9, 12, 13, 14, 15}}}) {
            Fixture f;
            f.user.setMyAuthority(qint16(authority));
            f.policies.UseDomainGroups = f.policies.UseKorvanGroups = authority < 3;
            QList<int> shown;
            for (const ConsoleFrame::Item &item :
                 ConsoleFrame(f.process, f.session, f.user, f.policies, f.send).Load())
                shown << item.list;
            QCOMPARE(shown, lists);
        }
    }

    void clicksShowOrAsk()
    {
        Fixture f;
        f.session.UsersLoaded = true;
        ConsoleFrame frame(f.process, f.session, f.user, f.policies, f.send);
        // The receipts not yet here are asked for by the Outbox alone.
        QCOMPARE(frame.OnClickItemLink(u"btnInbox"_s).show, 1);
        QVERIFY(f.sent.isEmpty());
        QCOMPARE(frame.OnClickItemLink(u"btnOutbox"_s).show, 2);
        QCOMPARE(frame.OnClickItemLink(u"btnUsers"_s).show, 13);
        // Not yet here: the busy window and the request, again at each click while it is out.
        for (int click = 0; click < 2; ++click) {
            const ConsoleFrame::Step step = frame.OnClickItemLink(u"btnMachines"_s);
            QVERIFY(step.progress && step.show == 0);
        }
        QCOMPARE(f.sent, (QStringList{u"RRC"_s, u"RMA\u0001A"_s, u"RMA\u0001A"_s}));
        // The person moves on: the machines' late answer shows nothing, the groups' always shows.
        frame.OnClickItemLink(u"btnInbox"_s);
        QVERIFY(!frame.MayDisplay(14) && frame.MayDisplay(11));
        // My groups leave the choice as it was; btnInstalled does nothing at all.
        QCOMPARE(frame.OnClickItemLink(u"btnMyGroups"_s).show, 12);
        QCOMPARE(f.process.CurrentList, 1);
        QCOMPARE(frame.OnClickItemLink(u"btnInstalled"_s).show, 0);
        frame.QueryUnload();
        QCOMPARE(f.process.CurrentList, 0);

        // The place in twips; a value of text counts as missing.
        const UserStore store(f.profile.path() + u"/Client.conf"_s);
        QCOMPARE(ConsoleFrame::ReadGeometry(store), QRect(0, 0, 800, 600));
        ConsoleFrame::WriteGeometry(store, QRect(10, 20, 1000, 700));
        store.write(u"Setup"_s, u"AdminHeight"_s, u"tall"_s);
        QCOMPARE(ConsoleFrame::ReadGeometry(store), QRect(10, 20, 1000, 600));
    }

    void listCommands()
    {
        Fixture f;
        const MessageList::Context context = f.messages();
        const QStringList ids{u"M1"_s, u"M2"_s, u"M3"_s, u"M4"_s, u"M5"_s, u"M6"_s};
        for (const QString &id : ids) {
            DVMessage m = record(id, f.clock.currentDateTime().addDays(1));
            m.MsgLevel = id == u"M6"_s ? u"sysKVReply"_s : u"Message"_s;
            QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, m, false, true) &&
                    SaveMessage(ClientDB(), u"Inbox"_s, m, false, true));
        }
        MessageList outbox(MessageList::Outbox, context);
        // Replies stay hidden until asked for.
        outbox.ViewMyReplies = false;
        QCOMPARE(outbox.LoadData().size(), 5);
        outbox.ViewMyReplies = true;
        QCOMPARE(outbox.LoadData().size(), 6);
        // A list's row gives back the record as stored, every field in its place.
        DVMessage full;
        QString *texts[] = {&full.MsgID,    &full.RefID,     &full.InitID,     &full.Subject,
                            &full.Message,  &full.MsgLevel,  &full.Attachment, &full.UserID,
                            &full.UserName, &full.MachineID, &full.Target};
        for (int n = 0; n < 11; ++n)
            *texts[n] = u"F\u00e9"_s + QString::number(n);
        full.MsgID = u"F1"_s;
        full.AllowReply = full.ReceiptRequired = full.Notify = full.ExactTime = full.DeleteAtExpiration =
            true;
        std::tie(full.MsgDelivery, full.RepeatValue, full.RepeatStep, full.Status, full.MsgAction) =
            std::tuple(2, 3, 7, StatusCancelled, 4);
        // Each date a day, a minute and a second after the one before; the next run is kept to the minute.
        QDateTime *dates[] = {&full.CreationDate, &full.ModificationDate, &full.StartDate,
                              &full.ExpirationDate};
        for (int n = 0; n < 4; ++n)
            *dates[n] = QDateTime(QDate(2026, 3, 4 + n), QTime(5, 6 + n, 7 + n), Qt::UTC);
        full.NextRunDate = QDateTime(QDate(2026, 3, 9), QTime(6, 7), Qt::UTC);
        QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, full, false, true));
        const DVMessage back = outbox.LoadData(u"F1"_s).value(0).ToMessage();
        QCOMPARE(back.ToString(), full.ToString());
        QCOMPARE(std::pair(back.MsgAction, back.NextRunDate), std::pair(full.MsgAction, full.NextRunDate));
        DeleteMessage(ClientDB(), u"Outbox"_s, u"F1"_s);
        QVERIFY(
            ClientDB().exec(u"INSERT INTO Receipt (ReceiptID, MsgID, UserID) VALUES ('R1', 'M1', 'bob')"_s));
        QCOMPARE(outbox.Receipts(u"M1"_s).value(0).mid(0, 2), (QStringList{u"R1"_s, u"bob"_s}));

        // Cancel, then a resubmit makes it active again; an active, unexpired one changes nothing here.
        QCOMPARE(outbox.Cancel(u"M1"_s), std::optional<qint32>(StatusCancelled));
        QCOMPARE(outbox.Resubmit(u"M1"_s), std::optional<qint32>(StatusActive));
        QCOMPARE(outbox.Resubmit(u"M2"_s), std::nullopt);
        QCOMPARE(GetMessage(ClientDB(), u"Outbox"_s, u"M1"_s).Status, qint32(StatusActive));
        QCOMPARE(brief(f.sent), (QStringList{u"MCA M1"_s, u"MSG M1"_s, u"MSG M2"_s}));
        // The resubmitted message takes its place in its thread's history.
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM History WHERE MsgID = 'M1'"_s), 1);

        // Five rows at once are asked about with their count: No keeps them, Yes sends an update for
        // each and one list of deletions.
        f.sent.clear();
        f.frontend.answerBox(ResultNo);
        QCOMPARE(outbox.Delete(u"M1"_s, ids.mid(0, 5)), QStringList());
        QCOMPARE(f.sent, QStringList());
        f.frontend.answerBox(ResultYes);
        QCOMPARE(outbox.Delete(u"M1"_s, ids.mid(0, 5)), ids.mid(0, 5));
        QCOMPARE(f.frontend.questions.value(1).text,
                 u"The 5 selected rows will be deleted.  Do you want to proceed?"_s);
        QCOMPARE(brief(f.sent), (QStringList{u"MUP M1"_s, u"MUP M2"_s, u"MUP M3"_s, u"MUP M4"_s, u"MUP M5"_s,
                                             u"MDE M1,M2,M3,M4,M5"_s}));
        QCOMPARE(MessageList(MessageList::DeletedMsg, context).LoadData().size(), 5);
        // An undelete is local; the Inbox deletes only its focused row.
        f.sent.clear();
        QVERIFY(MessageList(MessageList::DeletedMsg, context).Undelete(u"M2"_s));
        MessageList inbox(MessageList::Inbox, context);
        QCOMPARE(inbox.Delete(u"M3"_s, ids), QStringList{u"M3"_s});
        QCOMPARE(inbox.LoadData().size(), 5);
        // A delete for the whole organisation is asked about even for one row.
        f.frontend.answerBox(ResultNo);
        QCOMPARE(MessageList(MessageList::AllMsgs, context).Delete(u"M6"_s, {u"M6"_s}), QStringList());
        QCOMPARE(f.frontend.questions.last().text,
                 u"1 row(s) will be deleted for the whole organisation.  Do you want to proceed?"_s);
        QCOMPARE(f.sent, QStringList());
        inbox.Repost(u"M4"_s);
        QCOMPARE(f.frontend.displayed, QStringList{u"M4"_s});

        // A package's cancel marks "Outbox", where no package stands: its cell stays.
        QVERIFY(SaveMessage(ClientDB(), u"OutPkg"_s, record(u"P1"_s), false, true));
        QCOMPARE(MessageList(MessageList::AllPkgs, context).Cancel(u"P1"_s), std::nullopt);
        QCOMPARE(f.sent.last(), u"PCA\u0001P1"_s);

        // All messages: an expired one is extended and goes out twice.
        QVERIFY(SaveMessage(TempDB(), u"Outbox"_s, record(u"A1"_s, f.clock.currentDateTime().addDays(-1)),
                            false, true));
        f.sent.clear();
        MessageList(MessageList::AllMsgs, context).Resubmit(u"A1"_s);
        QCOMPARE(brief(f.sent), (QStringList{u"MSG A1"_s, u"MSG A1"_s}));
        QCOMPARE(GetMessage(TempDB(), u"Outbox"_s, u"A1"_s).ExpirationDate,
                 DateText::TruncateToMinute(f.clock.currentDateTime()).addDays(1));
        // Its refresh forgets every row it had and asks the server for all of them again.
        f.sent.clear();
        f.session.AllMessagesLoaded = true;
        MessageList all(MessageList::AllMsgs, context);
        all.Refresh();
        QVERIFY(!f.session.AllMessagesLoaded);
        QVERIFY(all.LoadData().isEmpty());
        QCOMPARE(f.sent, QStringList{u"ALM"_s});
    }

    void templates()
    {
        Fixture f;
        const TemplateList::Context context{ClientDB(), TempDB(), f.user, f.process, f.session, f.send};
        // A user may use a shared template and copy it, not change it.
        TemplateList shared(TemplateList::Shared, context);
        QString offered;
        for (TemplateList::Item item : shared.Items())
            offered += shared.Enabled(item, 1) ? u'1' : u'0';
        QCOMPARE(offered, u"01001001"_s);
        f.user.setMyAuthority(UserInfos::RolePostmaster);
        QVERIFY(shared.Enabled(TemplateList::mnuEdit, 1) && !shared.Enabled(TemplateList::mnuDelete, 0));
        // Editing opens the composer in the mode of the template's own list.
        QCOMPARE(shared.EditAction(), int(EditSharedTemplate));
        QCOMPARE(TemplateList(TemplateList::Personal, context).EditAction(), int(EditPersonalTemplate));

        for (const QString &id : {u"S1"_s, u"S2"_s})
            QVERIFY(SaveMessage(TempDB(), u"SharedTemplates"_s, record(id), false, true) &&
                    SaveMessage(ClientDB(), u"MyTemplates"_s, record(id), false, true));
        QCOMPARE(shared.Delete(u"S1"_s, {u"S1"_s, u"S2"_s}), (QStringList{u"S1"_s, u"S2"_s}));
        QCOMPARE(f.sent, QStringList{u"TDE\u0001S1,S2"_s});
        QVERIFY(shared.LoadData().isEmpty());
        // A personal one goes at once, the focused row alone, and the server is not told.
        TemplateList personal(TemplateList::Personal, context);
        QCOMPARE(personal.Delete(u"S2"_s, {u"S1"_s, u"S2"_s}), QStringList{u"S2"_s});
        QCOMPARE(personal.LoadData().size(), 1);
        personal.CreateFromTemplate(u"S1"_s);
        f.session.SharedTemplatesLoaded = true;
        shared.Refresh();
        QVERIFY(!f.session.SharedTemplatesLoaded);
        QCOMPARE(f.sent.mid(1), (QStringList{u"MTP\u0001S1"_s, u"TMP"_s}));
        // A new template is asked for in the list's own kind.
        f.sent.clear();
        shared.New();
        personal.New();
        QCOMPARE(f.sent, (QStringList{u"STI"_s, u"PTI"_s}));
    }

    // The enabled items (by their Item number) for 0, 1 and 3 selected rows, of the
    // message lists (kind below 10) and of the directories by role.
    void menus_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("authority");
        QTest::addColumn<QList<QList<int>>>("enabled");
        const auto row = [](const char *name, int kind, int authority, const QList<QList<int>> &enabled) {
            QTest::newRow(name) << kind << authority << enabled;
        };
        row("inbox", MessageList::Inbox, 0, {{0, 9}, {0, 4, 5, 6, 7, 9}, {0, 4, 9}});
        row("outbox", MessageList::Outbox, 0, {{0, 8}, {0, 1, 2, 3, 4, 5, 6, 7, 8}, {0, 4, 8}});
        row("deleted", MessageList::DeletedMsg, 0, {{0}, {0, 4, 5, 6, 7, 10}, {0, 4}});
        row("all packages", MessageList::AllPkgs, 0, {{0, 11}, {0, 1, 2, 3, 4, 5, 11}, {0, 4, 11}});
        row("received", MessageList::Received, 0, {{}, {}, {}});
        row("users, user", DirectoryList::Users, 0, {{}, {0}, {0}});
        row("users, postmaster", DirectoryList::Users, 1, {{5}, {0, 5}, {0, 5}});
        row("users, administrator", DirectoryList::Users, 3, {{5}, {0, 1, 2, 3, 4, 5}, {0, 1, 5}});
        row("machines, postmaster", DirectoryList::Machines, 1, {{5}, {0, 1, 5}, {0, 1, 5}});
        row("shared groups, user", DirectoryList::KorvaneGroups, 0, {{5}, {0, 5}, {0, 5}});
        row("shared groups, postmaster", DirectoryList::KorvaneGroups, 1,
            {{5, 6}, {0, 1, 5, 6, 7, 8}, {0, 5, 6}});
        row("my groups, user", DirectoryList::MyGroups, 0, {{6}, {0, 1, 6, 7, 8}, {0, 6}});
    }

    void menus()
    {
        QFETCH(int, kind);
        QFETCH(int, authority);
        Fixture f;
        f.user.setMyAuthority(qint16(authority));
        QList<QList<int>> enabled;
        for (int selected : {0, 1, 3}) {
            const auto numbers = [selected](const auto &list) {
                QList<int> items;
                for (auto item : list.Items())
                    if (list.Enabled(item, selected))
                        items << int(item);
                std::sort(items.begin(), items.end());
                return items;
            };
            enabled << (kind < DirectoryList::DomainGroups
                            ? numbers(MessageList(MessageList::Kind(kind), f.messages()))
                            : numbers(DirectoryList(DirectoryList::Kind(kind), f.directory())));
        }
        QTEST(enabled, "enabled");
    }

    void directoryCommands()
    {
        Fixture f;
        const DirectoryList::Context context = f.directory();
        QVERIFY(TempDB().exec(
            u"INSERT INTO Users (UserID, UserName) VALUES ('a', 'A'), ('b', 'B'), ('c', 'C')"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO Administrators (UserID, Authority) VALUES ('a', 2), ('b', 7)"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops')"_s));
        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroups (GroupName, Description) VALUES ('mine', 'Mine')"_s));
        QVERIFY(ClientDB().exec(
            u"INSERT INTO MyGroupUsers (GroupName, UserID) VALUES ('mine', 'b'), ('mine', 'a')"_s));

        // Send on three selected users: the composer's target, in selection order.
        DirectoryList users(DirectoryList::Users, context);
        users.Send({u"c"_s, u"a"_s, u"b"_s});
        QCOMPARE(f.process.SavedSelection, u"c,a,b"_s);
        QCOMPARE(f.sent, QStringList{u"MID"_s});
        // A user deleted here and at the server once the question is answered Yes; a refresh empties
        // the table and asks again.
        f.frontend.answerBox(ResultNo);
        QVERIFY(!users.Delete(u"b"_s));
        QCOMPARE(users.LoadData().size(), 3);
        f.frontend.answerBox(ResultNo);
        QVERIFY(!DirectoryList(DirectoryList::Machines, context).Delete(u"PC7"_s));
        f.frontend.answerBox(ResultYes);
        QVERIFY(users.Delete(u"b"_s));
        QCOMPARE(users.LoadData().size(), 2);
        f.session.UsersLoaded = true;
        QVERIFY(!users.Refresh());
        QVERIFY(!f.session.UsersLoaded);
        QVERIFY(users.LoadData().isEmpty());
        // The shared groups' refresh empties their table too, and asks the server for all of them.
        QVERIFY(TempDB().exec(u"INSERT OR REPLACE INTO KorvaneGroups (GroupName) VALUES ('night')"_s));
        DirectoryList shared(DirectoryList::KorvaneGroups, context);
        QVERIFY(!shared.Refresh());
        QVERIFY(shared.LoadData().isEmpty());
        QCOMPARE(f.sent.takeLast(), u"RPI\u0001A"_s);
        QCOMPARE(f.sent.mid(1), (QStringList{u"USD\u0001b"_s, u"RUS\u0001A"_s}));

        // Roles show as words; a number no version knows stays a number.
        QCOMPARE(DirectoryList(DirectoryList::Administrators, context).LoadData(),
                 (QList<QStringList>{{u"a"_s, u"Packager"_s}, {u"b"_s, u"7"_s}}));
        // A role given to two users at once: one ADM, one row updated and one added.
        f.sent.clear();
        f.process.CurrentList = 15;
        AdminsEditForm role({TempDB(), f.session, f.process, context.sendData});
        QCOMPARE(role.OKButton(), AdminsEditForm::StayOpen);
        // The Users button asks the server once, then takes the people picked in the selection.
        role.getSelection = [](const QString &before) -> QString { return before + u"ann, bob"_s; };
        f.session.UsersLoaded = false;
        role.UsersButton();
        QCOMPARE(f.sent, QStringList{u"RUS\u0001L"_s});
        f.sent.clear();
        f.session.UsersLoaded = true;
        role.UsersButton();
        QCOMPARE(role.txtUserID, u"ann, bob"_s);
        role.EditAdmin(u"a, z"_s, UserInfos::RoleAdministrator);
        QCOMPARE(role.OKButton(), AdminsEditForm::Close);
        QVERIFY(role.RefreshList());
        QCOMPARE(f.sent, QStringList{u"ADM\u0001a, z\u00023"_s});
        QCOMPARE(DirectoryList(DirectoryList::Administrators, context).LoadData(),
                 (QList<QStringList>{
                     {u"a"_s, u"Administrator"_s}, {u"b"_s, u"7"_s}, {u"z"_s, u"Administrator"_s}}));
        // Each list the server gives is emptied by its refresh, and asked for again; this
        // workstation's groups and the domain's are read again at once.
        f.sent.clear();
        f.session.MachinesLoaded = f.session.AdminsLoaded = true;
        DirectoryList machines(DirectoryList::Machines, context),
            admins(DirectoryList::Administrators, context);
        QVERIFY(TempDB().exec(u"INSERT INTO Machines (MachineID) VALUES ('PC9')"_s));
        QVERIFY(!machines.Refresh() && !admins.Refresh());
        QVERIFY(!f.session.MachinesLoaded && !f.session.AdminsLoaded);
        QVERIFY(machines.LoadData().isEmpty() && admins.LoadData().isEmpty());
        QCOMPARE(f.sent, (QStringList{u"RMA\u0001A"_s, u"RAD"_s}));
        QVERIFY(DirectoryList(DirectoryList::MyGroups, context).Refresh() &&
                DirectoryList(DirectoryList::DomainGroups, context).Refresh());
        // A group's Edit opens the editor on that group, its New and Duplicate on a new one, each of
        // the list's own kind.
        QList<int> actions;
        for (auto kind : {DirectoryList::MyGroups, DirectoryList::KorvaneGroups})
            for (auto item : {DirectoryList::mnuNew, DirectoryList::mnuEdit, DirectoryList::mnuDuplicate})
                actions << DirectoryList(kind, context).GroupAction(item);
        QCOMPARE(actions, (QList<int>{GroupEditForm::NewPersonal, GroupEditForm::EditPersonal,
                                      GroupEditForm::NewPersonal, GroupEditForm::NewShared,
                                      GroupEditForm::EditShared, GroupEditForm::NewShared}));

        // A personal group: its members in their order; No keeps it, Yes takes it with its members.
        DirectoryList mine(DirectoryList::MyGroups, context);
        QCOMPARE(mine.Members(u"mine"_s), (QStringList{u"b"_s, u"a"_s}));
        f.frontend.answerBox(ResultNo);
        QVERIFY(!mine.Delete(u"mine"_s));
        QCOMPARE(mine.LoadData().size(), 1);
        f.frontend.answerBox(ResultYes);
        QVERIFY(mine.Delete(u"mine"_s));
        QVERIFY(mine.LoadData().isEmpty());
        QVERIFY(mine.Members(u"mine"_s).isEmpty());
        // A shared group goes at the server with its fields emptied.
        f.sent.clear();
        f.frontend.answerBox(ResultYes);
        QVERIFY(DirectoryList(DirectoryList::KorvaneGroups, context).Delete(u"ops"_s));
        QCOMPARE(f.sent, QStringList{u"KVG\u0001ops\u0002\u0002\u0002\u0002"_s});
        QVERIFY(DirectoryList(DirectoryList::KorvaneGroups, context).LoadData().isEmpty());
    }

    void rowsFoundByKeyFilteredAndSorted()
    {
        RecordModel model;
        model.setRecords({row(u"C"_s, day(1)), row(u"A"_s, day(2)), row(u"B"_s, day(3), u"ops"_s)});
        // Insert or update by key; a delete keeps the rows behind it findable.
        model.AddRecord(row(u"A"_s, day(2), u"bob"_s, u"Changed"_s));
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(model.index(1, 3).data().toString(), u"Changed"_s);
        model.DelRecord(u"C"_s);
        model.DelRecord(u"missing"_s);
        QCOMPARE(model.Locate(u"B"_s), 1);
        model.AddRecord(row(u"D"_s, QDateTime(QDate(2025, 1, 1), QTime(), Qt::UTC), QString()));
        QCOMPARE(model.Locate(u"D"_s), 2);

        // The quick filter looks at the shown columns only.
        model.setShownColumns({0, 3});
        model.setQuickFilter(u"OPS"_s);
        QCOMPARE(model.rowCount(), 0);
        model.setShownColumns({0, 20});
        QCOMPARE(model.rowCount(), 1);
        // An update that no longer matches leaves the shown rows, one that matches joins them.
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

        // Dates sort in time, an unset one after every set one; a new or changed
        // row goes straight to its sorted place.
        const auto ids = [&model] {
            QString shown;
            for (int row = 0; row < model.rowCount(); ++row)
                shown += model.index(row, 0).data().toString();
            return shown;
        };
        model.sort(10);
        QCOMPARE(ids(), u"DABE"_s);
        model.AddRecord(row(u"F"_s, day(2, 12)));
        QCOMPARE(ids(), u"DAFBE"_s);
        model.AddRecord(row(u"D"_s, day(2, 11)));
        QCOMPARE(ids(), u"ADFBE"_s);
        model.sort(0, Qt::DescendingOrder);
        QCOMPARE(ids(), u"FEDBA"_s);
        model.sort(3);
        QCOMPARE(ids(), u"FEDBA"_s);
        // Quoted where a comma, a quote or a line break needs it, and only there.
        QCOMPARE(
            CsvExport::Write({u"ID"_s, u"Text"_s},
                             {{u"A"_s, u"Say \"hi\", then"_s}, {u"é"_s, QString()}, {u"B"_s, u"go\nhome"_s}}),
            QByteArray(
                "\xEF\xBB\xBFID,Text\r\nA,\"Say \"\"hi\"\", then\"\r\n\xC3\xA9,\r\nB,\"go\nhome\"\r\n"));
    }

    // The layouts the program ships read whole and name only real columns: the selection dialog's
    // grids a name and a description, the lists the records' columns.
    void shippedLayouts()
    {
        const QDir folder(QStringLiteral(QT_TESTCASE_SOURCEDIR "/../resources/layouts"));
        QVERIFY(folder.exists(u"InboxMax.xgl"_s));
        // The message and selection lists' files; the directories' are their own test's.
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
    }

    void whichFileAndWhenToSave()
    {
        TempProfile profile;
        GridLayout inbox(u"Inbox"_s, u"/opt/k"_s, profile.dataHome());
        QCOMPARE(inbox.LayoutKey(), u"InboxLayout"_s);
        QCOMPARE(GridLayout(u"Ptemplates"_s, u"/opt/k"_s, QString()).LayoutKey(), u"MyTemplatesLayout"_s);
        QCOMPARE(GridLayout(u"Users"_s, u"/opt/k"_s, QString()).MinFile(), u"/opt/k/Layouts/Users.xgl"_s);
        // First start: no key, the full layout, loaded once at the first activation.
        inbox.Load(QString());
        QVERIFY(inbox.Activate() && !inbox.Activate());
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        inbox.Load(u"7"_s);
        QCOMPARE(inbox.number(), int(GridLayout::Full));

        // Custom without the person's file: the full columns, the chooser opens on them,
        // and what the person changes is kept at the end.
        GridLayout::Change change = inbox.Choose(GridLayout::Custom);
        QVERIFY(change.reload && change.openChooser && !change.saveCustom);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        inbox.ColumnsChanged();
        QVERIFY(inbox.SaveOnUnload());
        // Full with changed columns keeps them first, so that Custom finds them later.
        change = inbox.Choose(GridLayout::Full);
        QVERIFY(change.saveCustom && change.reload);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMax.xgl"_s);
        QVERIFY(!inbox.dirty());
        QVERIFY(!inbox.Choose(GridLayout::Full).reload);
        profile.writeFile(u"data/InboxCust.xgl"_s, "korvane-grid 1\n");
        inbox.Choose(GridLayout::Custom);
        inbox.ColumnsChanged();
        QCOMPARE(inbox.LoadLayout(), inbox.CustomFile());
        QVERIFY(inbox.dirty());
        inbox.Choose(GridLayout::Simple);
        QCOMPARE(inbox.LoadLayout(), u"/opt/k/Layouts/InboxMin.xgl"_s);
        QCOMPARE(inbox.StoredNumber(), u"1"_s);

        const GridLayout::Menu menu = inbox.LayoutMenu(1);
        QVERIFY(menu.resetVisible && menu.fullEnabled && !menu.simpleEnabled);
        QVERIFY(!inbox.LayoutMenu(0).resetVisible);
    }

    // A file read back writes itself unchanged; a refused one says where and changes nothing.
    void layoutFiles()
    {
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
            GridState state;
            state.sortColumn = u"kept"_s;
            QString reason;
            QCOMPARE(GridState::Read(file, state, &reason), error.isEmpty());
            QCOMPARE(reason, error);
            if (!error.isEmpty()) {
                QCOMPARE(state.sortColumn, u"kept"_s);
                continue;
            }
            GridState again;
            QVERIFY(GridState::Read(state.Write(), again));
            QCOMPARE(again.Write(), state.Write());
            if (file == written)
                QCOMPARE(state.Write(), file);
        }
    }
};

QTEST_GUILESS_MAIN(TestConsole)
#include "tst_console.moc"
