// The composer, the reply form and the group editor, driven without a screen, and
// the engine's answers that open them.
#include "authoring/MessageForm.h"
#include "authoring/ReplyForm.h"
#include "core/Failure.h"
#include "core/Options.h"
#include "engine/KorvanClient.h"
#include "netsvc/NetworkPaths.h"
#include "store/MessageCodes.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The composer over a user with an agent and two levels.
struct Fixture : AuthoringFixture
{
    MessageForm form{context};

    Fixture()
    {
        user.setMachineID(u"WS-7"_s);
        user.UserName = u"Jane Doe"_s;
        user.Agent = u"agent-1"_s;
        for (const auto &[name, authority] : {std::pair{u"Message"_s, 0}, {u"Alarm"_s, 3}}) {
            level row;
            row.LevelName = name;
            row.Authority = qint16(authority);
            levels.add(row);
        }
        form.Load();
    }
    void compose(const QString &id, const QString &text, const QString &target = u"bob"_s)
    {
        form.OpenNew(NewMessage, id, target);
        form.Fields.txtText = text;
    }
    static DVMessage record(const QString &id, const QString &initId, const QString &userId,
                            const QString &text, const QDateTime &start)
    {
        DVMessage msg;
        msg.MsgID = id;
        msg.InitID = initId;
        msg.UserID = userId;
        msg.Message = text;
        msg.StartDate = start;
        return msg;
    }
    // The record of the last MSG, RPL, RPA or STP sent.
    DVMessage lastRecord() const
    {
        DVMessage msg;
        if (!sent.isEmpty())
            msg.ToObject(sent.last().section(QChar(2), sent.last().startsWith(u"STP"_s) ? 1 : 2, 2));
        return msg;
    }
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
        QCOMPARE(f.form.Caption(), u"New message ID9"_s);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        // Quotes become apostrophes in the fields too, and an empty subject is the text's start.
        QCOMPARE(f.form.Fields.txtTarget, u"bob,'ops'"_s);
        QVERIFY(f.sent.size() == 1 && f.sent[0].startsWith(u"MSG\x01ID9\x02"_s));
        const DVMessage sent = f.lastRecord();
        QCOMPARE((QVariantList{sent.Subject, sent.Message, sent.Status, sent.InitID, sent.Agent,
                               sent.MachineID, sent.ExpirationDate.date(), sent.CreationDate}),
                 (QVariantList{u"Fire drill at noon: use the 'e"_s,
                               u"Fire drill at noon: use the 'east' stairs, not the lifts"_s, StatusActive,
                               u"ID9"_s, u"agent-1"_s, u"ws-7"_s, QDate(2026, 11, 30),
                               f.clock.currentDateTime()}));

        // A level the user may not choose is kept as the record names it.
        f.sent.clear();
        DVMessage stored = sent;
        stored.InitID = u"M0"_s;
        stored.MsgLevel = u"Alarm"_s;
        stored.DeleteAtExpiration = true;
        stored.CreationDate = FakeClock::at(2026, 11, 20);
        f.form.EditMessage(stored, EditMessageAction);
        QCOMPARE(f.form.Fields.cboLevel, u"Alarm"_s);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent, QStringList()); // nothing changed: nothing sent
        QCOMPARE(f.frontend.questions.size(), 0);

        f.form.EditMessage(stored, EditMessageAction);
        f.form.Fields.txtText = u"New text"_s;
        f.frontend.answerBox(ResultYes);
        f.form.OKButton();
        QCOMPARE(f.frontend.questions.last().text, u"Do you wish to repost the mesage?"_s);
        const DVMessage edited = f.lastRecord();
        QCOMPARE((QVariantList{edited.Status, edited.InitID, edited.CreationDate}),
                 (QVariantList{StatusResubmitted, u"M0"_s, stored.CreationDate}));

        // A shared template keeps every date it had: none is set on the way out.
        f.form.EditMessage(stored, EditSharedTemplate);
        f.form.OKButton();
        QVERIFY(f.sent.last().startsWith(u"STP\x01ID9\x02"_s));
        QCOMPARE(f.lastRecord().CreationDate, DateText::ZeroDate());
        QCOMPARE(f.lastRecord().StartDate, stored.StartDate);

        // A personal template is kept here, then changed in place.
        f.form.OpenNew(NewPersonalTemplate, u"T1"_s, QString());
        f.form.Fields.txtText = u"Template"_s;
        f.form.OKButton();
        QCOMPARE(GetMessage(ClientDB(), u"MyTemplates"_s, u"T1"_s).Message, u"Template"_s);
        f.form.EditMessage(GetMessage(ClientDB(), u"MyTemplates"_s, u"T1"_s), EditPersonalTemplate);
        f.form.Fields.txtText = u"Changed"_s;
        f.form.OKButton();
        QCOMPARE(GetMessage(ClientDB(), u"MyTemplates"_s, u"T1"_s).Message, u"Changed"_s);
        QCOMPARE(f.sent.size(), 2);

        // A duplicate starts afresh as this user's: the copy's text under the new ID, the form's dates.
        DVMessage old = Fixture::record(u"OLD"_s, u"FIRST"_s, u"alice"_s, u"Copied text"_s,
                                        FakeClock::at(2026, 1, 2, 3, 4));
        old.Status = StatusFinished;
        old.MsgAction = ActionDone;
        old.MachineID = u"pc1"_s;
        QVERIFY(SaveMessage(TempDB(), u"SharedTemplates"_s, old, false, true));
        f.form.setAction(NewSharedTemplate);
        QVERIFY(f.form.DuplicateMessage(TempDB(), u"SharedTemplates"_s, u"OLD"_s, u"NEW"_s));
        const DVMessage &base = *f.form.BaseRecord();
        QCOMPARE((QVariantList{base.Status, base.InitID, base.UserID, base.MachineID, base.ExpirationDate,
                               base.MsgAction}),
                 (QVariantList{StatusActive, QString(), u"jdoe"_s, u"ws-7"_s,
                               f.clock.currentDateTime().addDays(7), ActionWaiting}));
        QCOMPARE(f.form.Caption(), u"New shared template NEW"_s);
        QCOMPARE(f.form.Fields.txtText, u"Copied text"_s);
        QCOMPARE(f.form.Fields.dateNextRun, f.clock.currentDateTime().date());
        QVERIFY(!f.form.DuplicateMessage(TempDB(), u"SharedTemplates"_s, u"NONE"_s, u"N2"_s));
    }

    // numRepeat, cboRepeat, next run and expiration enabled, as 1 or 0.
    void enableFields()
    {
        Fixture f;
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
            f.form.Fields.cboDelivery = delivery;
            f.form.Fields.numRepeat = repeat;
            f.form.Fields.cboRepeat = step;
            f.form.EnableFields();
            const MessageEnabling &e = f.form.Enabling();
            QString on = QLatin1String(row) + u' ';
            for (bool control : {e.numRepeat, e.cboRepeat, e.nextRun, e.expiration})
                on += control ? u'1' : u'0';
            QCOMPARE(on, QLatin1String(row) + u' ' + QLatin1String(enabled));
        }
    }

    void controlsFollowTheirRules()
    {
        Fixture f;
        // Next logon shows the Logon step; Certified clears the repeat.
        f.form.Fields.numRepeat = 4;
        f.form.cboDelivery_Click(1);
        QCOMPARE(f.form.Fields.cboRepeat, int(RepeatLogon));
        f.form.cboDelivery_Click(2);
        QCOMPARE(f.form.Fields.numRepeat, 0);
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
            NetworkPaths::UseMountTable(f.profile.path() + u"/mountinfo"_s);
            path.replace(u"<share>"_s, share).replace(u"<home>"_s, home);
            form.Fields.txtLink = path;
            QCOMPARE(form.VerifyFile(path), refusal.isEmpty());
            NetworkPaths::UseMountTable(QString());
            QCOMPARE(f.caption(), refusal);
            if (refusal.isEmpty())
                QCOMPARE(form.Fields.txtLink, link);
            form.Fields.txtText = u"x"_s;
            if (!refusal.isEmpty())
                QCOMPARE(form.OKButton(), MessageForm::StayOpen);
        }
        QCOMPARE(f.sent, QStringList());
    }

    // Separators pasted in, characters the code page lacks, a record over one
    // frame and a link that is down: each is said, the form stays open over
    // what was written, and nothing partial reaches the wire.
    void whatCannotTravelIsSaid()
    {
        Fixture f;
        f.form.OpenNew(NewMessage, u"ID1"_s, QString());
        f.form.Fields.txtText = u"Drill\x02"
                                "at noon"_s;
        f.form.Fields.txtTarget = u"bob\x04TGT\x03"
                                  "everyone"_s;
        f.form.Fields.txtSubject = u"\x01"
                                   "Drill"_s;
        QCOMPARE(f.form.OKButton(), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Invalid characters"_s);
        QCOMPARE((QStringList{f.form.Fields.txtSubject, f.form.Fields.txtText, f.form.Fields.txtTarget}),
                 (QStringList{u"Drill"_s, u"Drillat noon"_s, u"bobTGTeveryone"_s}));
        QVERIFY(f.sent.isEmpty());
        // What is left goes as shown: one target field.
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent.size(), 1);
        QCOMPARE(f.sent[0].count(u"\x04TGT\x03"_s), 1);
        QCOMPARE(f.lastRecord().Target, u"bobTGTeveryone"_s);

        // Characters the code page lacks are named before anything goes; No keeps the form.
        f.sent.clear();
        f.compose(u"ID2"_s, u"Coffee \u2615 at 10 \u2014 \U0001D11E, \u2615"_s);
        f.frontend.answerBox(ResultNo);
        QCOMPARE(f.form.OKButton(), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Characters not supported"_s);
        QVERIFY(f.frontend.questions.last().text.contains(u": \u2615 \U0001D11E\n"_s));
        QVERIFY(f.sent.isEmpty());
        f.frontend.answerBox(ResultYes);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent.size(), 1);

        // A subject a character too long for a frame: told, kept, not sent; so with the link down.
        // Exactly one frame goes, with Chr(0) and "jdoe" behind the payload.
        f.sent.clear();
        const auto sendSubject = [&f](const QString &subject) {
            f.compose(u"ID3"_s, u"Text"_s);
            f.form.Fields.txtSubject = subject;
            return f.form.OKButton();
        };
        QCOMPARE(sendSubject(u"x"_s), MessageForm::Close);
        const qsizetype room = 32763 - 5 - (f.sent.takeLast().size() - 1);
        QCOMPARE(sendSubject(QString(room + 1, u'x')), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Too long to send"_s);
        QVERIFY(f.frontend.questions.last().text.contains(u" 1 "_s));
        QCOMPARE(f.form.Fields.txtSubject.size(), room + 1);
        QVERIFY(f.sent.isEmpty());
        QCOMPARE(sendSubject(QString(room, u'x')), MessageForm::Close);
        QCOMPARE(f.sent.size(), 1);
        QCOMPARE(f.sent[0].size() + 5, 32763);
        f.sent.clear();
        f.process.CurrentList = 2;
        f.linkUp = false;
        f.compose(u"ID4"_s, u"Text"_s);
        QCOMPARE(f.form.OKButton(), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Not sent"_s);
        QVERIFY(!f.frontend.events.contains(u"add 2 ID4"_s));
        f.linkUp = true;
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QVERIFY(f.frontend.events.contains(u"add 2 ID4"_s));

        // The package composer and a shared template say the same of a link that is down.
        MessageForm package(f.context, true);
        package.Load();
        package.OpenNew(NewMessage, u"P1"_s, u"bob"_s);
        package.Fields.txtText = u"Install"_s;
        package.Fields.txtLink = u"//files/share/setup.msi"_s;
        f.linkUp = false;
        QCOMPARE(package.OKButton(), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Not sent"_s);
        f.form.OpenNew(NewSharedTemplate, u"T1"_s, QString());
        f.form.Fields.txtText = u"Template"_s;
        gProcess().CurrentList = 5; // the shared templates on show take only what left
        QCOMPARE(f.form.OKButton(), MessageForm::StayOpen);
        QVERIFY(!f.frontend.events.contains(u"add 5 T1"_s));
        f.linkUp = true;
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QVERIFY(f.sent.last().startsWith(u"STP\x01T1\x02"_s));
        QVERIFY(f.frontend.events.contains(u"add 5 T1"_s));
        gProcess().CurrentList = 0;

        // A reply-all to two thousand readers cannot go: nothing stands in the Outbox as if sent.
        ReplyForm reply(f.context);
        DVMessage msg =
            Fixture::record(u"R1"_s, u"M0"_s, u"alice"_s, u"Noon?"_s, FakeClock::at(2026, 11, 23, 9, 0));
        QStringList readers;
        for (int i = 0; i < 2000; ++i)
            readers << u"reader%1"_s.arg(i, 5, 10, QChar(u'0'));
        f.sent.clear();
        reply.Load();
        reply.Original(msg, u"R2"_s);
        reply.ReplyToAll(readers.join(u','));
        reply.Fields.txtText = u"Yes\x02"_s;
        QVERIFY(!reply.OKButton());
        QCOMPARE(reply.Fields.txtText, u"Yes"_s);
        QVERIFY(!reply.OKButton());
        QCOMPARE(f.caption(), u"Too long to send"_s);
        QVERIFY(f.sent.isEmpty());
        QVERIFY(!MessageExist(ClientDB(), u"Outbox"_s, u"R2"_s));
        reply.Original(msg, u"R3"_s);
        reply.Fields.txtText = u"Yes"_s;
        f.linkUp = false;
        QVERIFY(!reply.OKButton());
        QCOMPARE(f.caption(), u"Not sent"_s);
        QVERIFY(!MessageExist(ClientDB(), u"Outbox"_s, u"R3"_s));
        f.linkUp = true;
        QVERIFY(reply.OKButton());
        QVERIFY(MessageExist(ClientDB(), u"Outbox"_s, u"R3"_s));
    }

    // Blanks around names go, a Scheduled message that would expire before it starts is refused, an
    // exact time already past is asked about; and replies.
    void recipientsAndDates()
    {
        Fixture f;
        f.compose(u"ID2"_s, u"Hi"_s, u" bob , alice,, "_s);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.lastRecord().Target, u"bob,alice"_s);

        f.sent.clear();
        f.compose(u"ID3"_s, u"Later"_s);
        f.form.Fields.cboDelivery = DeliveryScheduled;
        f.form.Fields.dateNextRun = QDate(2026, 12, 2);
        f.form.Fields.timeNextRun = QTime(9, 0);
        f.form.Fields.dateExpiration = QDate(2026, 12, 2);
        f.form.Fields.timeExpiration = QTime(8, 59);
        QCOMPARE(f.form.OKButton(), MessageForm::StayOpen);
        QCOMPARE(f.caption(), u"Dates do not match"_s);
        QVERIFY(f.sent.isEmpty());
        // Starting and expiring in the same minute still shows once.
        f.form.Fields.timeExpiration = QTime(9, 0);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent.size(), 1);
        // Other deliveries keep their dates as they are.
        f.compose(u"ID4"_s, u"Now"_s);
        f.form.Fields.dateNextRun = QDate(2027, 1, 1);
        QCOMPARE(f.form.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent.size(), 2);

        // An exact time already past asks before sending; repeating, or in this minute, it goes at once.
        for (const auto &[minutesAgo, repeat, asked] :
             {std::tuple{1, 0, true}, std::tuple{1, 1, false}, std::tuple{0, 0, false}}) {
            f.sent.clear();
            f.frontend.questions.clear();
            f.compose(u"X"_s, u"Drill"_s);
            const QDateTime start = f.clock.currentDateTime().addSecs(-60 * minutesAgo);
            f.form.Fields.dateNextRun = start.date();
            f.form.Fields.timeNextRun = start.time();
            f.form.Fields.chkExactTime = true;
            f.form.Fields.numRepeat = repeat;
            f.frontend.answerBox(ResultNo);
            QCOMPARE(f.form.OKButton(), asked ? MessageForm::StayOpen : MessageForm::Close);
            QCOMPARE(f.captions(), asked ? QStringList{u"Bad properties selection?"_s} : QStringList());
            QCOMPARE(f.sent.size(), asked ? 0 : 1);
        }

        // A reply: widened to all as told, five fields from the person, the rest from what it answers.
        ReplyForm reply(f.context);
        DVMessage msg =
            Fixture::record(u"R1"_s, u"M0"_s, u"alice"_s, u"Noon?"_s, FakeClock::at(2026, 11, 23, 9, 0));
        msg.Subject = u"Lunch"_s;
        msg.Target = u"bob,alice"_s;
        reply.Load();
        reply.Original(msg, u"R2"_s);
        QCOMPARE(reply.Caption(), u"Reply to alice"_s);
        // The sender already among the recipients: the list as it is.
        reply.ReplyToAll(msg.Target);
        QCOMPARE(reply.Reply().Target, u"bob,alice"_s);
        msg.UserID = u"carol"_s;
        reply.Original(msg, u"R2"_s);
        reply.ReplyToAll(QString());
        QCOMPARE(reply.Reply().Target, u"carol"_s);
        reply.ReplyToAll(msg.Target);
        QCOMPARE(reply.Reply().Target, u"carol,bob,alice"_s);

        // Five fields come from the person; the edited subject and start do not.
        reply.Fields.txtText = u"Yes, \"at noon\""_s;
        reply.Fields.txtSubject = u"Edited"_s;
        reply.Fields.cboDelivery = 3;
        reply.Fields.dateNextRun = QDate(2027, 1, 1);
        reply.Fields.chkReceipt = true;
        reply.OKButton();
        QVERIFY(f.sent.last().startsWith(u"RPA\x01R2\x02"_s));
        const DVMessage sent = f.lastRecord();
        // A reply is never itself answered.
        QCOMPARE((QVariantList{sent.Message, sent.Subject, sent.StartDate, sent.MsgDelivery, sent.MsgLevel,
                               sent.RefID, sent.InitID, sent.ModificationDate, sent.ExpirationDate,
                               sent.AllowReply}),
                 (QVariantList{u"Yes, 'at noon'"_s, u"Lunch"_s, msg.StartDate, qint16(3), u"sysKVReply"_s,
                               u"R1"_s, u"M0"_s, f.clock.currentDateTime(), msg.ExpirationDate, false}));
        QVERIFY(MessageExist(ClientDB(), u"Outbox"_s, u"R2"_s));

        // A reply to that reply keeps the history and names the reply answered.
        reply.Original(sent, u"R3"_s);
        QCOMPARE((QStringList{reply.Reply().InitID, reply.Reply().RefID}), (QStringList{u"M0"_s, u"R2"_s}));
        reply.Fields.txtText = u"ok"_s;
        reply.OKButton();
        QVERIFY(f.sent.last().startsWith(u"RPL\x01R3\x02"_s));
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
             }) {
            Fixture f;
            gProcess().CurrentList = list;
            gProcess().SavedSelection = u"bob,PC7"_s;
            KorvanClient engine;
            Failure failure;
            if (code.startsWith(u'R'))
                engine.OpenReply(data, code == u"RAL"_s);
            else
                engine.OpenComposer(code, data, failure);
            QCOMPARE(u"%1 %2: %3"_s.arg(code).arg(list).arg(f.frontend.events.join(u'|')),
                     u"%1 %2: %3"_s.arg(code).arg(list).arg(opened));
        }
    }

    void packageComposer()
    {
        Fixture f;
        MessageForm package(f.context, true);
        package.Load();
        package.OpenNew(0, u"P1"_s, QString());
        QCOMPARE(package.Caption(), u"New packageP1"_s);
        QVERIFY(package.Levels().isEmpty());
        // Text without a link keeps OK off; the target may stay empty whatever SEND says.
        f.policies.CanSendToAll = false;
        package.Fields.txtText = u"Install the new VPN client"_s;
        package.TextChanged();
        QVERIFY(!package.Enabling().OKButton);
        package.Fields.txtLink = u"//srv/docs/vpn.exe"_s;
        package.TextChanged();
        QVERIFY(package.Enabling().OKButton);
        // The record: the reserved level, no reply, Mandatory in ExactTime; sent as PKG.
        package.Fields.chkReply = package.Fields.chkExactTime = true;
        QCOMPARE(package.OKButton(), MessageForm::Close);
        QVERIFY(f.sent.last().startsWith(u"PKG\u0001"_s));
        const DVMessage sent = f.lastRecord();
        QCOMPARE((QList<QVariant>{sent.MsgLevel, sent.AllowReply, sent.ExactTime, sent.InitID}),
                 (QList<QVariant>{u"sysKVPackage"_s, false, true, u"P1"_s}));
        // An edit that changed nothing sends nothing; a real one clears InitID and keeps the status.
        DVMessage stored = sent;
        stored.Status = StatusCancelled;
        package.EditMessage(stored, 1);
        const qsizetype before = f.sent.size();
        QCOMPARE(package.OKButton(), MessageForm::Close);
        QCOMPARE(f.sent.size(), before);
        package.Fields.txtText = u"Install it today"_s;
        package.OKButton();
        QCOMPARE((QList<QVariant>{f.lastRecord().Message, f.lastRecord().InitID, f.lastRecord().Status}),
                 (QList<QVariant>{u"Install it today"_s, QString(), int(StatusCancelled)}));
        // Its directory requests carry P; its trace lines are signed with its own form.
        package.RecipientsButton(SelectUsers);
        QCOMPARE(f.sent.last(), u"RUS\u0001P"_s);
        gOptions().Trace = true;
        package.OKButton();
        QVERIFY(logText().contains(u"frmPackage:OKButton"_s));
        QVERIFY(!logText().contains(u"frmMessage:"_s));
    }
};

QTEST_GUILESS_MAIN(TestAuthoring)
#include "tst_authoring.moc"
