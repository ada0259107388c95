// The level editor: its buffer, its buttons, what OK sends, and its window's sound and path checks.
#include "core/Globals.h"
#include "core/Options.h"
#include "editors/LevelEditForm.h"
#include "editors/frmLevelEdit.h"
#include "store/DBFunctions.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void addLevel(const QString &name, int authority, int soundType = 0, const QString &file = {})
{
    QVERIFY(ClientDB().exec(u"INSERT INTO Levels (LevelName, Description, BackColor, ForeColor, ShadowColor, "
                            "DrawShadow, SoundType, SoundFile, Looping, Authority) "
                            "VALUES (?, ?, 255, 16777215, 0, 1, ?, ?, 0, ?)"_s,
                            {name, QString(name + u" level"_s), soundType, file, authority}));
}

// A store, a person to ask, and what the editor sends while the link is up; only paths under "//" are shared.
struct Fixture : StoreFixture
{
    RecordingFrontend frontend;
    QStringList sent;
    bool linkUp = true;

    LevelEditForm::Context context(std::function<quint32(quint32)> translateColor = {})
    {
        return {ClientDB(), TempDB(),
                [this](const QString &payload) { return linkUp && !(sent << payload).isEmpty(); },
                [](QString &path) { return path.startsWith(u"//"_s); }, translateColor};
    }
    static int buffered() { return count(TempDB(), u"SELECT COUNT(*) FROM Levels WHERE ToSend = 1"_s); }
    // The boxes shown so far: their captions, or their texts and captions.
    QStringList boxes(bool withText = false) const
    {
        QStringList all;
        for (const RecordingFrontend::Question &box : frontend.questions)
            all << (withText ? box.text + u'|' : QString()) + box.caption;
        return all;
    }
};

} // namespace

class TestLevelEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { gOptions().Language = 0; }

    // The buttons follow the buffer and the fields. Only the buffer leaves, and only at OK: separators
    // pasted in a text never reach it, a character the code page lacks is asked about, Reset drops it;
    // levels that cannot leave keep the editor open.
    void bufferButtonsAndWhatLeaves()
    {
        Fixture f;
        for (const auto &[name, authority] :
             {std::pair{u"Urgent"_s, 1}, {u"sysKVReply"_s, 99}, {u"Info"_s, 0}})
            addLevel(name, authority);
        // The desktop's window colour is white here.
        LevelEditForm form(f.context([](quint32 color) { return color == 0x80000005u ? 0xFFFFFFu : color; }));
        form.Load();
        // A reserved level is neither listed nor buffered, so it can't be edited or sent.
        QCOMPARE(StoreFixture::column(TempDB(), u"SELECT LevelName FROM Levels ORDER BY rowid"_s),
                 (QStringList{u"Urgent"_s, u"Info"_s}));
        QCOMPARE(
            std::tuple(form.cboLevel, form.cmdAddEnabled, form.cmdUpdateEnabled, form.DefaultButtonEnabled),
            std::tuple(u"Urgent"_s, false, false, false));

        // Two levels never share a name, whatever its case, nor take a reserved one.
        for (const QString &name : {u"Info"_s, u"INFO"_s, u"sysKVReply"_s, u""_s, u"\u0002"_s, u"New"_s}) {
            form.txtLevelName = name;
            form.EnableButtons();
            QVERIFY2(form.cmdAddEnabled == (name == u"New"_s), qPrintable(name));
        }

        // Each field that differs from the stored row turns UPDATE on; put back, off again.
        const std::function<void(bool)> edits[] = {
            [&](bool on) { form.txtDescription = on ? u"Other"_s : u"Urgent level"_s; },
            [&](bool on) { form.colBackground = on ? 1 : 255; },
            [&](bool on) { form.colForeground = on ? 1 : 16777215; },
            [&](bool on) { form.colShadow = on ? 1 : 0; },
            [&](bool on) { form.chkShadow = !on; },
            [&](bool on) { form.cboSoundType = on ? 3 : 0; },
            [&](bool on) { form.txtSoundFile = on ? u"//s/a.wav"_s : QString(); },
            [&](bool on) { form.chkLooping = on; },
            [&](bool on) { form.cboAuthority = on ? 3 : 1; }};
        form.txtLevelName = u"Urgent"_s;
        for (int n = 0; n < int(std::size(edits)); ++n)
            for (const bool on : {true, false}) {
                edits[n](on);
                form.EnableButtons();
                QVERIFY2(form.cmdUpdateEnabled == on && !form.cmdAddEnabled && !form.OKButtonEnabled,
                         qPrintable(QString::number(n)));
            }

        const auto fill = [&form] {
            std::tie(form.txtLevelName, form.txtDescription, form.colBackground, form.colForeground,
                     form.chkShadow, form.cboSoundType, form.txtSoundFile, form.chkLooping,
                     form.cboAuthority) =
                std::tuple(u"New"_s, u"a\"c"_s, 0x80000005u, 0u, false, 2, u"//srv/media/a.wav"_s, true, 2);
        };
        // Whatever is refused here would make the later ADD of "New" fail: nothing is buffered.
        for (QString LevelEditForm::*field :
             {&LevelEditForm::txtLevelName, &LevelEditForm::txtDescription, &LevelEditForm::txtSoundFile}) {
            fill();
            form.*field = u"\u0001"_s + form.*field + u"\u0004"_s;
            QVERIFY(!form.cmdAdd());
            QVERIFY(!(form.*field).contains(u'\u0001') && !(form.*field).contains(u'\u0004'));
        }
        // A character the code page lacks would arrive as "?": asked first, No keeps it out.
        fill();
        form.txtDescription = u"a\u2192"_s;
        f.frontend.answerBox(ResultNo);
        QVERIFY(!form.cmdAdd());
        fill();
        QVERIFY(form.cmdAdd());
        QCOMPARE(
            std::tuple(form.cboLevel, form.OKButtonEnabled, form.DefaultButtonEnabled, form.cmdAddEnabled),
            std::tuple(u"New"_s, true, true, false));
        form.DefaultButton();
        QCOMPARE(std::tuple(form.cboLevel, f.buffered(), form.OKButtonEnabled),
                 std::tuple(u"Urgent"_s, 0, false));

        fill();
        QVERIFY(form.cmdAdd());
        form.cboLevel = u"Urgent"_s;
        form.EditCurrent();
        form.txtDescription = u"Now"_s;
        form.chkShadow = false;
        QVERIFY(form.cmdUpdate());
        f.linkUp = false;
        QCOMPARE(form.OKButton(), LevelEditForm::StayOpen);
        gOptions().Language = 1;
        QCOMPARE(form.OKButton(), LevelEditForm::StayOpen);
        gOptions().Language = 0;
        f.linkUp = true;
        form.txtDescription = QString(40000, u'x');
        QCOMPARE((std::tuple{form.cmdUpdate(), form.OKButton(), f.sent}),
                 std::tuple(true, LevelEditForm::StayOpen, QStringList()));
        // Only the clean text went without a question.
        QCOMPARE(f.boxes(), (QStringList{u"Invalid characters"_s, u"Invalid characters"_s,
                                         u"Invalid characters"_s, u"Characters not supported"_s,
                                         u"Not sent"_s, u"Non envoyé"_s, u"Too long to send"_s}));
        form.txtDescription = u"Now"_s;
        QCOMPARE((std::pair{form.cmdUpdate(), form.OKButton()}), std::pair(true, LevelEditForm::Close));
        // Fields parted by Chr(2), rows by Chr(3), in buffer order, no closing Chr(3).
        QCOMPARE(
            f.sent,
            QStringList{u"LVL\u0001Urgent\u0002Now\u0002255\u000216777215\u00020\u0002False\u00020\u0002"
                        "\u0002False\u00021\u0003New\u0002a'c\u000216777215\u00020\u00020\u0002False\u0002"
                        "2\u0002//srv/media/a.wav\u0002True\u00022"_s});
        // The store changes only when the server sends the levels back.
        QCOMPARE(
            StoreFixture::column(ClientDB(), u"SELECT LevelName || Description || DrawShadow FROM Levels"_s),
            (QStringList{u"UrgentUrgent level1"_s, u"sysKVReplysysKVReply level1"_s, u"InfoInfo level1"_s}));
    }

    // The window: a typed sound path meets the rule of a browsed one at ADD and UPDATE, in either
    // language; a vanished file is not played; each sound code enables what it needs; Escape closes.
    void soundAndPaths()
    {
        Fixture f;
        const QString wave = f.profile.dataHome() + u"/gone.wav"_s;
        QVERIFY(QFile(wave).open(QIODevice::WriteOnly));
        addLevel(u"Wave"_s, 0, 2, wave);
        frmLevelEdit window(f.context());
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.show();
        QCOMPARE(window.ui.cboSoundType->count(), 12); // the sound codes 0 to 11
        const auto type = [](QLineEdit *field, const QString &text) {
            field->selectAll();
            QTest::keyClicks(field, text);
        };

        QVERIFY(QFile::remove(wave));
        window.ui.cmdPLay->click();
        QVERIFY(!window.ui.cmdStop->isEnabled());

        type(window.ui.txtLevelName, u"Local"_s);
        type(window.ui.txtSoundFile, u"/home/me/local.wav"_s);
        window.ui.cmdAdd->click();
        QCOMPARE(window.ui.txtSoundFile->text(), u"/home/me/local.wav"_s);
        gOptions().Language = 1;
        type(window.ui.txtLevelName, u"Wave"_s);
        window.ui.cmdUpdate->click();
        gOptions().Language = 0;
        QCOMPARE(f.buffered(), 0);

        LevelEditForm &form = window.logic();
        QVERIFY(!form.BrowseAccept(u"/home/me/local.wav"_s));
        QVERIFY(form.BrowseAccept(u"//srv/media/b.wav"_s));
        QCOMPARE(form.txtSoundFileToolTip, u"//srv/media/b.wav"_s);

        type(window.ui.txtLevelName, u"Shared"_s);
        type(window.ui.txtSoundFile, u"//srv/media/b.wav"_s);
        window.ui.cmdAdd->click();
        const QString notShared = u"ERROR|Other clients cannot fetch this sound file"_s;
        QCOMPARE(
            f.boxes(true),
            (QStringList{u"File does not exists|Wrong path"_s, notShared,
                         u"ERREUR|Les autres clients ne peuvent pas récupérer ce fichier son"_s, notShared}));
        // Escape closes the editor as it does any dialog, and no other key does; the buffer waits for OK.
        QTest::keyClick(window.ui.OKButton, Qt::Key_X);
        QTest::keyClick(window.ui.OKButton, Qt::Key_Escape, Qt::ShiftModifier);
        QVERIFY(window.isVisible());
        QTest::keyClick(window.ui.txtLevelName, Qt::Key_Escape);
        QVERIFY(!window.isVisible());
        window.show();
        window.ui.OKButton->click();
        QCOMPARE(f.sent,
                 QStringList{u"LVL\u0001Shared\u0002Wave level\u0002255\u000216777215\u00020\u0002True\u0002"
                             "2\u0002//srv/media/b.wav\u0002False\u00020"_s});
        QVERIFY(!window.isVisible());
        // Reset brings the stored levels back into the list, without the one just added.
        QVERIFY(window.ui.cboLevel->findText(u"Shared"_s) >= 0);
        window.ui.DefaultButton->click();
        QCOMPARE((QList<QVariant>{window.ui.cboLevel->count(), window.ui.cboLevel->itemText(0)}),
                 (QList<QVariant>{1, u"Wave"_s}));

        // Sound code, then whether the file, looping and play may be used; a sound playing when another
        // code is chosen leaves no Stop behind.
        QVERIFY(form.PlayFile(QCoreApplication::applicationFilePath()) && form.cmdStopEnabled);
        for (const auto &[code, file, looping, play] : {std::tuple{1, false, false, true},
                                                        {3, false, true, true},
                                                        {11, false, true, true},
                                                        {2, true, true, true},
                                                        {0, false, false, true}}) {
            form.cboSoundType = code;
            form.cboSoundType_Click();
            QCOMPARE(std::tuple(code, form.txtSoundFileEnabled, form.chkLoopingEnabled, form.cmdPLayEnabled,
                                form.cmdStopEnabled),
                     std::tuple(code, file, looping, play, false));
        }

        // A buffer that can't be written is logged, and the editor stays usable.
        QVERIFY(TempDB().exec(u"DROP TABLE Levels"_s));
        LevelEditForm broken({ClientDB(), TempDB(), {}, {}});
        broken.Load();
        QVERIFY(broken.Levels().isEmpty() && logText().contains(u"frmLevelEdit:ResetLevels - "_s));
    }
};

QTEST_MAIN(TestLevelEdit)
#include "tst_leveledit.moc"
