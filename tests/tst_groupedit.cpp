// The group editor on screen: what Edit shows, and what OK sends and keeps.
#include "authoring/frmGroupEdit.h"
#include "store/DateText.h"
#include "support/AuthoringFixture.h"

#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// A personal group in the client store and a shared one in the temporary
// store, as the console lists them; every KVG that leaves is kept.
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
    std::unique_ptr<frmGroupEdit> open(GroupEditForm::Action action, const QString &name,
                                       const QString &description, const QString &members)
    {
        auto editor = std::make_unique<frmGroupEdit>(groupContext, action);
        if (action == GroupEditForm::EditPersonal || action == GroupEditForm::EditShared)
            editor->logic().EditGroup(name, description, members);
        editor->showFields();
        editor->show();
        return editor;
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
        const QString users = groups == u"MyGroups"_s ? u"MyGroupUsers"_s : u"KorvaneGroupUsers"_s;
        return column(store,
                      u"SELECT Description FROM "_s + groups + u" WHERE GroupName = '"_s + name + u"'"_s) +
               column(store, u"SELECT UserID FROM "_s + users + u" WHERE GroupName = '"_s + name +
                                 u"' ORDER BY rowid"_s);
    }
    QStringList captions() const
    {
        QStringList shown;
        for (const RecordingFrontend::Question &question : frontend.questions)
            shown << question.caption;
        return shown;
    }
};

} // namespace

class TestGroupEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void editKeepsWhatItShows()
    {
        Fixture f;
        // A personal group: one member added, the rest and the description kept.
        auto personal = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann,bob"_s);
        QCOMPARE((QStringList{personal->ui.txtGroupName->text(), personal->ui.txtDescription->text(),
                              personal->ui.txtTarget->text()}),
                 (QStringList{u"team"_s, u"The team"_s, u"ann,bob"_s}));
        QVERIFY(!personal->ui.txtGroupName->isEnabled());
        QTest::keyClicks(personal->ui.txtTarget, u", cy "_s);
        QVERIFY(Fixture::pressOK(*personal));
        QCOMPARE(Fixture::stored(ClientDB(), u"MyGroups"_s, u"team"_s),
                 (QStringList{u"The team"_s, u"ann"_s, u"bob"_s, u"cy"_s}));
        QVERIFY(f.sent.isEmpty());

        // A shared group: the server and the mirror get the whole group, members without blanks.
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s);
        QCOMPARE(shared->ui.txtDescription->text(), u"Ops desk"_s);
        QTest::keyClicks(shared->ui.txtTarget, u", dee"_s);
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, u"ann,PC7,dee"_s)});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s),
                 (QStringList{u"Ops desk"_s, u"ann"_s, u"PC7"_s, u"dee"_s}));
    }

    void longMembersKeptWhole()
    {
        Fixture f;
        // A selection longer than any old limit shows whole, and a personal group keeps it all.
        QStringList many;
        for (int n = 0; n < 5000; ++n)
            many << u"member"_s + QString::number(n);
        const QString members = many.join(u',');
        QVERIFY(members.size() > 40000);
        f.session.UsersLoaded = true;
        auto personal = f.open(GroupEditForm::EditPersonal, u"team"_s, u"The team"_s, u"ann"_s);
        personal->logic().getSelection = [&](int, const QString &) { return members; };
        QTest::mouseClick(personal->ui.cmdUsers, Qt::LeftButton);
        QCOMPARE(personal->ui.txtTarget->text(), members);
        QVERIFY(Fixture::pressOK(*personal));
        QCOMPARE(Fixture::stored(ClientDB(), u"MyGroups"_s, u"team"_s), QStringList{u"The team"_s} + many);

        // A shared group goes whole up to one frame, with the link's blank and user ID behind it.
        const qsizetype room = 32763 - 5 - f.kvg(u"ops"_s, u"Ops desk"_s, QString()).size();
        const QString fits(room, u'x');
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, fits + u'y');
        QVERIFY(!Fixture::pressOK(*shared));
        QVERIFY(shared->isVisible());
        QCOMPARE(f.captions(), QStringList{u"Too long to send"_s});
        QVERIFY(f.frontend.questions.value(0).text.contains(u" 1 "_s));
        QVERIFY(f.sent.isEmpty());
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s),
                 (QStringList{u"Ops desk"_s, u"ann"_s, u"PC7"_s}));
        shared->ui.txtTarget->backspace();
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, fits)});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s), (QStringList{u"Ops desk"_s, fits}));
    }

    void pastedCodesAndCodePage()
    {
        Fixture f;
        // Pasted codes would add fields: they are taken out and shown, and nothing leaves yet.
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s);
        shared->ui.txtTarget->insert(u",bob\u0004TGT\u0003everyone"_s);
        shared->ui.txtDescription->insert(u"\u0002x\u0001"_s);
        QVERIFY(!Fixture::pressOK(*shared));
        QCOMPARE(f.captions(), QStringList{u"Invalid characters"_s});
        QCOMPARE(shared->ui.txtTarget->text(), u"ann,PC7,bobTGTeveryone"_s);
        QCOMPARE(shared->ui.txtDescription->text(), u"Ops deskx"_s);
        QVERIFY(f.sent.isEmpty());
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s),
                 (QStringList{u"Ops desk"_s, u"ann"_s, u"PC7"_s}));

        // What the code page lacks is asked about: No keeps the form, Yes sends it as typed.
        shared->ui.txtDescription->setText(u"Ops \u2603 desk"_s);
        f.frontend.answerBox(ResultNo);
        QVERIFY(!Fixture::pressOK(*shared));
        QCOMPARE(f.captions().value(1), u"Characters not supported"_s);
        QVERIFY(f.sent.isEmpty());
        f.frontend.answerBox(ResultYes);
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops \u2603 desk"_s, u"ann,PC7,bobTGTeveryone"_s)});

        // A personal group's name is checked as well.
        auto personal = f.open(GroupEditForm::NewPersonal, QString(), QString(), QString());
        personal->ui.txtGroupName->insert(u"crew\u0001"_s);
        personal->ui.txtTarget->setText(u"ann"_s);
        QVERIFY(!Fixture::pressOK(*personal));
        QCOMPARE(personal->ui.txtGroupName->text(), u"crew"_s);
        QCOMPARE(StoreFixture::count(ClientDB(), u"SELECT count(*) FROM MyGroups"_s), 1);
    }

    void linkDownKeepsTheForm()
    {
        Fixture f;
        f.linkUp = false;
        auto shared = f.open(GroupEditForm::EditShared, u"ops"_s, u"Ops desk"_s, u"ann,PC7"_s);
        QTest::keyClicks(shared->ui.txtTarget, u",dee"_s);
        QVERIFY(!Fixture::pressOK(*shared));
        QCOMPARE(f.captions(), QStringList{u"Not sent"_s});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s),
                 (QStringList{u"Ops desk"_s, u"ann"_s, u"PC7"_s}));
        auto created = f.open(GroupEditForm::NewShared, QString(), QString(), QString());
        created->ui.txtGroupName->setText(u"night"_s);
        created->ui.txtTarget->setText(u"ann"_s);
        QVERIFY(!Fixture::pressOK(*created));
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT count(*) FROM KorvaneGroups"_s), 1);

        // Once the link is back the same press goes through.
        f.linkUp = true;
        QVERIFY(Fixture::pressOK(*shared));
        QCOMPARE(f.sent, QStringList{f.kvg(u"ops"_s, u"Ops desk"_s, u"ann,PC7,dee"_s)});
        QCOMPARE(Fixture::stored(TempDB(), u"KorvaneGroups"_s, u"ops"_s),
                 (QStringList{u"Ops desk"_s, u"ann"_s, u"PC7"_s, u"dee"_s}));
    }
};

QTEST_MAIN(TestGroupEdit)
#include "tst_groupedit.moc"
