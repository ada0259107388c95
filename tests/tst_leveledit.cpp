// The level editor: its buffer, its buttons, what OK sends, and the sound and
// path checks of its window.
#include "banner/LevelEditForm.h"
#include "banner/frmLevelEdit.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "store/DBFunctions.h"
#include "support/LogText.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QFile>
#include <QPointer>
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

QStringList storedLevels()
{
    return StoreFixture::column(ClientDB(),
                                u"SELECT LevelName || '|' || Description || '|' || BackColor || '|' "
                                "|| SoundType || '|' || Authority FROM Levels ORDER BY rowid"_s);
}

} // namespace

class TestLevelEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { gOptions().Language = 0; }

    void bufferAndButtons()
    {
        StoreFixture f;
        addLevel(u"Urgent"_s, 1);
        addLevel(u"sysKVReply"_s, 99);
        addLevel(u"Info"_s, 0);
        LevelEditForm form({ClientDB(), TempDB(), [](const QString &) { return true; }, {}});
        form.Load();
        // A reserved level is neither listed nor buffered, so it can't be edited or sent.
        QStringList names;
        for (const level &row : form.Levels())
            names << row.LevelName;
        QCOMPARE(names, (QStringList{u"Urgent"_s, u"Info"_s}));
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT COUNT(*) FROM Levels WHERE Authority >= 99"_s), 0);
        QCOMPARE(form.cboLevel, u"Urgent"_s);
        QCOMPARE(form.txtDescription, u"Urgent level"_s);
        QCOMPARE(form.colBackground, 255u);
        QVERIFY(!form.cmdAddEnabled && !form.cmdUpdateEnabled && !form.OKButtonEnabled &&
                !form.DefaultButtonEnabled);

        // Two levels never share a name, whatever its case, nor take a reserved one.
        for (const QString &taken : {u"Info"_s, u"INFO"_s, u"sysKVReply"_s, u""_s, u"\u0002"_s}) {
            form.txtLevelName = taken;
            form.EnableButtons();
            QVERIFY2(!form.cmdAddEnabled, qPrintable(taken));
        }
        form.txtLevelName = u"New"_s;
        form.EnableButtons();
        QVERIFY(form.cmdAddEnabled);
        QVERIFY(!form.cmdUpdateEnabled);

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
            [&](bool on) { form.cboAuthority = on ? 3 : 1; },
        };
        form.txtLevelName = u"Urgent"_s;
        for (int n = 0; n < int(std::size(edits)); ++n) {
            edits[n](true);
            form.EnableButtons();
            QVERIFY2(form.cmdUpdateEnabled && !form.cmdAddEnabled, qPrintable(QString::number(n)));
            edits[n](false);
            form.EnableButtons();
            QVERIFY2(!form.cmdUpdateEnabled, qPrintable(QString::number(n)));
        }
        // OK is not possible before ADD or UPDATE, and with nothing buffered sends nothing.
        QVERIFY(!form.OKButtonEnabled);
    }

    void sendsOnlyTheBuffer()
    {
        StoreFixture f;
        addLevel(u"Urgent"_s, 1);
        addLevel(u"Info"_s, 0);
        const QStringList before = storedLevels();
        RecordingFrontend frontend;
        QStringList sent;
        // The desktop's window colour is white here.
        LevelEditForm form({ClientDB(), TempDB(),
                            [&sent](const QString &payload) {
                                sent << payload;
                                return true;
                            },
                            [](QString &path) { return path.startsWith(u"//"_s); },
                            [](quint32 color) { return color == 0x80000005u ? 0xFFFFFFu : color; }});
        form.Load();
        const auto addNew = [&form] {
            form.txtLevelName = u"New"_s;
            form.txtDescription = u"a\"c"_s;
            form.colBackground = 0x80000005u; // a desktop colour, sent as the colour it stands for
            form.colForeground = 0;
            form.chkShadow = false;
            form.cboSoundType = 2;
            form.txtSoundFile = u"//srv/media/a.wav"_s;
            form.chkLooping = true;
            form.cboAuthority = 2;
            return form.cmdAdd();
        };
        QVERIFY(addNew());
        QCOMPARE(form.cboLevel, u"New"_s);
        QVERIFY(form.OKButtonEnabled && form.DefaultButtonEnabled && !form.cmdAddEnabled);
        // Reset drops every buffered change.
        form.DefaultButton();
        QCOMPARE(form.Levels().size(), 2);
        QCOMPARE(form.cboLevel, u"Urgent"_s);
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT COUNT(*) FROM Levels WHERE ToSend = 1"_s), 0);
        QVERIFY(!form.OKButtonEnabled);

        QVERIFY(addNew());
        form.cboLevel = u"Urgent"_s;
        form.EditCurrent();
        form.txtDescription = u"Now"_s;
        form.chkShadow = false;
        form.EnableButtons();
        QVERIFY(form.cmdUpdateEnabled);
        QVERIFY(form.cmdUpdate());
        QVERIFY(!form.cmdUpdateEnabled);
        QCOMPARE(form.OKButton(), LevelEditForm::Close);
        QCOMPARE(sent.size(), 1);
        // Fields parted by Chr(2), rows by Chr(3), in buffer order, no closing Chr(3).
        QCOMPARE(sent.first(),
                 u"LVL\u0001Urgent\u0002Now\u0002255\u000216777215\u00020\u0002False\u00020\u0002"
                 "\u0002False\u00021\u0003New\u0002a'c\u000216777215\u00020\u00020\u0002False\u0002"
                 "2\u0002//srv/media/a.wav\u0002True\u00022"_s);
        // The store changes only when the server sends the levels back.
        QCOMPARE(storedLevels(), before);
    }

    // Separators pasted in a text never reach the buffer nor the wire; levels that
    // do not leave, or cannot go in one frame, keep the editor open; in both languages.
    void refusedBeforeTheWire()
    {
        StoreFixture f;
        RecordingFrontend frontend;
        addLevel(u"Info"_s, 0);
        bool linkUp = false;
        QStringList sent;
        LevelEditForm form({ClientDB(), TempDB(),
                            [&](const QString &payload) {
                                if (linkUp)
                                    sent << payload;
                                return linkUp;
                            },
                            [](QString &path) { return path.startsWith(u"//"_s); }});
        form.Load();
        const auto buffered = [] {
            return StoreFixture::count(TempDB(), u"SELECT COUNT(*) FROM Levels WHERE ToSend = 1"_s);
        };
        for (QString LevelEditForm::*field :
             {&LevelEditForm::txtLevelName, &LevelEditForm::txtDescription, &LevelEditForm::txtSoundFile}) {
            form.txtLevelName = u"New"_s;
            form.txtDescription = u"Fresh"_s;
            form.cboSoundType = 2;
            form.txtSoundFile = u"//srv/media/a.wav"_s;
            form.*field = u"\u0001"_s + form.*field + u"\u0004"_s;
            QVERIFY(!form.cmdAdd());
            QCOMPARE(frontend.questions.last().caption, u"Invalid characters"_s);
            QVERIFY(!(form.*field).contains(u'\u0001') && !(form.*field).contains(u'\u0004'));
            QCOMPARE(buffered(), 0);
        }
        // A character the code page lacks would arrive as "?": asked first, No keeps it out.
        form.txtDescription = u"Fresh \u2192"_s;
        frontend.answerBox(ResultNo);
        QVERIFY(!form.cmdAdd());
        QCOMPARE(frontend.questions.last().caption, u"Characters not supported"_s);
        QCOMPARE(buffered(), 0);
        form.txtDescription = u"Fresh"_s;
        const qsizetype asked = frontend.questions.size();
        QVERIFY(form.cmdAdd());
        QCOMPARE(frontend.questions.size(), asked);

        QCOMPARE(form.OKButton(), LevelEditForm::StayOpen);
        QCOMPARE(frontend.questions.last().caption, u"Not sent"_s);
        gOptions().Language = 1;
        QCOMPARE(form.OKButton(), LevelEditForm::StayOpen);
        QCOMPARE(frontend.questions.last().caption, u"Non envoyé"_s);
        gOptions().Language = 0;

        linkUp = true;
        form.txtDescription = QString(40000, u'x');
        QVERIFY(form.cmdUpdate());
        QCOMPARE(form.OKButton(), LevelEditForm::StayOpen);
        QCOMPARE(frontend.questions.last().caption, u"Too long to send"_s);
        QVERIFY(sent.isEmpty());
        form.txtDescription = u"Fresh"_s;
        QVERIFY(form.cmdUpdate());
        QCOMPARE(form.OKButton(), LevelEditForm::Close);
        QCOMPARE(sent,
                 QStringList{u"LVL\u0001New\u0002Fresh\u0002255\u000216777215\u00020\u0002True\u00022\u0002"
                             "//srv/media/a.wav\u0002False\u00020"_s});
    }

    // A sound path typed in the field meets the rule of a browsed one: ADD and UPDATE
    // refuse a path other clients cannot fetch, with the "ERROR" box in either language.
    void typedSoundPathMustBeShared()
    {
        StoreFixture f;
        RecordingFrontend frontend;
        addLevel(u"Wave"_s, 0, 2, u"//srv/media/a.wav"_s);
        QStringList sent;
        frmLevelEdit window({ClientDB(), TempDB(),
                             [&](const QString &payload) {
                                 sent << payload;
                                 return true;
                             },
                             [](QString &path) { return path.startsWith(u"//"_s); }});
        window.setAttribute(Qt::WA_DeleteOnClose, false);
        window.show();
        QVERIFY(window.ui.txtSoundFile->isEnabled());
        window.ui.txtLevelName->selectAll();
        QTest::keyClicks(window.ui.txtLevelName, u"Local"_s);
        window.ui.txtSoundFile->selectAll();
        QTest::keyClicks(window.ui.txtSoundFile, u"/home/me/local.wav"_s);
        QVERIFY(window.ui.cmdAdd->isEnabled());
        window.ui.cmdAdd->click();
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions.last().text, u"ERROR"_s);
        QCOMPARE(frontend.questions.last().caption, u"Other clients cannot fetch this sound file"_s);
        QCOMPARE(window.ui.txtSoundFile->text(), u"/home/me/local.wav"_s);
        QVERIFY(!window.ui.OKButton->isEnabled());

        // The same for UPDATE of the chosen level, in French.
        gOptions().Language = 1;
        window.ui.txtLevelName->selectAll();
        QTest::keyClicks(window.ui.txtLevelName, u"Wave"_s);
        QVERIFY(window.ui.cmdUpdate->isEnabled());
        window.ui.cmdUpdate->click();
        QCOMPARE(frontend.questions.last().text, u"ERREUR"_s);
        QCOMPARE(frontend.questions.last().caption,
                 u"Les autres clients ne peuvent pas récupérer ce fichier son"_s);
        gOptions().Language = 0;
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT COUNT(*) FROM Levels WHERE ToSend = 1"_s), 0);

        window.ui.txtLevelName->selectAll();
        QTest::keyClicks(window.ui.txtLevelName, u"Shared"_s);
        window.ui.txtSoundFile->selectAll();
        QTest::keyClicks(window.ui.txtSoundFile, u"//srv/media/b.wav"_s);
        window.ui.cmdAdd->click();
        QCOMPARE(frontend.questions.size(), 2);
        QVERIFY(window.ui.OKButton->isEnabled());
        window.ui.OKButton->click();
        QCOMPARE(sent,
                 QStringList{u"LVL\u0001Shared\u0002Wave level\u0002255\u000216777215\u00020\u0002True\u0002"
                             "2\u0002//srv/media/b.wav\u0002False\u00020"_s});
        QVERIFY(!window.isVisible());
    }

    void soundAndPaths()
    {
        StoreFixture f;
        RecordingFrontend frontend;
        const QString wave = f.profile.dataHome() + u"/gone.wav"_s;
        QFile file(wave);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        addLevel(u"Wave"_s, 0, 2, wave);
        QPointer<frmLevelEdit> window =
            new frmLevelEdit({ClientDB(), TempDB(), [](const QString &) { return true; },
                              [](QString &path) { return path.startsWith(u"//"_s); }});
        QCOMPARE(window->windowTitle(), u"Message Level Editor"_s);
        QVERIFY(window->ui.txtSoundFile->isEnabled() && window->ui.cmdPLay->isEnabled());

        // A file that vanished since it was chosen: a box, nothing played.
        QVERIFY(QFile::remove(wave));
        window->ui.cmdPLay->click();
        QCOMPARE(frontend.questions.size(), 1);
        QCOMPARE(frontend.questions.first().text, u"File does not exists"_s);
        QCOMPARE(frontend.questions.first().caption, u"Wrong path"_s);
        QVERIFY(!window->ui.cmdStop->isEnabled());

        // Only a path every user can read is taken.
        LevelEditForm &form = window->logic();
        QVERIFY(!form.BrowseAccept(u"/home/me/local.wav"_s));
        QCOMPARE(frontend.questions.last().text, u"ERROR"_s);
        QCOMPARE(form.txtSoundFile, wave);
        QVERIFY(form.BrowseAccept(u"//srv/media/b.wav"_s));
        QCOMPARE(form.txtSoundFileToolTip, u"//srv/media/b.wav"_s);

        // What each sound code lets the author use: file, looping, play.
        const int table[][4] = {{1, 0, 0, 1}, {3, 0, 1, 1}, {11, 0, 1, 1}, {2, 1, 1, 1}, {0, 0, 0, 1}};
        for (const auto &row : table) {
            form.cboSoundType = row[0];
            form.cboSoundType_Click();
            QCOMPARE(form.txtSoundFileEnabled, bool(row[1]));
            QCOMPARE(form.chkLoopingEnabled, bool(row[2]));
            QCOMPARE(form.cmdPLayEnabled, bool(row[3]));
        }
        // Escape closes the editor as it does any dialog.
        QTest::keyClick(window->ui.txtLevelName, Qt::Key_Escape);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(window.isNull());

        // A buffer that can't be written is logged, and the editor stays usable.
        QVERIFY(TempDB().exec(u"DROP TABLE Levels"_s));
        LevelEditForm broken({ClientDB(), TempDB(), {}, {}});
        broken.Load();
        QVERIFY(broken.Levels().isEmpty());
        QVERIFY(logText().contains(u"frmLevelEdit:ResetLevels - "_s));
    }
};

QTEST_MAIN(TestLevelEdit)
#include "tst_leveledit.moc"
