// The name service as the directory. Run as root, the test makes its own
// accounts and groups and removes them at the end; otherwise it is skipped.
#include "core/Globals.h"
#include "core/UserInfos.h"
#include "delivery/Targeting.h"
#include "netsvc/NetApi.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "support/TempProfile.h"

#include <QProcess>
#include <QTest>

#include <unistd.h>

namespace {

const QString Ops = QStringLiteral("kvnt-ops");
const QString Other = QStringLiteral("kvnt-other");
// Ops is his primary group, so /etc/group does not list him in it.
const QString Primary = QStringLiteral("kvnt-primary");
const QString Member = QStringLiteral("kvnt-member");
const QString NoLogin = QStringLiteral("kvnt-nologin");

bool run(const QString &program, const QStringList &arguments)
{
    return QProcess::execute(program, arguments) == 0;
}

QStringList names(const QList<DirectoryEntry> &entries)
{
    QStringList list;
    for (const DirectoryEntry &entry : entries)
        list << entry.Name;
    return list;
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
        QVERIFY(run(QStringLiteral("groupadd"), {Ops}));
        QVERIFY(run(QStringLiteral("groupadd"), {Other}));
        const QStringList account = {QStringLiteral("-M"), QStringLiteral("-N"), QStringLiteral("-s")};
        QVERIFY(run(QStringLiteral("useradd"),
                    account + QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-g"), Ops,
                                          QStringLiteral("-G"), Other, Primary}));
        QVERIFY(run(QStringLiteral("useradd"),
                    account + QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-G"), Ops, Member}));
        QVERIFY(run(QStringLiteral("useradd"),
                    account + QStringList{QStringLiteral("/usr/sbin/nologin"), NoLogin}));
    }

    void cleanupTestCase()
    {
        if (geteuid() != 0)
            return;
        for (const QString &user : {Primary, Member, NoLogin})
            QProcess::execute(QStringLiteral("userdel"), {user});
        for (const QString &group : {Ops, Other})
            QProcess::execute(QStringLiteral("groupdel"), {group});
    }

    void ownGroupsReachTheTarget()
    {
        TempProfile profile;
        gProcess().AppDataPath = profile.dataHome();
        InitializeDB(profile.dataHome());
        ReplaceUserInfos(UserInfos(Primary));
        QVERIFY(EnumGroupsFromUser(Primary));
        QVERIFY(Targeting::MemberOfTarget(QStringLiteral("someone,") + Ops, QString()));
        QVERIFY(Targeting::MemberOfTarget(Other, QString()));
        QVERIFY(!Targeting::MemberOfTarget(QStringLiteral("root"), QString()));
        ClientDB().close();
        TempDB().close();
    }

    void directoryLists()
    {
        QStringList members = EnumUsersFromGroup(Ops);
        members.sort();
        QCOMPARE(members, (QStringList{Member, Primary}));

        const QStringList users = names(EnumUsers());
        QVERIFY(users.contains(Primary));
        for (const QString &account :
             {QStringLiteral("root"), QStringLiteral("daemon"), QStringLiteral("nobody"), NoLogin})
            QVERIFY2(!users.contains(account), qPrintable(account));
        QVERIFY(names(EnumGroups()).contains(Ops));
    }
};

QTEST_GUILESS_MAIN(TestNetApi)
#include "tst_netapi.moc"
