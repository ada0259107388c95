// The banner's queue and its rotation, with the window replaced by a recorder.
#include "banner/DisplayQueue.h"
#include "core/UserInfos.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/RecordingFrontend.h"
#include "support/RecordingView.h"
#include "support/StoreFixture.h"
#include "ui/BannerText.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

DVMessage message(const QString &id, const QString &levelName = u"Urgent"_s)
{
    DVMessage m;
    m.MsgID = id;
    m.Message = u"Text of "_s + id;
    m.MsgLevel = levelName;
    m.UserName = u"Ann Lee"_s;
    m.UserID = u"alee"_s;
    m.Status = StatusActive;
    m.ReceiptRequired = true;
    m.CreationDate = FakeClock::at(2026, 11, 23, 8, 15, 0);
    return m;
}

// A store with three levels and a package level, a user, and the window replaced.
struct Fixture : StoreFixture
{
    RecordingFrontend frontend;
    RecordingView view;
    QStringList sent, acknowledged;
    bool replies = true;
    DisplayQueue queue{view,
                       {[this] { return replies; }, [this](DVMessage &m) { acknowledged << m.MsgID; },
                        [this](const QString &p) { return !(sent << p).isEmpty(); }}};

    Fixture()
    {
        UserInfos user(u"jdoe"_s);
        user.UserName = u"Jane Doe"_s;
        user.setMachineID(u"ws-7"_s);
        ReplaceUserInfos(user);
        ClientDB().exec(
            u"INSERT INTO Levels (LevelName, BackColor, ForeColor, ShadowColor, DrawShadow, "
            "SoundType, SoundFile, Looping) VALUES ('Urgent', 255, 16777215, 65535, 1, 4, '', 1), "
            "('Quiet', 65280, 0, 0, 0, 0, '', 0), ('Beep', 16776960, 0, 0, 0, 1, '', 0), "
            "('sysKVPackage', 0, 0, 0, 0, 0, '', 0)"_s);
        gLevels() = LevelCollection();
    }
    QString shownText() const { return view.strips.isEmpty() ? QString() : view.strips.last().Text; }
    QString turn()
    {
        queue.Looped();
        return shownText();
    }
    // Whether the banner stands, the strips drawn, whether it takes an acknowledgement, every sound in order.
    QVariantList state() const
    {
        return {view.shown, view.strips.size(), view.acknowledgeEnabled, view.sounds.join(u',')};
    }
    qint32 action(const QString &id) const { return GetMessage(ClientDB(), u"Inbox"_s, id).MsgAction; }
};

} // namespace

class TestDisplayQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneMessageLoopsWithoutRedraw()
    {
        Fixture f;
        f.queue.AddMessageToDisplay(message(u"A"_s));
        // Not acknowledgeable before the whole text has passed.
        QCOMPARE(f.state(), (QVariantList{true, 1, false, u"stop,play  loop"_s}));
        const StripLook &look = f.view.strips[0];
        const QString created =
            QLocale::system().toString(FakeClock::at(2026, 11, 23, 8, 15), QLocale::ShortFormat);
        QCOMPARE(
            (QVariantList{look.BackColor, look.ForeColor, look.ShadowColor, look.ShowShadow, look.FromInfo}),
            (QVariantList{255u, 16777215u, 65535u, true, QString(u"Urgent from Ann Lee - "_s + created)}));
        f.queue.Displayed();
        QVERIFY(f.view.acknowledgeEnabled);
        // Alone, it goes round without a redraw and its looping sound goes on.
        f.queue.Looped();
        f.queue.Looped();
        QCOMPARE(f.state(), (QVariantList{true, 1, true, u"stop,play  loop"_s}));

        f.queue.cmdOK_Click();
        QCOMPARE(f.state(), (QVariantList{false, 1, true, u"stop,play  loop,stop"_s}));
        QCOMPARE((QVariantList{f.acknowledged, f.sent.size()}), (QVariantList{QStringList{u"A"_s}, 1}));
        QVERIFY(f.sent[0].startsWith(u"RCP\x01"
                                     u"A\x02jdoe\x02Jane Doe\x02ws-7\x02"_s));
    }

    void rotationSoundsAndLinks()
    {
        Fixture f;
        f.queue.AddMessageToDisplay(message(u"A"_s));
        f.queue.AddMessageToDisplay(message(u"B"_s, u"Quiet"_s));
        // B waits its turn; A's looping sound stops for good; A, seen before, takes an acknowledgement.
        QCOMPARE(f.view.strips.size(), 1);
        QCOMPARE((QStringList{f.turn(), f.view.sounds.last()}), (QStringList{u"Text of B"_s, u"stop"_s}));
        QCOMPARE((QVariantList{f.turn(), f.view.playing().size(), f.view.acknowledgeEnabled}),
                 (QVariantList{u"Text of A"_s, 1, true}));

        // A added again goes to the end and sounds afresh.
        f.queue.AddMessageToDisplay(message(u"A"_s));
        QCOMPARE(f.queue.colDisplayMessages().last().ActualMessage.MsgID, u"A"_s);
        QCOMPARE((QVariantList{f.turn(), f.turn(), f.view.playing().size()}),
                 (QVariantList{u"Text of B"_s, u"Text of A"_s, 2}));

        // Withdrawn while waiting: leaves silently; on the strip: turns the queue without a receipt.
        f.queue.DeleteMessageFromDisplay(u"B"_s);
        QCOMPARE(f.queue.colDisplayMessages().size(), 1);
        f.queue.DeleteMessageFromDisplay(u"A"_s);
        QCOMPARE((QVariantList{f.view.shown, f.sent}), (QVariantList{false, QStringList()}));

        // Only a mandatory package's document opens though never clicked, a missing file told; no receipt
        // is asked. A mandatory message's link, or a package's left to the reader, waits for a click.
        for (const auto &[level, exact] : {std::pair{u"Urgent"_s, true}, {u"sysKVPackage"_s, false}}) {
            DVMessage other = message(u"N"_s, level);
            std::tie(other.Attachment, other.ExactTime, other.ReceiptRequired) =
                std::tuple(u"/srv/docs/other.pdf"_s, exact, false);
            f.queue.AddMessageToDisplay(other);
            f.queue.cmdOK_Click();
        }
        QCOMPARE(f.view.links, QStringList());
        DVMessage package = message(u"P"_s, u"sysKVPackage"_s);
        package.Attachment = u"/srv/docs/policy.pdf"_s;
        package.ExactTime = true;
        package.ReceiptRequired = false;
        f.queue.AddMessageToDisplay(package);
        QVERIFY(f.view.strips.last().HasLink);
        f.view.linkResult = BannerView::LinkNotFound;
        f.queue.cmdOK_Click();
        const RecordingFrontend::Question &box = f.frontend.questions.last();
        QCOMPARE((f.view.links + QStringList{box.caption, box.text} + f.sent),
                 (QStringList{u"/srv/docs/policy.pdf"_s, u"Execute Link Error"_s,
                              u"The specified file was not found:\n/srv/docs/policy.pdf"_s}));

        DVMessage answerable = message(u"Q"_s);
        answerable.AllowReply = true;
        f.queue.AddMessageToDisplay(answerable);
        f.queue.mnuReply_Click(true);
        QCOMPARE((QStringList{f.sent.last(), f.queue.DisplayedMsg()->ActualMessage.MsgID}),
                 (QStringList{u"RAL"_s, u"Q"_s}));
        f.queue.DeleteMessageFromDisplay(u"Q"_s);

        // A chosen file plays from the local copy, else the share; a built-in sound ignores a copy.
        QVERIFY(ClientDB().exec(
            u"INSERT INTO Levels (LevelName, SoundType, SoundFile, Looping, LocalSoundFile) VALUES "
            "('Copied', 2, '//srv/snd/a.wav', 0, '/data/a.wav'), ('Shared', 2, '//srv/snd/b.wav', 0, ''), "
            "('Tune', 4, '', 0, '/data/old.wav')"_s));
        gLevels() = LevelCollection();
        for (const QString &level : {u"Copied"_s, u"Shared"_s, u"Tune"_s}) {
            f.queue.AddMessageToDisplay(message(level, level));
            f.queue.DeleteMessageFromDisplay(level);
        }
        QCOMPARE(f.view.playing().mid(f.view.playing().size() - 3),
                 (QStringList{u"play /data/a.wav once"_s, u"play //srv/snd/b.wav once"_s, u"play  once"_s}));
    }

    void repliesLevelsAndVariables()
    {
        Fixture f;
        // A reply while replies are off never reaches the queue and is done with.
        DVMessage reply = message(u"R"_s, u"sysKVReply"_s);
        QVERIFY(SaveMessage(ClientDB(), u"Inbox"_s, reply, false, false));
        f.replies = false;
        f.queue.AddMessageToDisplay(reply);
        QCOMPARE((QVariantList{f.queue.colDisplayMessages().size(), f.action(u"R"_s)}),
                 (QVariantList{0, qint32(ActionDone)}));

        // Queued rows are marked in the store; the variables of the text are filled in.
        DVMessage stored = message(u"S"_s, u"Beep"_s);
        stored.Message = u"Hello %USERNAME% on %MACHINEID%,\r\n%date% stays\tas is"_s;
        QVERIFY(SaveMessage(ClientDB(), u"Inbox"_s, stored, false, false));
        f.queue.AddMessageToDisplay(stored);
        const QString shown = u"Hello Jane Doe on ws-7,  %date% stays as is"_s;
        QCOMPARE((QVariantList{f.action(u"S"_s), f.shownText(), f.view.sounds.last()}),
                 (QVariantList{qint32(ActionQueued), shown, u"beep"_s}));
        // Every variable is filled in, none left as typed.
        const QString every =
            u"%DAYOFWEEK% %DATE% %TIME% %LONGDATE% %LONGTIME% %USERID% %USERNAME% %MACHINEID%"_s;
        QVERIFY2(!BannerText::Expand(every).contains(u'%'), qPrintable(BannerText::Expand(every)));
        const QLocale locale = QLocale::system();
        QCOMPARE(BannerText::Expand(u"%LONGDATE% %LONGTIME%"_s),
                 locale.toString(f.clock.currentDateTime().date(), QLocale::LongFormat) + u' ' +
                     locale.toString(f.clock.currentDateTime(), locale.timeFormat(QLocale::LongFormat)));
        // The menu acknowledges at once, before the text has passed.
        QVERIFY(!f.view.acknowledgeEnabled);
        f.queue.mnuAcknowledge_Click();
        QCOMPARE(f.acknowledged, QStringList{u"S"_s});
        f.queue.AddMessageToDisplay(stored);

        // A level that is not there aborts only that turn.
        f.queue.AddMessageToDisplay(message(u"X"_s, u"Missing"_s));
        const qsizetype strips = f.view.strips.size();
        f.queue.Looped();
        QCOMPARE((QVariantList{f.view.strips.size(), f.queue.colDisplayMessages().size(), f.turn()}),
                 (QVariantList{strips, 2, shown}));
    }
};

QTEST_GUILESS_MAIN(TestDisplayQueue)
#include "tst_displayqueue.moc"
