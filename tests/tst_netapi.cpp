// The name service as the directory, on accounts and groups of its own: run as root, or skipped.
#include "core/UserInfos.h"
#include "delivery/Targeting.h"
#include "netsvc/NetApi.h"
#include "support/StoreFixture.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Ops is Primary's primary group, so /etc/group does not list him in it.
const QString Ops = u"kvnt-ops"_s, Other = u"kvnt-other"_s, Primary = u"kvnt-primary"_s;
const QString Member = u"kvnt-member"_s, NoLogin = u"kvnt-nologin"_s;
// Written straight into /etc/group: a group listed twice, as two sources may both hold it, and one
// whose members overflow the lookups' first buffer.
const QByteArray Twice = "kvnt-twice", Big = "kvnt-big";
const int BigMembers = 2000;

// Rewrites /etc/group without the lines written above, then with the ones given.
bool rewriteGroupFile(const QByteArray &added)
{
    QFile file(u"/etc/group"_s);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray kept;
    for (const QByteArray &line : file.readAll().split('\n'))
        if (!line.isEmpty() && !line.startsWith(QByteArray(Twice + ':')) &&
            !line.startsWith(QByteArray(Big + ':')))
            kept += line + '\n';
    file.close();
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(kept + added) == kept.size() + added.size();
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
        for (const QString &command : {u"groupadd %1"_s.arg(Ops), u"groupadd %1"_s.arg(Other),
                                       u"useradd -M -N -s /bin/sh -g %1 -G %2 %3"_s.arg(Ops, Other, Primary),
                                       u"useradd -M -N -s /bin/sh -G %1 %2"_s.arg(Ops, Member),
                                       u"useradd -M -N -s /usr/sbin/nologin %1"_s.arg(NoLogin)}) {
            const QStringList words = command.split(u' ');
            QVERIFY2(QProcess::execute(words[0], words.mid(1)) == 0, qPrintable(command));
        }
        QByteArrayList members;
        for (int n = 0; n < BigMembers; ++n)
            members << "kvnt-m" + QByteArray::number(n);
        QVERIFY(rewriteGroupFile(Twice + ":x:61990:\n" + Twice + ":x:61990:\n" + Big +
                                 ":x:61991:" + members.join(',') + '\n'));
    }

    void cleanupTestCase()
    {
        if (geteuid() != 0)
            return;
        for (const QString &user : {Primary, Member, NoLogin})
            QProcess::execute(u"userdel"_s, {user});
        for (const QString &group : {Ops, Other})
            QProcess::execute(u"groupdel"_s, {group});
        rewriteGroupFile({});
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
        const QList<DirectoryEntry> groups = EnumGroups();
        QVERIFY(listed(groups, Ops));
        QCOMPARE(std::count_if(groups.cbegin(), groups.cend(),
                               [](const DirectoryEntry &e) { return e.Name == QLatin1String(Twice); }),
                 1);
        QCOMPARE(EnumUsersFromGroup(QLatin1String(Big)).size(), BigMembers);
    }
};

QTEST_GUILESS_MAIN(TestNetApi)
#include "tst_netapi.moc"
