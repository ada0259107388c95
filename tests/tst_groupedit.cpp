// The group editor on screen: what each mode shows, what its buttons fetch,
// and what OK sends and keeps.
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
        QVERIFY(
            ClientDB().exec(u"INSERT INTO MyGroups (GroupName, Description) VALUES ('team', 'The team')"_s));
        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroupUsers (GroupName, UserID) VALUES ('team', 'ann'), "
                                "('team', 'bob')"_s));
        QVERIFY(TempDB().exec(
            u"INSERT INTO KorvaneGroups (GroupName, Description) VALUES ('ops', 'Ops desk')"_s));
        QVERIFY(TempDB().exec(u"INSERT INTO KorvaneGroupUsers (GroupName, UserID) VALUES ('ops', 'ann'), "
                              "('ops', 'PC7')"_s));
    }

    // The editor as the console's Edit opens it.
    std::unique_ptr<frmGroupEdit> open(GroupEditForm::Action action, const QString &name = {},
                                       const QString &description = {}, const QString &members = {})
    {
        auto editor = std::make_unique<frmGroupEdit>(groupContext, action);
        if (action == GroupEditForm::EditPersonal || action == GroupEditForm::EditShared)
            editor->logic().EditGroup(name, description, members);
        editor->showFields();
        editor->show();
        return editor;
    }
    auto openOps() { return open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s); }
    // The name, description and members as the form shows them.
    static QStringList fields(const frmGroupEdit &editor)
    {
        return {editor.ui.txtGroupName->text(), editor.ui.txtDescription->text(),
                editor.ui.txtTarget->text()};
    }
    static bool pressOK(frmGroupEdit &editor)
    {
        QTest::mouseClick(editor.ui.OKButton, Qt::LeftButton);
        return editor.result() == QDialog::Accepted && !editor.isVisible();
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
    // The two groups as the fixture stores them, and as they stand.
    const QStringList teamAsGiven{u"The team"_s, u"ann"_s, u"bob"_s},
        opsAsGiven{u"Ops desk"_s, u"ann"_s, u"PC7"_s};
    static QStringList team() { return stored(ClientDB(), u"MyGroups"_s, u"team"_s); }
    static QStringList ops() { return stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s); }
    // What has left, and the shared group as it stands.
    std::pair<QStringList, QStringList> sentAndOps() const { return {sent, ops()}; }
};

} // namespace

class TestGroupEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // An edit keeps what it shows, and members past any old limit are kept whole.
    void editKeepsWhatItShows()
    {
        Fixture f;
        // A personal group: one member added, the rest and the description kept.
        auto personal = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann,bob"_s);
        QCOMPARE(Fixture::fields(*personal), (QStringList{u"team"_s, u"The team"_s, u"ann,bob"_s}));
        QVERIFY(!personal->ui.txtGroupName->isEnabled());
        QTest::keyClicks(personal->ui.txtTarget, u", cy "_s);
        QVERIFY(Fixture::pressOK(*personal) && f.sent.isEmpty());
        QCOMPARE(Fixture::team(), f.teamAsGiven + QStringList{u"cy"_s});

        // A selection longer than any old limit shows whole, and a personal group keeps it all.
        QStringList many;
        for (int n = 0; n < 5000; ++n)
            many << u"member"_s + QString::number(n);
        const QString members = many.join(u',');
        f.session.UsersLoaded = true;
        personal = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann"_s);
        personal->logic().getSelection = [&](int, const QString &) { return members; };
        QTest::mouseClick(personal->ui.cmdUsers, Qt::LeftButton);
        QCOMPARE(personal->ui.txtTarget->text(), members);
        QVERIFY(Fixture::pressOK(*personal));
        QCOMPARE(Fixture::team(), QStringList{u"The team"_s} + many);

        // A shared group goes whole up to one frame, with the link's blank and user ID behind it.
        const QString fits(32763 - 5 - f.kvg(u"ops"_s, u"Ops desk"_s, QString()).size(), u'x');
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, fits + u'y');
        QVERIFY(!Fixture::pressOK(*shared) && shared->isVisible());
        QCOMPARE(f.captions(), QStringList{u"Too long to send"_s});
        QVERIFY(f.frontend.questions.value(0).text.contains(u" 1 "_s));
        QCOMPARE(f.sentAndOps(), std::pair(QStringList(), f.opsAsGiven));
        shared->ui.txtTarget->backspace();
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sentAndOps(), std::pair(QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, fits)},
                                           QStringList{u"Ops desk"_s, fits}));
    }

    // What cannot travel is said, and the form and the store stay: a link that is down (once back,
    // the whole group goes to the server and the mirror, members without blanks), codes pasted in.
    void whatCannotTravelIsSaid()
    {
        Fixture f;
        f.linkUp = false;
        auto shared = f.openOps();
        QCOMPARE(shared->ui.txtDescription->text(), u"Ops desk"_s);
        QTest::keyClicks(shared->ui.txtTarget, u", dee"_s);
        QVERIFY(!Fixture::pressOK(*shared));
        QCOMPARE(f.captions(), QStringList{u"Not sent"_s});
        QCOMPARE(Fixture::ops(), f.opsAsGiven);
        auto created = f.open(GroupEditForm::NewShared);
        created->ui.txtGroupName->setText(u"night"_s);
        created->ui.txtTarget->setText(u"ann"_s);
        QVERIFY(!Fixture::pressOK(*created));
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT count(*) FROM KorvaneGroups"_s), 1);
        f.linkUp = true;
        QVERIFY(Fixture::pressOK(*shared));
        const QStringList sentOps = f.opsAsGiven + QStringList{u"dee"_s};
        QCOMPARE(f.sentAndOps(),
                 std::pair(QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, u"ann,PC7,dee"_s)}, sentOps));

        // Pasted codes would add fields: they are taken out and shown, and nothing leaves yet.
        f.sent.clear();
        f.frontend.questions.clear();
        shared = f.openOps();
        shared->ui.txtTarget->insert(u",bob\u0004TGT\u0003everyone"_s);
        shared->ui.txtDescription->insert(u"\u0002x\u0001"_s);
        QVERIFY(!Fixture::pressOK(*shared));
        QCOMPARE(f.captions(), QStringList{u"Invalid characters"_s});
        QCOMPARE(Fixture::fields(*shared),
                 (QStringList{u"ops"_s, u"Ops deskx"_s, u"ann,PC7,bobTGTeveryone"_s}));
        QCOMPARE(f.sentAndOps(), std::pair(QStringList(), sentOps));

        // What is left goes as shown (tst_authoring asks about what the code page lacks).
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops deskx"_s, u"ann,PC7,bobTGTeveryone"_s)});

        // A personal group's name is checked as well.
        auto personal = f.open(GroupEditForm::NewPersonal);
        personal->ui.txtGroupName->insert(u"crew\u0001"_s);
        personal->ui.txtTarget->setText(u"ann"_s);
        QVERIFY(!Fixture::pressOK(*personal));
        QCOMPARE(Fixture::fields(*personal), (QStringList{u"crew"_s, QString(), u"ann"_s}));
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM MyGroups"_s), 1);
    }

    void modesShowTheirButtons()
    {
        Fixture f;
        // Each mode's title, and whether the group buttons show: a shared group's
        // members are users and machines only, whatever the policies.
        const QList<QPair<QString, bool>> modes = {{u"New Personal Group"_s, true},
                                                   {u"Edit a Personal Group"_s, true},
                                                   {u"New Korvane Group"_s, false},
                                                   {u"Edit an Korvane Group"_s, false}};
        for (const bool policies : {false, true}) {
            f.policies.UseDomainGroups = f.policies.UseKorvanGroups = policies;
            for (int action = GroupEditForm::NewPersonal; action <= GroupEditForm::EditShared; ++action) {
                const auto &[title, groupButtons] = modes[action];
                const frmGroupEdit editor(f.groupContext, GroupEditForm::Action(action));
                QCOMPARE(editor.windowTitle(), title);
                for (const QToolButton *button :
                     {editor.ui.cmdMyGroups, editor.ui.cmdKorvan, editor.ui.cmdDomain})
                    QVERIFY2(button->isVisibleTo(&editor) == groupButtons, qPrintable(title));
                QVERIFY(editor.ui.cmdUsers->isVisibleTo(&editor) &&
                        editor.ui.cmdMachines->isVisibleTo(&editor));
                // Nothing typed yet: a name to give, and OK off.
                QVERIFY(editor.ui.txtGroupName->isEnabled() && !editor.ui.OKButton->isEnabled());
            }
        }
        // However large it was left, it shows whole on its screen.
        frmGroupEdit editor(f.groupContext, GroupEditForm::NewPersonal);
        editor.resize(5000, 5000);
        editor.show();
        QVERIFY(editor.screen()->availableGeometry().contains(editor.frameGeometry()));

        // The texts of an edit; French keeps what is typed (tst_screenfit finds no English word left).
        auto shared = f.openOps();
        QStringList texts{shared->ui.lblGroupName->text(), shared->ui.lblDescription->text()};
        for (const QAbstractButton *button : std::initializer_list<const QAbstractButton *>{
                 shared->ui.cmdMyGroups, shared->ui.cmdKorvan, shared->ui.cmdDomain, shared->ui.cmdUsers,
                 shared->ui.cmdMachines, shared->ui.OKButton, shared->ui.CancelButton})
            texts << button->text();
        QCOMPARE(texts.replaceInStrings(u"&"_s, QString()),
                 (QStringList{u"Group Name:"_s, u"Description:"_s, u"Personal groups"_s, u"Korvane Groups"_s,
                              u"Domain Group"_s, u"Users"_s, u"Machines"_s, u"OK"_s, u"Cancel"_s}));
        QCOMPARE(shared->ui.cmdUsers->toolTip(), u"Choose the UserID(s) from a list."_s);
        QVERIFY(!QKeySequence::mnemonic(shared->ui.CancelButton->text()).isEmpty());
        switchLanguage(shared.get(), 1);
        QCOMPARE(shared->ui.txtDescription->text(), u"Ops desk"_s);
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
        // OK waits for both a name and members, as they are typed.
        auto personal = f.open(GroupEditForm::NewPersonal);
        QTest::keyClicks(personal->ui.txtGroupName, u"\"crew\""_s);
        QVERIFY(!personal->ui.OKButton->isEnabled());
        QTest::keyClicks(personal->ui.txtTarget, u"ann,\"bob\""_s);
        QVERIFY(personal->ui.OKButton->isEnabled());
        personal->ui.txtGroupName->clear();
        QVERIFY(!personal->ui.OKButton->isEnabled());
        QTest::keyClicks(personal->ui.txtGroupName, u"\"crew\""_s);
        QTest::keyClicks(personal->ui.txtDescription, u"say \"hi\""_s);
        // Double quotes are dropped from all three.
        QVERIFY(Fixture::pressOK(*personal));
        QCOMPARE(Fixture::stored(ClientDB(), u"MyGroups"_s, u"crew"_s),
                 (QStringList{u"say hi"_s, u"ann"_s, u"bob"_s}));
        QCOMPARE(personal->logic().RefreshList(), 12);

        // A copy of a shared group asks for a new name, and keeps what it copied.
        f.process.CurrentList = 11;
        auto copy = std::make_unique<frmGroupEdit>(f.groupContext, GroupEditForm::NewShared);
        copy->logic().DuplicateGroup(u"Ops desk"_s, u"ann,PC7"_s);
        copy->showFields();
        copy->show();
        QCOMPARE(Fixture::fields(*copy), (QStringList{QString(), u"Ops desk"_s, u"ann,PC7"_s}));
        QVERIFY(copy->ui.txtGroupName->isEnabled() && !copy->ui.OKButton->isEnabled());
        QTest::keyClicks(copy->ui.txtGroupName, u"\"night\""_s);
        QVERIFY(copy->ui.OKButton->isEnabled() && Fixture::pressOK(*copy));
        QCOMPARE(f.sent, QStringList{f.kvg(u"night"_s, u"Ops desk"_s, u"ann,PC7"_s)});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"night"_s), f.opsAsGiven);
        // The console's list of shared groups shows it anew.
        QCOMPARE(copy->logic().RefreshList(), 11);
        f.sent.clear();

        // A new group may not take a name in use: the form stays, nothing leaves or changes.
        for (const auto &[action, name, title] :
             {std::tuple{GroupEditForm::NewPersonal, u"team"_s, u"New Personal group"_s},
              std::tuple{GroupEditForm::NewShared, u"ops"_s, u"New Korvane Group"_s}}) {
            auto editor = f.open(action);
            QTest::keyClicks(editor->ui.txtGroupName, name);
            QTest::keyClicks(editor->ui.txtTarget, u"cy"_s);
            QVERIFY(!Fixture::pressOK(*editor) && editor->isVisible());
            QCOMPARE(f.captions(), QStringList{title});
            QCOMPARE(f.frontend.questions.value(0).text,
                     u"This group already exists.  Please choose another name."_s);
            f.frontend.questions.clear();
        }
        QCOMPARE(Fixture::team(), f.teamAsGiven);
        QCOMPARE(f.sentAndOps(), std::pair(QStringList(), f.opsAsGiven));

        // Cancel keeps the group as it was.
        auto edit = f.openOps();
        QTest::keyClicks(edit->ui.txtTarget, u",dee"_s);
        QTest::mouseClick(edit->ui.CancelButton, Qt::LeftButton);
        QCOMPARE(std::pair(edit->isVisible(), edit->result()), std::pair(false, int(QDialog::Rejected)));
        QCOMPARE(f.sentAndOps(), std::pair(QStringList(), f.opsAsGiven));
    }

    void membersButtons()
    {
        Fixture f;
        auto editor = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann"_s);
        QCOMPARE(frmGroupEdit::current(), editor.get());
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
        // The answers reach the editor on screen: each selection shows, what was typed meanwhile stays.
        QTest::keyClicks(editor->ui.txtDescription, u" and"_s);
        for (const int kind : {SelectKorvanGroups, SelectUsers, SelectMachines})
            frmGroupEdit::current()->DisplayList(kind);
        QCOMPARE(Fixture::fields(*editor),
                 (QStringList{u"team"_s, u"The team now and"_s, u"ann,k0,k1,k2,k3,k4"_s}));
        // Once here, a directory is not asked for again.
        f.session.UsersLoaded = true;
        QTest::mouseClick(editor->ui.cmdUsers, Qt::LeftButton);
        QCOMPARE(std::pair(asked.last(), f.sent.size()), std::pair(int(SelectUsers), qsizetype(3)));
        QVERIFY(Fixture::pressOK(*editor));
        QCOMPARE(Fixture::team(),
                 (QStringList{u"The team now and"_s, u"ann"_s, u"k0"_s, u"k1"_s, u"k2"_s, u"k3"_s, u"k4"_s}));

        // Members all blanks and commas: the group is gone; nothing is logged for what went well.
        auto emptied = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann,bob"_s);
        emptied->ui.txtTarget->setText(u" , "_s);
        QVERIFY(Fixture::pressOK(*emptied));
        QCOMPARE(Fixture::team(), QStringList());
        auto shared = f.openOps();
        QVERIFY(Fixture::pressOK(*shared));
        QVERIFY(!logText().contains(u"frmGroupEdit:"_s));

        // A member the store refuses: the group stays as it was, and the log says why.
        const QString refuse = u"CREATE TRIGGER refuse BEFORE INSERT ON %1 WHEN NEW.UserID = 'cy' "
                               "BEGIN SELECT RAISE(ABORT, 'cy refused'); END"_s;
        QVERIFY(ClientDB().exec(refuse.arg(u"MyGroupUsers"_s)));
        QVERIFY(TempDB().exec(refuse.arg(u"KorvaneGroupUsers"_s)));
        auto personal = f.open(GroupEditForm::NewPersonal);
        personal->ui.txtGroupName->setText(u"crew"_s);
        personal->ui.txtTarget->setText(u"ann,cy"_s);
        // A personal group lives only here: the author is told, and the form keeps it.
        QVERIFY(!Fixture::pressOK(*personal) && personal->isVisible());
        QCOMPARE(f.captions(), QStringList{u"Group not saved"_s});
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM MyGroups"_s), 0);
        QVERIFY(logText().contains(u"frmGroupEdit:SaveMyGroup - "_s) &&
                !logText().contains(u"frmGroupEdit:SaveKorvaneGroup"_s));
        shared = f.openOps();
        shared->ui.txtTarget->setText(u"ann,cy"_s);
        Fixture::pressOK(*shared);
        QCOMPARE(Fixture::ops(), f.opsAsGiven);
        QVERIFY(logText().contains(u"frmGroupEdit:SaveKorvaneGroup - "_s) &&
                logText().contains(u"cy refused"_s));
    }
};

QTEST_MAIN(TestGroupEdit)
#include "tst_groupedit.moc"
