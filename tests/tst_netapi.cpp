// The name service as the directory. Run as root, the test makes its own
// accounts and groups and removes them at the end; otherwise it is skipped.
#include "core/UserInfos.h"
#include "delivery/Targeting.h"
#include "netsvc/NetApi.h"
#include "support/StoreFixture.h"

#include <QProcess>
#include <QTest>

#include <algorithm>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Ops = u"kvnt-ops"_s;
const QString Other = u"kvnt-other"_s;
// Ops is his primary group, so /etc/group does not list him in it.
const QString Primary = u"kvnt-primary"_s;
const QString Member = u"kvnt-member"_s;
const QString NoLogin = u"kvnt-nologin"_s;

bool run(const QString &program, const QStringList &arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

bool listed(const QList<DirectoryEntry> &entries, const QString &name)
{
    return std::any_of(entries.cbegin(), entries.cend(),
                       [&name](const DirectoryEntry &e) { return e.Name == name; });
}

} // namespace

class TestNetApi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (geteuid() != 0)
            QSKIP("making accounts and groups needs root");
        cleanupTestCase();
        QVERIFY(run(u"groupadd"_s, {Ops}));
        QVERIFY(run(u"groupadd"_s, {Other}));
        const QStringList account = {u"-M"_s, u"-N"_s, u"-s"_s};
        QVERIFY(
            run(u"useradd"_s, account + QStringList{u"/bin/sh"_s, u"-g"_s, Ops, u"-G"_s, Other, Primary}));
        QVERIFY(run(u"useradd"_s, account + QStringList{u"/bin/sh"_s, u"-G"_s, Ops, Member}));
        QVERIFY(run(u"useradd"_s, account + QStringList{u"/usr/sbin/nologin"_s, NoLogin}));
    }

    void cleanupTestCase()
    {
        if (geteuid() != 0)
            return;
        for (const QString &user : {Primary, Member, NoLogin})
            QProcess::execute(u"userdel"_s, {user});
        for (const QString &group : {Ops, Other})
            QProcess::execute(u"groupdel"_s, {group});
    }

    void groupsAndDirectory()
    {
        // The user's own groups, his primary one included, reach the target.
        StoreFixture store;
        ReplaceUserInfos(UserInfos(Primary));
        QVERIFY(EnumGroupsFromUser(Primary));
        QVERIFY(Targeting::MemberOfTarget(u"someone,"_s + Ops, QString()));
        QVERIFY(Targeting::MemberOfTarget(Other, QString()));
        QVERIFY(!Targeting::MemberOfTarget(u"root"_s, QString()));

        QStringList members = EnumUsersFromGroup(Ops);
        members.sort();
        QCOMPARE(members, (QStringList{Member, Primary}));

        const QList<DirectoryEntry> users = EnumUsers();
        QVERIFY(listed(users, Primary));
        for (const QString &account : {u"root"_s, u"daemon"_s, u"nobody"_s, NoLogin})
            QVERIFY2(!listed(users, account), qPrintable(account));
        QVERIFY(listed(EnumGroups(), Ops));
    }
};

QTEST_GUILESS_MAIN(TestNetApi)
#include "tst_netapi.moc"
