#include "core/UserInfos.h"

#include <QTest>

class TestUserInfos : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textFormBeforeAndAfterConnect()
    {
        UserInfos user(QStringLiteral("  JDoe "));
        QCOMPARE(user.UserID(), QStringLiteral("jdoe"));
        user.UserName = QStringLiteral("Jane Doe");
        QCOMPARE(user.ToString(), QStringLiteral("UID=jdoe|MID=anon|USN=Jane Doe|MIP=|AGN=|LNG=0"));
        user.setMachineID(QStringLiteral("WS-Accounts-07"));
        user.MachineIP = QStringLiteral("10.0.5.7");
        user.Agent = QStringLiteral("agent1");
        user.Language = 1;
        QCOMPARE(user.MachineID(), QStringLiteral("ws-accounts-07"));
        QCOMPARE(user.ToString(),
                 QStringLiteral("UID=jdoe|MID=ws-accounts-07|USN=Jane Doe|MIP=10.0.5.7|AGN=agent1|LNG=1"));
        QVERIFY(!UserInfos::LoginName().isEmpty());
        QCOMPARE(UserInfos::LoginName(), UserInfos::LoginName().toLower());
    }

    void roles_data()
    {
        QTest::addColumn<int>("authority");
        QTest::addColumn<QString>("roles"); // user, postmaster, packager, administrator
        QTest::newRow("user") << 0 << QStringLiteral("1000");
        QTest::newRow("postmaster") << 1 << QStringLiteral("0100");
        QTest::newRow("packager") << 2 << QStringLiteral("0110");
        QTest::newRow("administrator") << 3 << QStringLiteral("0111");
        QTest::newRow("above administrator") << 4 << QStringLiteral("0110");
        QTest::newRow("negative") << -1 << QStringLiteral("0000");
    }

    void roles()
    {
        QFETCH(int, authority);
        QFETCH(QString, roles);
        UserInfos user(QStringLiteral("u"));
        user.setMyAuthority(static_cast<qint16>(authority));
        const QString got = QString::number(user.IsUser()) + QString::number(user.IsPostmaster()) +
                            QString::number(user.IsPackager()) + QString::number(user.IsAdministrator());
        QCOMPARE(got, roles);
    }
};

QTEST_GUILESS_MAIN(TestUserInfos)
#include "tst_userinfos.moc"
