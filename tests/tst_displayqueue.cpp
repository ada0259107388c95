// The banner's queue and its rotation, with the window replaced by a recorder.
#include "banner/BannerView.h"
#include "banner/DisplayQueue.h"
#include "core/Globals.h"
#include "core/UserInfos.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/LevelCollection.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QTest>

namespace {

class RecordingView final : public BannerView
{
public:
    bool shown = false;
    bool acknowledgeEnabled = false;
    QStringList sounds; // "play <file> loop|once", "beep", "stop"
    QList<StripLook> strips;
    QStringList links;
    LinkResult linkResult = LinkOpened;

    bool isShown() const override { return shown; }
    void ActivateMessages() override { shown = true; }
    void hideBanner() override { shown = false; }
    void showStrip(const StripLook &look) override { strips.append(look); }
    void setAcknowledgeEnabled(bool enabled) override { acknowledgeEnabled = enabled; }
    void stopSound() override { sounds.append(QStringLiteral("stop")); }
    void beep() override { sounds.append(QStringLiteral("beep")); }
    void playFile(qint16, const QString &file, bool looping) override
    {
        sounds.append(QStringLiteral("play ") + file +
                      (looping ? QStringLiteral(" loop") : QStringLiteral(" once")));
    }
    LinkResult openLink(const QString &path) override
    {
        links.append(path);
        return linkResult;
    }

    QStringList playing() const { return sounds.filter(QStringLiteral("play")); }
};

DVMessage message(const QString &id, const QString &levelName = QStringLiteral("Urgent"))
{
    DVMessage m;
    m.MsgID = id;
    m.Message = QStringLiteral("Text of ") + id;
    m.MsgLevel = levelName;
    m.UserName = QStringLiteral("Ann Lee");
    m.UserID = QStringLiteral("alee");
    m.Status = StatusActive;
    m.ReceiptRequired = true;
    m.CreationDate = FakeClock::at(2026, 11, 23, 8, 15, 0);
    return m;
}

} // namespace

class TestDisplayQueue : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        TempProfile profile;
        FakeClock clock{FakeClock::at(2026, 11, 23, 10, 0, 0)};
        RecordingFrontend frontend;
        RecordingView view;
        QStringList sent;
        QStringList acknowledged;
        bool replies = true;
        DisplayQueue queue{view,
                           {[this] { return replies; }, [this](DVMessage &m) { acknowledged << m.MsgID; },
                            [this](const QString &p) {
                                sent << p;
                                return true;
                            }}};

        Fixture()
        {
            gProcess().AppDataPath = profile.dataHome();
            UserInfos user(QStringLiteral("jdoe"));
            user.UserName = QStringLiteral("Jane Doe");
            user.setMachineID(QStringLiteral("ws-7"));
            ReplaceUserInfos(user);
            InitializeDB(profile.dataHome());
            ClientDB().exec(
                QStringLiteral("INSERT INTO Levels (LevelName, BackColor, ForeColor, ShadowColor, "
                               "DrawShadow, SoundType, SoundFile, Looping) VALUES "
                               "('Urgent', 255, 16777215, 0, 1, 4, '', 1), "
                               "('Quiet', 65280, 0, 0, 0, 0, '', 0), "
                               "('Beep', 16776960, 0, 0, 0, 1, '', 0)"));
            gLevels() = LevelCollection();
        }
        ~Fixture()
        {
            ClientDB().close();
            TempDB().close();
        }
        QString shownText() const { return view.strips.isEmpty() ? QString() : view.strips.last().Text; }
    };

private Q_SLOTS:
    void oneMessageLoopsWithoutRedraw()
    {
        Fixture f;
        f.queue.AddMessageToDisplay(message(QStringLiteral("A")));
        QVERIFY(f.view.shown);
        QCOMPARE(f.view.strips.size(), 1);
        QCOMPARE(f.view.strips[0].FromInfo,
                 QStringLiteral("Urgent from Ann Lee - ") +
                     QLocale::system().toString(FakeClock::at(2026, 11, 23, 8, 15, 0), QLocale::ShortFormat));
        QCOMPARE(f.view.playing(), QStringList{QStringLiteral("play  loop")});
        // Not acknowledgeable before the whole text has passed.
        QVERIFY(!f.view.acknowledgeEnabled);
        f.queue.Displayed();
        QVERIFY(f.view.acknowledgeEnabled);

        // Alone, it goes round without a redraw and its looping sound goes on.
        f.queue.Looped();
        f.queue.Looped();
        QCOMPARE(f.view.strips.size(), 1);
        QCOMPARE(f.view.sounds.last(), QStringLiteral("play  loop"));

        f.queue.cmdOK_Click();
        QVERIFY(!f.view.shown);
        QCOMPARE(f.view.sounds.last(), QStringLiteral("stop"));
        QCOMPARE(f.acknowledged, QStringList{QStringLiteral("A")});
        QCOMPARE(f.sent.size(), 1);
        QVERIFY(f.sent[0].startsWith(QStringLiteral("RCP") + QChar(1) + QStringLiteral("A") + QChar(2) +
                                     QStringLiteral("jdoe") + QChar(2) + QStringLiteral("Jane Doe") +
                                     QChar(2) + QStringLiteral("ws-7") + QChar(2)));
    }

    void rotationAndSounds()
    {
        Fixture f;
        f.queue.AddMessageToDisplay(message(QStringLiteral("A")));
        f.queue.AddMessageToDisplay(message(QStringLiteral("B"), QStringLiteral("Quiet")));
        // B waits for its turn while A is on the strip.
        QCOMPARE(f.view.strips.size(), 1);
        f.queue.Looped();
        QCOMPARE(f.shownText(), QStringLiteral("Text of B"));
        // A's looping sound stopped when B took the strip, and never resumes.
        QCOMPARE(f.view.sounds.last(), QStringLiteral("stop"));
        f.queue.Looped();
        QCOMPARE(f.shownText(), QStringLiteral("Text of A"));
        QCOMPARE(f.view.playing().size(), 1);
        // A seen before: acknowledgeable at once.
        QVERIFY(f.view.acknowledgeEnabled);

        // A added again goes to the end and sounds afresh.
        f.queue.AddMessageToDisplay(message(QStringLiteral("A")));
        QCOMPARE(f.queue.colDisplayMessages().last().ActualMessage.MsgID, QStringLiteral("A"));
        f.queue.Looped();
        QCOMPARE(f.shownText(), QStringLiteral("Text of B"));
        f.queue.Looped();
        QCOMPARE(f.shownText(), QStringLiteral("Text of A"));
        QCOMPARE(f.view.playing().size(), 2);

        // Withdrawn while waiting: leaves silently; withdrawn on the strip: turns the queue without a
        // receipt.
        f.queue.DeleteMessageFromDisplay(QStringLiteral("B"));
        QCOMPARE(f.queue.colDisplayMessages().size(), 1);
        f.queue.DeleteMessageFromDisplay(QStringLiteral("A"));
        QVERIFY(!f.view.shown);
        QVERIFY(f.sent.isEmpty());
    }

    void repliesLevelsAndVariables()
    {
        Fixture f;
        // A reply while replies are off never reaches the queue and is done with.
        DVMessage reply = message(QStringLiteral("R"), QStringLiteral("sysKVReply"));
        QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Inbox"), reply, false, false));
        f.replies = false;
        f.queue.AddMessageToDisplay(reply);
        QVERIFY(f.queue.colDisplayMessages().isEmpty());
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("R")).MsgAction,
                 qint32(ActionDone));

        // Queued rows are marked in the store.
        DVMessage stored = message(QStringLiteral("S"), QStringLiteral("Beep"));
        stored.Message = QStringLiteral("Hello %USERNAME% on %MACHINEID%,\r\n%date% stays\tas is");
        QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Inbox"), stored, false, false));
        f.queue.AddMessageToDisplay(stored);
        QCOMPARE(GetMessage(ClientDB(), QStringLiteral("Inbox"), QStringLiteral("S")).MsgAction,
                 qint32(ActionQueued));
        QCOMPARE(f.shownText(), QStringLiteral("Hello Jane Doe on ws-7,  %date% stays as is"));
        QCOMPARE(f.view.sounds.last(), QStringLiteral("beep"));
        const QLocale locale = QLocale::system();
        QCOMPARE(DisplayQueue::ConvertText(QStringLiteral("%LONGDATE% %LONGTIME%")),
                 locale.toString(f.clock.currentDateTime().date(), QLocale::LongFormat) + u' ' +
                     locale.toString(f.clock.currentDateTime(), locale.timeFormat(QLocale::LongFormat)));
        // The menu acknowledges at once, before the text has passed.
        QVERIFY(!f.view.acknowledgeEnabled);
        f.queue.mnuAcknowledge_Click();
        QCOMPARE(f.acknowledged, QStringList{QStringLiteral("S")});
        f.queue.AddMessageToDisplay(stored);

        // A level that is not there aborts only that turn.
        f.queue.AddMessageToDisplay(message(QStringLiteral("X"), QStringLiteral("Missing")));
        const qsizetype strips = f.view.strips.size();
        f.queue.Looped();
        QCOMPARE(f.view.strips.size(), strips);
        QCOMPARE(f.queue.colDisplayMessages().size(), 2);
        f.queue.Looped();
        QCOMPARE(f.shownText(), QStringLiteral("Hello Jane Doe on ws-7,  %date% stays as is"));
    }

    void linksAndMandatoryDocuments()
    {
        Fixture f;
        DVMessage package = message(QStringLiteral("P"));
        package.MsgLevel = QStringLiteral("sysKVPackage");
        package.Attachment = QStringLiteral("/srv/docs/policy.pdf");
        package.ExactTime = true; // on a package: the document is mandatory
        package.ReceiptRequired = false;
        ClientDB().exec(
            QStringLiteral("INSERT INTO Levels (LevelName, SoundType) VALUES ('sysKVPackage', 0)"));
        gLevels() = LevelCollection();
        f.queue.AddMessageToDisplay(package);
        QVERIFY(f.view.strips.last().HasLink);

        f.view.linkResult = BannerView::LinkNotFound;
        f.queue.cmdOK_Click();
        // Opened though never clicked; the missing file is told in its own words.
        QCOMPARE(f.view.links, QStringList{QStringLiteral("/srv/docs/policy.pdf")});
        QCOMPARE(f.frontend.questions.last().caption, QStringLiteral("Execute Link Error"));
        QCOMPARE(f.frontend.questions.last().text,
                 QStringLiteral("The specified file was not found:\n/srv/docs/policy.pdf"));
        // No receipt was asked for: nothing is sent.
        QVERIFY(f.sent.isEmpty());

        DVMessage answerable = message(QStringLiteral("Q"));
        answerable.AllowReply = true;
        f.queue.AddMessageToDisplay(answerable);
        f.queue.mnuReply_Click(true);
        QCOMPARE(f.sent.last(), QStringLiteral("RAL"));
        QCOMPARE(f.queue.DisplayedMsg()->ActualMessage.MsgID, QStringLiteral("Q"));
    }
};

QTEST_GUILESS_MAIN(TestDisplayQueue)
#include "tst_displayqueue.moc"
