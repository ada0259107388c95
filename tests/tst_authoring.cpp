// The composer and the reply form driven without a screen, and what the engine's answers open.
#include "authoring/MessageForm.h"
#include "authoring/ReplyForm.h"
#include "core/Failure.h"
#include "core/Options.h"
#include "engine/KorvanClient.h"
#include "link/CommandDispatcher.h"
#include "netsvc/NetworkPaths.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"

#include <QScopeGuard>
#include <QTest>

#include <tuple>

using namespace Qt::StringLiterals;

namespace {

using enum MessageForm::Outcome;

// The composer over a user with an agent and two levels.
struct Fixture : AuthoringFixture
{
    MessageForm form{context};

    Fixture()
    {
        user.setMachineID(u"WS-7"_s);
        user.Agent = u"agent-1"_s;
        level row;
        row.LevelName = u"Message"_s;
        levels.add(row);
        std::tie(row.LevelName, row.Authority) = std::tuple{u"Alarm"_s, qint16(3)};
        levels.add(row);
        form.Load();
    }
    void compose(const QString &id, const QString &text, const QString &target = u"bob"_s,
                 int action = NewMessage)
    {
        form.OpenNew(action, id, target);
        form.Fields.txtText = text;
    }
    // Presses OK: the outcome, the captions of the boxes that press put up, and the frames sent so far.
    template <typename Form>
    QString press(Form &on)
    {
        const qsizetype shown = frontend.questions.size();
        const bool closed = int(on.OKButton()) != 0;
        return u"%1 [%2] sent %3"_s.arg(closed ? u"Close"_s : u"StayOpen"_s, captions().mid(shown).join(u'|'))
            .arg(sent.size());
    }
    bool lastIs(const QString &head) const { return !sent.isEmpty() && sent.last().startsWith(head); }
    // The record of the last MSG, RPL, RPA or STP sent.
    DVMessage lastRecord() const
    {
        DVMessage msg;
        if (!sent.isEmpty())
            msg.ToObject(sent.last().section(QChar(2), sent.last().startsWith(u"STP"_s) ? 1 : 2, 2));
        return msg;
    }
    static bool inOutbox(const QString &id) { return MessageExist(ClientDB(), u"Outbox"_s, id); }
};

} // namespace

class TestAuthoring : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newMessagesEditsAndTemplates()
    {
        Fixture f;
        f.compose(u"ID9"_s, u"Fire drill at noon: use the \"east\" stairs, not the lifts"_s,
                  u"bob,\"ops\""_s);
        // Quotes become apostrophes in the fields too, and an empty subject is the text's start.
        QCOMPARE((std::tuple{f.form.Caption(), f.press(f.form), f.lastIs(u"MSG\x01ID9\x02"_s),
                             f.form.Fields.txtTarget}),
                 (std::tuple{u"New message ID9"_s, u"Close [] sent 1"_s, true, u"bob,'ops'"_s}));
        const DVMessage sent = f.lastRecord();
        QCOMPARE((QVariantList{sent.Subject, sent.Message, sent.Status, sent.InitID, sent.Agent,
                               sent.MachineID, sent.ExpirationDate.date(), sent.CreationDate}),
                 (QVariantList{u"Fire drill at noon: use the 'e"_s,
                               u"Fire drill at noon: use the 'east' stairs, not the lifts"_s, StatusActive,
                               u"ID9"_s, u"agent-1"_s, u"ws-7"_s, QDate(2026, 11, 30),
                               f.clock.currentDateTime()}));

        // A level the user may not choose is kept as the record names it; nothing changed, nothing sent.
        DVMessage stored = sent;
        std::tie(stored.InitID, stored.MsgLevel, stored.DeleteAtExpiration, stored.CreationDate) =
            std::tuple{u"M0"_s, u"Alarm"_s, true, FakeClock::at(2026, 11, 20)};
        f.form.EditMessage(stored, EditMessageAction);
        QCOMPARE((std::pair{f.form.Fields.cboLevel, f.press(f.form)}),
                 (std::pair{u"Alarm"_s, u"Close [] sent 1"_s}));

        f.form.EditMessage(stored, EditMessageAction);
        f.form.Fields.txtText = u"New text"_s;
        f.frontend.answerBox(ResultYes);
        f.form.OKButton();
        QCOMPARE((QVariantList{f.frontend.questions.last().text, f.lastRecord().Status, f.lastRecord().InitID,
                               f.lastRecord().CreationDate}),
                 (QVariantList{u"Do you wish to repost the mesage?"_s, StatusResubmitted, u"M0"_s,
                               stored.CreationDate}));

        // A shared template keeps every date it had: none is set on the way out.
        f.form.EditMessage(stored, EditSharedTemplate);
        QCOMPARE((std::tuple{f.press(f.form), f.lastIs(u"STP\x01ID9\x02"_s), f.lastRecord().CreationDate,
                             f.lastRecord().StartDate}),
                 (std::tuple{u"Close [] sent 3"_s, true, DateText::ZeroDate(), stored.StartDate}));

        const auto mine = [] { return GetMessage(ClientDB(), u"MyTemplates"_s, u"T1"_s); };
        f.compose(u"T1"_s, u"Template"_s, QString(), NewPersonalTemplate);
        QCOMPARE((std::pair{f.press(f.form), mine().Message}),
                 (std::pair{u"Close [] sent 3"_s, u"Template"_s}));
        f.form.EditMessage(mine(), EditPersonalTemplate);
        f.form.Fields.txtText = u"Changed"_s;
        QCOMPARE((std::pair{f.press(f.form), mine().Message}),
                 (std::pair{u"Close [] sent 3"_s, u"Changed"_s}));

        // A duplicate starts afresh as this user's: the copy's text under the new ID, the form's dates.
        DVMessage old;
        std::tie(old.MsgID, old.InitID, old.UserID, old.Message, old.StartDate, old.Status, old.MsgAction,
                 old.MachineID) = std::tuple{
            u"OLD"_s,       u"FIRST"_s, u"alice"_s, u"Copied text"_s, FakeClock::at(2026, 1, 2, 3, 4),
            StatusFinished, ActionDone, u"pc1"_s};
        QVERIFY(SaveMessage(TempDB(), u"SharedTemplates"_s, old, false, true));
        f.form.setAction(NewSharedTemplate);
        QVERIFY(f.form.DuplicateMessage(TempDB(), u"SharedTemplates"_s, u"OLD"_s, u"NEW"_s));
        const DVMessage &base = *f.form.BaseRecord();
        QCOMPARE(
            (QVariantList{base.Status, base.InitID, base.UserID, base.MachineID, base.ExpirationDate,
                          base.MsgAction, f.form.Caption(), f.form.Fields.txtText,
                          f.form.Fields.dateNextRun}),
            (QVariantList{StatusActive, QString(), u"jdoe"_s, u"ws-7"_s, f.clock.currentDateTime().addDays(7),
                          ActionWaiting, u"New shared template NEW"_s, u"Copied text"_s,
                          f.clock.currentDateTime().date()}));
        QVERIFY(!f.form.DuplicateMessage(TempDB(), u"SharedTemplates"_s, u"NONE"_s, u"N2"_s));
    }

    void controlsAndTheirEnabling()
    {
        Fixture f;
        // Enabling ignores the receipt; the receipt's own click does not.
        f.form.EnableFields();
        QVERIFY(f.form.Enabling().chkNotify);
        f.form.chkReceipt_Click(false);
        QVERIFY(!f.form.Enabling().chkNotify);
        // With the right to send to all, OK wants no target.
        f.form.Fields.txtText = u"Hello"_s;
        f.policies.CanSendToAll = true;
        f.form.TextChanged();
        QVERIFY(f.form.Enabling().OKButton);
        f.frontend.answerText(u"%LONGDATE%"_s);
        f.form.cmdVariable_Click();
        QCOMPARE(f.caption(), u"Variable selection"_s);

        // Whether numRepeat, cboRepeat, the next run and the expiration are enabled, as 1 or 0.
        for (const auto &[row, action, delivery, repeat, step, rptg, enabled] : {
                 std::tuple{"immediate once", 0, 0, 0, 2, true, "1000"},
                 {"immediate repeating", 0, 0, 3, 2, true, "1111"},
                 {"scheduled", 0, 3, 0, 2, true, "1011"},
                 {"certified", 0, 2, 2, 2, true, "1101"},
                 // The right alone decides numRepeat: a Logon repeat stays editable.
                 {"next logon, logon repeat", 0, 1, 2, 6, true, "1101"},
                 {"repeats refused", 0, 0, 3, 2, false, "0111"},
                 // Viewing leaves the policies out: the delivery and the step decide.
                 {"view, repeats refused", 2, 0, 3, 2, false, "0111"},
                 {"view, logon repeat", 2, 0, 3, 6, true, "0101"},
             }) {
            f.policies.CanCreateRepeating = rptg;
            f.form.setAction(action);
            std::tie(f.form.Fields.cboDelivery, f.form.Fields.numRepeat, f.form.Fields.cboRepeat) =
                std::tuple{delivery, repeat, step};
            f.form.EnableFields();
            const MessageEnabling &e = f.form.Enabling();
            const QString on =
                u"%1%2%3%4"_s.arg(e.numRepeat).arg(e.cboRepeat).arg(e.nextRun).arg(e.expiration);
            QVERIFY2(on == QLatin1String(enabled), qPrintable(QLatin1String(row) + u' ' + on));
        }
    }

    // An attachment on a share goes in its network form; a local, vanished or denied one is refused and
    // keeps the form open with nothing sent. A package may carry an installer, never a local file.
    void verifyFile()
    {
        Fixture f;
        MessageForm packageForm(f.context, true);
        const QString share = f.profile.path() + u"/share"_s, home = f.profile.path() + u"/home"_s;
        for (const QString &file :
             {u"share/q4/report.pdf"_s, u"share/report.EXE"_s, u"share/report.exe"_s, u"home/report.pdf"_s})
            f.profile.writeFile(file, "%PDF");
        f.profile.writeFile(u"mountinfo"_s, "22 1 8:1 / / rw - ext4 /dev/sda1 rw\n40 22 0:50 / " +
                                                share.toUtf8() + " rw - cifs //srv/docs rw\n");
        NetworkPaths::UseMountTable(f.profile.path() + u"/mountinfo"_s);
        const auto unmount = qScopeGuard([] { NetworkPaths::UseMountTable(QString()); });
        f.form.Fields.txtText = packageForm.Fields.txtText = u"x"_s;
        for (auto [path, refusal, link, package] : {
                 std::tuple{QString(), QString(), QString(), false},
                 {u"<home>/report.pdf"_s, u"Wrong location"_s, QString(), false},
                 {u"<share>/q4/report.pdf"_s, QString(), u"//srv/docs/q4/report.pdf"_s, false},
                 {u"<share>/report.EXE"_s, QString(), u"//srv/docs/report.EXE"_s, false},
                 {u"<share>/report.exe"_s, u"Wrong file type"_s, QString(), false},
                 {u"<share>/gone.pdf"_s, u"Wrong location"_s, QString(), false},
                 {u"//srv/docs/a.pdf"_s, QString(), u"//srv/docs/a.pdf"_s, false},
                 {u"<share>/report.exe"_s, QString(), u"//srv/docs/report.exe"_s, true},
                 {u"<home>/report.pdf"_s, u"Wrong location"_s, QString(), true},
             }) {
            MessageForm &form = package ? packageForm : f.form;
            f.frontend.questions.clear();
            form.Fields.txtLink = path.replace(u"<share>"_s, share).replace(u"<home>"_s, home);
            QCOMPARE((std::tuple{form.VerifyFile(path), f.caption(),
                                 refusal.isEmpty() ? form.Fields.txtLink : QString()}),
                     (std::tuple{refusal.isEmpty(), refusal, link}));
            if (!refusal.isEmpty())
                QCOMPARE(form.OKButton(), StayOpen);
        }
        QCOMPARE(f.sent, QStringList());
    }

    // Separators pasted in, characters the code page lacks, a record over one frame and a link that is
    // down: each is said, the form stays open over what was written, and nothing partial reaches the wire.
    void whatCannotTravelIsSaid()
    {
        Fixture f;
        f.compose(u"ID1"_s, u"Drill\u0002at noon"_s, QString());
        f.form.Fields.txtTarget = u"bob\u0004TGT\u0003everyone"_s;
        f.form.Fields.txtSubject = u"\u0001Drill"_s;
        QCOMPARE(f.press(f.form), u"StayOpen [Invalid characters] sent 0"_s);
        QCOMPARE((QStringList{f.form.Fields.txtSubject, f.form.Fields.txtText, f.form.Fields.txtTarget}),
                 (QStringList{u"Drill"_s, u"Drillat noon"_s, u"bobTGTeveryone"_s}));
        QCOMPARE(f.press(f.form), u"Close [] sent 1"_s);
        QCOMPARE(f.sent[0].count(u"\x04TGT\x03"_s), 1);

        // Characters the code page lacks are named before anything goes; No keeps the form.
        f.sent.clear();
        f.compose(u"ID2"_s, u"Coffee \u2615 at 10 \u2014 \U0001D11E, \u2615"_s);
        f.frontend.answerBox(ResultNo);
        QCOMPARE(f.press(f.form), u"StayOpen [Characters not supported] sent 0"_s);
        QVERIFY(f.frontend.questions.last().text.contains(u": \u2615 \U0001D11E\n"_s));
        f.frontend.answerBox(ResultYes);
        QCOMPARE(f.press(f.form), u"Close [Characters not supported] sent 1"_s);

        // A subject one character too long for a frame (Chr(0) and "jdoe" go behind it) is told and kept.
        f.sent.clear();
        const auto sendSubject = [&f](const QString &subject) {
            f.compose(u"ID3"_s, u"Text"_s);
            f.form.Fields.txtSubject = subject;
            return f.press(f.form);
        };
        QCOMPARE(sendSubject(u"x"_s), u"Close [] sent 1"_s);
        const qsizetype room = 32763 - 5 - (f.sent.takeLast().size() - 1);
        QCOMPARE(sendSubject(QString(room + 1, u'x')), u"StayOpen [Too long to send] sent 0"_s);
        QVERIFY(f.frontend.questions.last().text.contains(u" 1 "_s));
        QCOMPARE(f.form.Fields.txtSubject.size(), room + 1);
        QCOMPARE(sendSubject(QString(room, u'x')), u"Close [] sent 1"_s);
        f.sent.clear();
        f.process.CurrentList = 2;
        f.linkUp = false;
        f.compose(u"ID4"_s, u"Text"_s);
        QCOMPARE((std::pair{f.press(f.form), f.frontend.events.filter(u"ID4"_s)}),
                 (std::pair{u"StayOpen [Not sent] sent 0"_s, QStringList()}));
        f.linkUp = true;
        QCOMPARE((std::pair{f.press(f.form), f.frontend.events.filter(u"ID4"_s)}),
                 (std::pair{u"Close [] sent 1"_s, QStringList{u"add 2 ID4"_s}}));

        MessageForm package(f.context, true);
        package.OpenNew(NewMessage, u"P1"_s, u"bob"_s);
        package.Fields.txtText = u"Install"_s;
        package.Fields.txtLink = u"//files/share/setup.msi"_s;
        f.linkUp = false;
        QCOMPARE(f.press(package), u"StayOpen [Not sent] sent 1"_s);
        f.compose(u"T1"_s, u"Template"_s, QString(), NewSharedTemplate);
        gProcess().CurrentList = 5; // the shared templates on show take only what left
        QCOMPARE((std::pair{f.press(f.form), f.frontend.events.filter(u"T1"_s)}),
                 (std::pair{u"StayOpen [Not sent] sent 1"_s, QStringList()}));
        f.linkUp = true;
        QCOMPARE(
            (std::tuple{f.press(f.form), f.lastIs(u"STP\x01T1\x02"_s), f.frontend.events.filter(u"T1"_s)}),
            (std::tuple{u"Close [] sent 2"_s, true, QStringList{u"add 5 T1"_s}}));
        gProcess().CurrentList = 0;
    }

    // Blanks around names go, a Scheduled message that would expire before it starts is refused, an
    // exact time already past is asked about; and replies.
    void recipientsAndDates()
    {
        Fixture f;
        auto &fields = f.form.Fields;
        f.compose(u"ID2"_s, u"Hi"_s, u" bob , alice,, "_s);
        QCOMPARE((std::pair{f.form.OKButton(), f.lastRecord().Target}), (std::pair{Close, u"bob,alice"_s}));

        f.sent.clear();
        f.compose(u"ID3"_s, u"Later"_s);
        std::tie(fields.cboDelivery, fields.dateNextRun, fields.timeNextRun, fields.dateExpiration,
                 fields.timeExpiration) = std::tuple{int(DeliveryScheduled), QDate(2026, 12, 2), QTime(9, 0),
                                                     QDate(2026, 12, 2), QTime(8, 59)};
        QCOMPARE(f.press(f.form), u"StayOpen [Dates do not match] sent 0"_s);
        // Starting and expiring in the same minute still shows once.
        fields.timeExpiration = QTime(9, 0);
        QCOMPARE(f.press(f.form), u"Close [] sent 1"_s);
        // Other deliveries keep their dates as they are.
        f.compose(u"ID4"_s, u"Now"_s);
        fields.dateNextRun = QDate(2027, 1, 1);
        QCOMPARE(f.press(f.form), u"Close [] sent 2"_s);

        // An exact time already past asks before sending; repeating, or in this minute, it goes at once.
        for (const auto &[minutesAgo, repeat, asked] :
             {std::tuple{1, 0, true}, std::tuple{1, 1, false}, std::tuple{0, 0, false}}) {
            f.sent.clear();
            f.compose(u"X"_s, u"Drill"_s);
            const QDateTime start = f.clock.currentDateTime().addSecs(-60 * minutesAgo);
            std::tie(fields.dateNextRun, fields.timeNextRun, fields.chkExactTime, fields.numRepeat) =
                std::tuple{start.date(), start.time(), true, repeat};
            f.frontend.answerBox(ResultNo);
            QCOMPARE(f.press(f.form),
                     asked ? u"StayOpen [Bad properties selection?] sent 0"_s : u"Close [] sent 1"_s);
        }

        // A reply-all to two thousand readers cannot go: nothing stands in the Outbox as if sent.
        ReplyForm reply(f.context);
        DVMessage msg;
        std::tie(msg.MsgID, msg.InitID, msg.UserID, msg.Message, msg.StartDate) =
            std::tuple{u"R1"_s, u"M0"_s, u"alice"_s, u"Noon?"_s, FakeClock::at(2026, 11, 23, 9, 0)};
        f.sent.clear();
        reply.Load();
        reply.Original(msg, u"R8"_s);
        reply.ReplyToAll(QStringList(2000, u"reader00000"_s).join(u','));
        reply.Fields.txtText = u"Yes\x02"_s;
        QCOMPARE((std::pair{f.press(reply), reply.Fields.txtText}),
                 (std::pair{u"StayOpen [Invalid characters] sent 0"_s, u"Yes"_s}));
        QCOMPARE((std::pair{f.press(reply), Fixture::inOutbox(u"R8"_s)}),
                 (std::pair{u"StayOpen [Too long to send] sent 0"_s, false}));
        reply.Original(msg, u"R9"_s);
        f.linkUp = false;
        QCOMPARE((std::pair{f.press(reply), Fixture::inOutbox(u"R9"_s)}),
                 (std::pair{u"StayOpen [Not sent] sent 0"_s, false}));
        f.linkUp = true;
        QCOMPARE((std::pair{f.press(reply), Fixture::inOutbox(u"R9"_s)}),
                 (std::pair{u"Close [] sent 1"_s, true}));

        msg.Subject = u"Lunch"_s;
        msg.Target = u"bob,alice"_s;
        reply.Original(msg, u"R2"_s);
        const auto toAll = [&reply](const QString &readers) {
            reply.ReplyToAll(readers);
            return reply.Reply().Target;
        };
        // The sender already among the recipients: the list as it is.
        QCOMPARE(toAll(msg.Target), u"bob,alice"_s);
        msg.UserID = u"carol"_s;
        reply.Original(msg, u"R2"_s);
        QCOMPARE((QStringList{toAll(QString()), toAll(msg.Target)}),
                 (QStringList{u"carol"_s, u"carol,bob,alice"_s}));

        // Five fields come from the person, not the edited subject and start; a reply is never answered.
        std::tie(reply.Fields.txtText, reply.Fields.txtSubject, reply.Fields.cboDelivery,
                 reply.Fields.dateNextRun, reply.Fields.chkReceipt) =
            std::tuple{u"Yes, \"at noon\""_s, u"Edited"_s, 3, QDate(2027, 1, 1), true};
        reply.OKButton();
        const DVMessage sent = f.lastRecord();
        QCOMPARE(
            (QVariantList{f.lastIs(u"RPA\x01R2\x02"_s), sent.Message, sent.Subject, sent.StartDate,
                          sent.MsgDelivery, sent.MsgLevel, sent.RefID, sent.InitID, sent.ModificationDate,
                          sent.ExpirationDate, sent.AllowReply, Fixture::inOutbox(u"R2"_s)}),
            (QVariantList{true, u"Yes, 'at noon'"_s, u"Lunch"_s, msg.StartDate, qint16(3), u"sysKVReply"_s,
                          u"R1"_s, u"M0"_s, f.clock.currentDateTime(), msg.ExpirationDate, false, true}));

        // A reply to that reply keeps the history and names the reply answered.
        reply.Original(sent, u"R3"_s);
        QCOMPARE((QStringList{reply.Reply().InitID, reply.Reply().RefID}), (QStringList{u"M0"_s, u"R2"_s}));
        reply.Fields.txtText = u"ok"_s;
        reply.OKButton();
        QVERIFY(f.lastIs(u"RPL\x01R3\x02"_s));
    }

    // What each answer of the server opens, from the list on show.
    void answersOpenTheForms()
    {
        for (const auto &[code, data, list, opened] : {
                 std::tuple{u"MID"_s, u"N1"_s, 0, u"compose 0 N1 bob,PC7"_s},
                 {u"PTI"_s, u"N1"_s, 0, u"compose 6 N1 bob,PC7"_s},
                 {u"STI"_s, u"N1"_s, 0, u"compose 3 N1 bob,PC7"_s},
                 {u"MDU"_s, u"O\x02N"_s, 1, u"duplicate 0 client Inbox O N"_s},
                 {u"MDU"_s, u"O\x02N"_s, 4, u"duplicate 0 temp Outbox O N"_s},
                 {u"MDU"_s, u"O\x02N"_s, 5, u"duplicate 3 temp SharedTemplates O N"_s},
                 {u"MTP"_s, u"O\x02N"_s, 6, u"duplicate 0 client MyTemplates O N"_s},
                 {u"MTP"_s, u"O\x02N"_s, 2, QString()}, // from a message list
                 {u"PTP"_s, u"O\x02N"_s, 3, u"duplicate 6 client Outbox O N"_s},
                 {u"STP"_s, u"O\x02N"_s, 1, u"duplicate 3 client Inbox O N"_s},
                 {u"MDU"_s, u"O"_s, 1, QString()}, // one ID only
                 {u"PID"_s, u"P1"_s, 0, u"package P1 bob,PC7"_s},
                 {u"PDU"_s, u"O\x02N"_s, 9, u"package copy O N 1"_s},
                 {u"PDU"_s, u"O\x02N"_s, 2, u"package copy O N 0"_s},
                 {u"RID"_s, u"N1"_s, 0, u"reply N1 0"_s},
                 {u"RAL"_s, u"N1"_s, 0, u"reply N1 1"_s},
                 {u"MID"_s, QString(), 0, QString()}, // a code without its data opens nothing
                 {u"RID"_s, QString(), 0, QString()},
             }) {
            Fixture f;
            KorvanClient engine;
            QVERIFY(engine.Load());
            f.frontend.events.clear();
            gProcess().CurrentList = list;
            gProcess().SavedSelection = u"bob,PC7"_s;
            engine.dispatcher()->HandlePayload(data.isNull() ? code : code + u'\x01' + data);
            QCOMPARE(u"%1 %2: %3"_s.arg(code).arg(list).arg(f.frontend.events.join(u'|')),
                     u"%1 %2: %3"_s.arg(code).arg(list).arg(opened));
        }
    }

    void packageComposer()
    {
        Fixture f;
        MessageForm package(f.context, true);
        package.OpenNew(0, u"P1"_s, QString());
        QCOMPARE((std::pair{package.Caption(), package.Levels().isEmpty()}),
                 (std::pair{u"New packageP1"_s, true}));
        // Text without a link keeps OK off; the target may stay empty whatever SEND says.
        package.Fields.txtText = u"Install the new VPN client"_s;
        package.TextChanged();
        QVERIFY(!package.Enabling().OKButton);
        package.Fields.txtLink = u"//srv/docs/vpn.exe"_s;
        package.TextChanged();
        QVERIFY(package.Enabling().OKButton);
        package.Fields.chkReply = package.Fields.chkExactTime = true;
        QCOMPARE((QVariantList{f.press(package), f.lastIs(u"PKG\u0001"_s), f.lastRecord().MsgLevel,
                               f.lastRecord().AllowReply, f.lastRecord().ExactTime, f.lastRecord().InitID}),
                 (QVariantList{u"Close [] sent 1"_s, true, u"sysKVPackage"_s, false, true, u"P1"_s}));
        // An edit that changed nothing sends nothing; a real one clears InitID and keeps the status.
        DVMessage stored = f.lastRecord();
        stored.Status = StatusCancelled;
        package.EditMessage(stored, 1);
        QCOMPARE(f.press(package), u"Close [] sent 1"_s);
        package.Fields.txtText = u"Install it today"_s;
        QCOMPARE((QVariantList{f.press(package), f.lastRecord().Message, f.lastRecord().InitID,
                               f.lastRecord().Status}),
                 (QVariantList{u"Close [Message edited] sent 2"_s, u"Install it today"_s, QString(),
                               int(StatusCancelled)}));
        package.RecipientsButton(SelectUsers);
        QCOMPARE(f.sent.last(), u"RUS\u0001P"_s);
        gOptions().Trace = true;
        package.OKButton();
        QVERIFY(logText().contains(u"frmPackage:OKButton"_s) && !logText().contains(u"frmMessage:"_s));
    }
};

QTEST_GUILESS_MAIN(TestAuthoring)
#include "tst_authoring.moc"
