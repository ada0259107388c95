// The real client binary, started as a newcomer would start it.
#include "core/UserInfos.h"
#include "netsvc/NetApi.h"
#include "support/ClientProcess.h"
#include "support/TempProfile.h"

#include <QTcpServer>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

class TestClientProcess : public QObject
{
    Q_OBJECT

private:
    static void stop(ClientProcess &client, int signalNumber, const QString &reason)
    {
        client.signal(signalNumber);
        QCOMPARE(client.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.process.exitCode(), 0);
        QVERIFY2(client.log().endsWith(u" -- Ending application: "_s + reason + u'\n'),
                 qPrintable(client.log()));
    }

private Q_SLOTS:
    void startsOnceEndsOnSignalsAndSurvivesBadFiles()
    {
        TempProfile profile;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        ClientProcess::prepare(profile, server.serverPort());
        ClientProcess client;
        client.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QVERIFY(server.waitForNewConnection(10000));
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u" -- Ready!"_s), 10000);
        QVERIFY(client.log().contains(u" -- Started Korvane Client on "_s));
        QVERIFY(client.log().contains(
            u" -- Connecting to server 127.0.0.1 on port %1..."_s.arg(server.serverPort())));

        // A second start for the same user ends at once and silently.
        QProcess second;
        second.setProcessEnvironment(client.process.processEnvironment());
        second.start(QStringLiteral(KORVANE_CLIENT_BINARY), {});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(client.process.state(), QProcess::Running);
        QCOMPARE(client.log().count(u"Started Korvane Client on "_s), 1);
        stop(client, SIGTERM, u"Windows session is ending."_s);

        // The next run begins an empty log; without a stored name it takes and keeps the directory's.
        const QString fullName = GetUserFullName(UserInfos::LoginName());
        if (!fullName.isEmpty())
            profile.writeFile(u"config/Korvane/Client.conf"_s, "[Options]\n");
        ClientProcess again;
        again.start(profile, QStringLiteral(KORVANE_CLIENT_BINARY));
        QTRY_VERIFY_WITH_TIMEOUT(
            again.log().contains(u" -- Ready!"_s) && !again.log().contains(u"Ending application"_s), 10000);
        if (!fullName.isEmpty())
            QVERIFY(QString::fromUtf8(profile.readFile(u"config/Korvane/Client.conf"_s))
                        .contains(u"UserName="_s + fullName));
        stop(again, SIGINT, u"User has pressed the CLOSE command from the form."_s);

        // Bad settings, a file for the data folder, a damaged database: each logged, none stops the start.
        TempProfile damagedProfile;
        damagedProfile.writeFile(
            u"config/Korvane/KorvaneClient.ini"_s,
            QByteArray("\xff\xfe\x00\n[Options]\nHost=\x01\x02\nClientPort=abc\nSpeed=\n[", 43));
        damagedProfile.writeFile(u"config/Korvane/Client.conf"_s,
                                 "[Options]\nUserName=Jane Doe\n\x00\x00garbage=\n");
        damagedProfile.writeFile(u"data/Korvane"_s, "a file where the data folder should be");
        const QByteArray damaged = QByteArray("SQLite format 3\0", 16) + QByteArray(8000, '\x5a');
        damagedProfile.writeFile(u"runtime/Korvane/Client.db"_s, damaged);
        ClientProcess survivor;
        survivor.start(damagedProfile, QStringLiteral(KORVANE_CLIENT_BINARY));
        const auto log = [&damagedProfile] {
            return QString::fromUtf8(damagedProfile.readFile(u"runtime/Korvane/client.log"_s));
        };
        QTRY_VERIFY_WITH_TIMEOUT(log().contains(u" -- Ready!"_s), 10000);
        for (const QString &line :
             {u" cannot be written; this run keeps its files in "_s,
              u"\"ClientPort\" is not a number; 0 is used"_s,
              u"frmKorvanClient:ReconnectToServer - Overflow"_s, u"DBFunctions:InitializeDB - "_s})
            QVERIFY2(log().contains(line), qPrintable(line));
        survivor.signal(SIGTERM);
        QCOMPARE(survivor.process.exitCode(), 0);
        QCOMPARE(damagedProfile.readFile(u"runtime/Korvane/Client.db"_s), damaged);
    }
};

QTEST_GUILESS_MAIN(TestClientProcess)
#include "tst_clientprocess.moc"
