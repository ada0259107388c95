// The group editor on screen: what each mode shows, what its buttons fetch, and what OK sends and keeps.
#include "authoring/MessageForm.h"
#include "authoring/frmGroupEdit.h"
#include "store/DateText.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"
#include "support/Untranslated.h"

#include <QScreen>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// A personal group in the client store, a shared one in the temporary store; every KVG that leaves is kept.
struct Fixture : AuthoringFixture
{
    GroupEditForm::Context groupContext{ClientDB(), TempDB(), clock,    user, policies,
                                        session,    process,  frontend, send};

    Fixture()
    {
        for (const auto &[store, rows] :
             {std::pair{&ClientDB(), u"MyGroups (GroupName, Description) VALUES ('team', 'The team')"_s},
              {&ClientDB(), u"MyGroupUsers (GroupName, UserID) VALUES ('team', 'ann'), ('team', 'bob')"_s},
              {&TempDB(), u"KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops desk')"_s},
              {&TempDB(), u"KorvaneGroupUsers (GroupName, UserID) VALUES ('ops', 'ann'), ('ops', 'PC7')"_s}})
            QVERIFY(store->exec(u"INSERT INTO "_s + rows));
    }

    // The editor as the console opens it: an edit, or a new group as a copy starts, under the name given.
    std::unique_ptr<frmGroupEdit> open(GroupEditForm::Action action, const QString &name = {},
                                       const QString &description = {}, const QString &members = {})
    {
        auto editor = std::make_unique<frmGroupEdit>(groupContext, action);
        editor->logic().OpenOn(name, description, members);
        editor->logic().fields.txtGroupName = name;
        editor->showFields();
        editor->show();
        return editor;
    }
    auto openOps() { return open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s); }
    // Presses OK: whether the editor closed or stays, the boxes it put up, the frames sent so far.
    QString press(frmGroupEdit &editor)
    {
        const qsizetype shown = frontend.questions.size();
        QTest::mouseClick(editor.ui.OKButton, Qt::LeftButton);
        const QString outcome = editor.isVisible()                     ? u"StayOpen"_s
                                : editor.result() == QDialog::Accepted ? u"Close"_s
                                                                       : u"Hidden"_s;
        return u"%1 [%2] sent %3"_s.arg(outcome, captions().mid(shown).join(u'|')).arg(sent.size());
    }
    QString kvg(const QString &name, const QString &description, const QString &members) const
    {
        return u"KVG\u0001"_s + name + u'\u0002' + description + u'\u0002' +
               DateText::DateToText(clock.currentDateTime()) + u"\u0002jdoe\u0002"_s + members;
    }
    // The description and then the members of a group, as the store holds them.
    static QStringList stored(Database &store, const QString &groups, const QString &name)
    {
        const QString where = u" WHERE GroupName = '%1'"_s.arg(name);
        return column(store, u"SELECT Description FROM "_s + groups + where) +
               column(store, u"SELECT UserID FROM "_s + groups.chopped(1) + u"Users"_s + where +
                                 u" ORDER BY rowid"_s);
    }
    const QStringList teamAsGiven{u"The team"_s, u"ann"_s, u"bob"_s},
        opsAsGiven{u"Ops desk"_s, u"ann"_s, u"PC7"_s};
    static QStringList team() { return stored(ClientDB(), u"MyGroups"_s, u"team"_s); }
    static QStringList ops() { return stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s); }
    std::pair<QStringList, QStringList> sentAndOps() const { return {sent, ops()}; }
};

} // namespace

class TestGroupEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // An edit keeps what it shows, and members past a line edit's default limit are kept whole.
    void editKeepsWhatItShows()
    {
        Fixture f;
        QStringList many;
        for (int n = 0; n < 5000; ++n)
            many << u"member"_s + QString::number(n);
        f.session.UsersLoaded = true;
        auto personal = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann,bob"_s);
        personal->logic().getSelection = [&many](int, const QString &target) -> QString {
            return target + u',' + many.join(u',');
        };
        QVERIFY(!personal->ui.txtGroupName->isEnabled());
        QTest::keyClicks(personal->ui.txtTarget, u", cy "_s);
        QTest::mouseClick(personal->ui.cmdUsers, Qt::LeftButton);
        QCOMPARE(f.press(*personal), u"Close [] sent 0"_s);
        QCOMPARE(Fixture::team(), f.teamAsGiven + QStringList{u"cy"_s} + many);

        // A shared group goes whole up to one frame, with the link's blank and user ID behind it.
        const QString fits(32763 - 5 - f.kvg(u"ops"_s, u"Ops desk"_s, QString()).size(), u'x');
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, fits + u'y');
        QCOMPARE(f.press(*shared), u"StayOpen [Too long to send] sent 0"_s);
        QCOMPARE(Fixture::ops(), f.opsAsGiven);
        shared->ui.txtTarget->backspace();
        QCOMPARE(f.press(*shared), u"Close [] sent 1"_s);
        QCOMPARE(f.sentAndOps(), std::pair(QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, fits)},
                                           QStringList{u"Ops desk"_s, fits}));
    }

    // A link that is down, or codes pasted in, are said and the form and store stay; then the group goes.
    void whatCannotTravelIsSaid()
    {
        Fixture f;
        f.linkUp = false;
        auto shared = f.openOps();
        QTest::keyClicks(shared->ui.txtTarget, u", dee"_s);
        QCOMPARE(f.press(*shared), u"StayOpen [Not sent] sent 0"_s);
        QCOMPARE(Fixture::ops(), f.opsAsGiven);
        QCOMPARE(f.press(*f.open(GroupEditForm::NewShared, u"night"_s, QString(), u"ann"_s)),
                 u"StayOpen [Not sent] sent 0"_s);
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT count(*) FROM KorvaneGroups"_s), 1);
        f.linkUp = true;
        QCOMPARE(f.press(*shared), u"Close [] sent 1"_s);
        const QStringList sentOps = f.opsAsGiven + QStringList{u"dee"_s};
        QCOMPARE(f.sentAndOps(),
                 std::pair(QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, u"ann,PC7,dee"_s)}, sentOps));

        // Pasted codes would add fields: they are taken out, and what is left goes as shown.
        f.sent.clear();
        shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk\u0002x\u0001"_s,
                        u"ann,PC7,bob\u0004TGT\u0003everyone"_s);
        QCOMPARE(f.press(*shared), u"StayOpen [Invalid characters] sent 0"_s);
        QCOMPARE(Fixture::ops(), sentOps);
        QCOMPARE(f.press(*shared), u"Close [] sent 1"_s);
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops deskx"_s, u"ann,PC7,bobTGTeveryone"_s)});

        auto personal = f.open(GroupEditForm::NewPersonal, u"crew\u0001"_s, QString(), u"ann"_s);
        QCOMPARE(f.press(*personal), u"StayOpen [Invalid characters] sent 1"_s);
        QCOMPARE((QStringList{personal->ui.txtGroupName->text(), personal->ui.txtDescription->text(),
                              personal->ui.txtTarget->text()}),
                 (QStringList{u"crew"_s, QString(), u"ann"_s}));
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM MyGroups"_s), 1);
    }

    void modesShowTheirButtons()
    {
        Fixture f;
        // A shared group's members are users and machines only, whatever the policies.
        const QStringList titles{u"New Personal Group"_s, u"Edit a Personal Group"_s, u"New Korvane Group"_s,
                                 u"Edit an Korvane Group"_s};
        for (const bool policies : {false, true}) {
            f.policies.UseDomainGroups = f.policies.UseKorvanGroups = policies;
            for (int action = GroupEditForm::NewPersonal; action <= GroupEditForm::EditShared; ++action) {
                const frmGroupEdit editor(f.groupContext, GroupEditForm::Action(action));
                QCOMPARE(editor.windowTitle(), titles[action]);
                for (const QToolButton *button :
                     {editor.ui.cmdMyGroups, editor.ui.cmdKorvan, editor.ui.cmdDomain})
                    QVERIFY2(button->isVisibleTo(&editor) == (action <= GroupEditForm::EditPersonal),
                             qPrintable(titles[action]));
                // Nothing typed yet: a name to give, and OK off.
                QVERIFY(editor.ui.cmdUsers->isVisibleTo(&editor) &&
                        editor.ui.cmdMachines->isVisibleTo(&editor) && editor.ui.txtGroupName->isEnabled() &&
                        !editor.ui.OKButton->isEnabled());
            }
        }
        // However large it was left, it shows whole on its screen.
        frmGroupEdit editor(f.groupContext, GroupEditForm::NewPersonal);
        editor.resize(5000, 5000);
        editor.show();
        QVERIFY(editor.screen()->availableGeometry().contains(editor.frameGeometry()));

        // French keeps what is typed (tst_screenfit finds no English word left).
        auto shared = f.openOps();
        const Ui::frmGroupEdit &ui = shared->ui;
        QCOMPARE((QStringList{ui.lblGroupName->text(), ui.lblDescription->text(), ui.cmdMyGroups->text(),
                              ui.cmdKorvan->text(), ui.cmdDomain->text(), ui.cmdUsers->text(),
                              ui.cmdMachines->text(), ui.OKButton->text(), ui.CancelButton->text()})
                     .replaceInStrings(u"&"_s, QString()),
                 (QStringList{u"Group Name:"_s, u"Description:"_s, u"Personal groups"_s, u"Korvane Groups"_s,
                              u"Domain Group"_s, u"Users"_s, u"Machines"_s, u"OK"_s, u"Cancel"_s}));
        QCOMPARE(ui.cmdUsers->toolTip(), u"Choose the UserID(s) from a list."_s);
        QVERIFY(!QKeySequence::mnemonic(ui.CancelButton->text()).isEmpty());
        switchLanguage(shared.get(), 1);
        QCOMPARE(ui.txtDescription->text(), u"Ops desk"_s);
        // The text the caller puts behind the title shows with the fields.
        shared->logic().Tag = u" (ops)"_s;
        shared->showFields();
        QCOMPARE(shared->windowTitle(), u"Modifier un groupe Korvane (ops)"_s);
        switchLanguage(shared.get(), 0);
    }

    void okFollowsNameAndMembers()
    {
        Fixture f;
        f.process.CurrentList = 12;
        // OK waits for both a name and members, as they are typed; double quotes are dropped from all three.
        auto personal = f.open(GroupEditForm::NewPersonal);
        QTest::keyClicks(personal->ui.txtGroupName, u"\"crew\""_s);
        QVERIFY(!personal->ui.OKButton->isEnabled());
        QTest::keyClicks(personal->ui.txtTarget, u"ann,\"bob\""_s);
        personal->ui.txtGroupName->clear();
        QVERIFY(!personal->ui.OKButton->isEnabled());
        QTest::keyClicks(personal->ui.txtGroupName, u"\"crew\""_s);
        QTest::keyClicks(personal->ui.txtDescription, u"say \"hi\""_s);
        QCOMPARE(f.press(*personal), u"Close [] sent 0"_s);
        QCOMPARE(Fixture::stored(ClientDB(), u"MyGroups"_s, u"crew"_s),
                 (QStringList{u"say hi"_s, u"ann"_s, u"bob"_s}));
        QCOMPARE(personal->logic().RefreshList(), 12);

        // A copy of a shared group asks for a new name, and keeps what it copied.
        f.process.CurrentList = 11;
        GroupEditForm fromDirectory(f.groupContext);
        fromDirectory.setAction(GroupEditForm::NewShared);
        fromDirectory.OpenOn(u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s);
        QCOMPARE((QStringList{fromDirectory.fields.txtGroupName, fromDirectory.fields.txtDescription}),
                 (QStringList{QString(), u"Ops desk"_s}));
        auto copy = f.open(GroupEditForm::NewShared, QString(), u"Ops desk"_s, u"ann,PC7"_s);
        QVERIFY(copy->ui.txtGroupName->isEnabled() && !copy->ui.OKButton->isEnabled());
        QTest::keyClicks(copy->ui.txtGroupName, u"\"night\""_s);
        QCOMPARE(f.press(*copy), u"Close [] sent 1"_s);
        QCOMPARE(f.sent, QStringList{f.kvg(u"night"_s, u"Ops desk"_s, u"ann,PC7"_s)});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"night"_s), f.opsAsGiven);
        QCOMPARE(copy->logic().RefreshList(), 11);
        f.sent.clear();

        // A new group may not take a name in use: the form stays, nothing leaves or changes.
        for (const auto &[action, name, title] :
             {std::tuple{GroupEditForm::NewPersonal, u"team"_s, u"New Personal group"_s},
              std::tuple{GroupEditForm::NewShared, u"ops"_s, u"New Korvane Group"_s}}) {
            QCOMPARE(f.press(*f.open(action, name, QString(), u"cy"_s)),
                     u"StayOpen [%1] sent 0"_s.arg(title));
            QCOMPARE(f.frontend.questions.last().text,
                     u"This group already exists.  Please choose another name."_s);
        }
        QCOMPARE(Fixture::team(), f.teamAsGiven);

        auto edit = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7,dee"_s);
        QTest::mouseClick(edit->ui.CancelButton, Qt::LeftButton);
        QCOMPARE(std::pair(edit->isVisible(), edit->result()), std::pair(false, int(QDialog::Rejected)));
        QCOMPARE(f.sentAndOps(), std::pair(QStringList(), f.opsAsGiven));
    }

    void membersButtons()
    {
        Fixture f;
        auto editor = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann"_s);
        QList<int> asked;
        editor->logic().getSelection = [&asked](int kind, const QString &target) -> QString {
            asked << kind;
            return target + u",k"_s + QString::number(kind);
        };
        QTest::keyClicks(editor->ui.txtDescription, u" now"_s);
        // Directories at hand show at once; the server's are asked for with G first.
        for (QToolButton *button : {editor->ui.cmdMyGroups, editor->ui.cmdDomain, editor->ui.cmdKorvan,
                                    editor->ui.cmdUsers, editor->ui.cmdMachines})
            QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(asked, (QList<int>{SelectPersonalGroups, SelectDomainGroups}));
        QCOMPARE(f.sent, (QStringList{u"RPI\u0001G"_s, u"RUS\u0001G"_s, u"RMA\u0001G"_s}));
        // The answers reach the editor on screen, and what was typed meanwhile stays.
        QTest::keyClicks(editor->ui.txtDescription, u" and"_s);
        for (const int kind : {SelectKorvanGroups, SelectUsers, SelectMachines})
            frmGroupEdit::current()->DisplayList(kind);
        // Once here, a directory is not asked for again.
        f.session.UsersLoaded = true;
        QTest::mouseClick(editor->ui.cmdUsers, Qt::LeftButton);
        QCOMPARE(asked.last(), int(SelectUsers));
        QCOMPARE(f.press(*editor), u"Close [] sent 3"_s);
        QCOMPARE(Fixture::team(),
                 (QStringList{u"The team now and"_s, u"ann"_s, u"k0"_s, u"k1"_s, u"k2"_s, u"k3"_s, u"k4"_s}));

        // Members all blanks and commas: the group is gone; nothing is logged for what went well.
        QCOMPARE(f.press(*f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u" , "_s)),
                 u"Close [] sent 3"_s);
        QCOMPARE(Fixture::team(), QStringList());
        QCOMPARE(f.press(*f.openOps()), u"Close [] sent 4"_s);
        QVERIFY(!logText().contains(u"frmGroupEdit:"_s));

        // A member the store refuses: the group stays as it was and the log says why; a personal group's
        // author is told, and the form keeps it, as it lives only here.
        const QString refuse = u"CREATE TRIGGER refuse BEFORE INSERT ON %1 WHEN NEW.UserID = 'cy' "
                               "BEGIN SELECT RAISE(ABORT, 'cy refused'); END"_s;
        QVERIFY(ClientDB().exec(refuse.arg(u"MyGroupUsers"_s)));
        QVERIFY(TempDB().exec(refuse.arg(u"KorvaneGroupUsers"_s)));
        QCOMPARE(f.press(*f.open(GroupEditForm::NewPersonal, u"crew"_s, QString(), u"ann,cy"_s)),
                 u"StayOpen [Group not saved] sent 4"_s);
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM MyGroups"_s), 0);
        QVERIFY(logText().contains(u"frmGroupEdit:SaveMyGroup - "_s) &&
                !logText().contains(u"frmGroupEdit:SaveKorvaneGroup"_s));
        f.press(*f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,cy"_s));
        QCOMPARE(Fixture::ops(), f.opsAsGiven);
        QVERIFY(logText().contains(u"frmGroupEdit:SaveKorvaneGroup - "_s) &&
                logText().contains(u"cy refused"_s));
    }
};

QTEST_MAIN(TestGroupEdit)
#include "tst_groupedit.moc"
