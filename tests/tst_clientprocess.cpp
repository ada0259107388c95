// The real client binary, started as a newcomer would start it.
#include "core/UserInfos.h"
#include "netsvc/NetApi.h"
#include "support/FakeServer.h"
#include "support/TempProfile.h"

#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

class TestClientProcess : public QObject
{
    Q_OBJECT

private:
    struct Client
    {
        QProcess process;
        QString logFile;

        QString log() const
        {
            QFile file(logFile);
            return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        }
    };

    static void start(Client &client, const TempProfile &profile, const QString &dataFolder = QString())
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"XDG_CONFIG_HOME"_s, profile.configHome());
        env.insert(u"XDG_DATA_HOME"_s, profile.dataHome());
        env.insert(u"XDG_RUNTIME_DIR"_s, profile.runtimeDir());
        env.insert(u"XDG_CONFIG_DIRS"_s, profile.systemConfigDir());
        env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        client.process.setProcessEnvironment(env);
        client.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        client.logFile =
            (dataFolder.isEmpty() ? profile.dataHome() + u"/Korvane"_s : dataFolder) + u"/client.log"_s;
        client.process.start(QStringLiteral(KORVANE_CLIENT_BINARY), {});
        QVERIFY(client.process.waitForStarted(10000));
    }

    static void stop(Client &client, int signalNumber, const QString &reason)
    {
        ::kill(static_cast<pid_t>(client.process.processId()), signalNumber);
        QVERIFY(client.process.waitForFinished(10000));
        QCOMPARE(client.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.process.exitCode(), 0);
        QVERIFY2(client.log().endsWith(u" -- Ending application: "_s + reason + u'\n'),
                 qPrintable(client.log()));
    }

    static void presetUser(const TempProfile &profile)
    {
        profile.writeFile(u"config/Korvane/Client.conf"_s, "[Options]\nUserName=Jane Doe\n");
    }

private Q_SLOTS:
    void newcomerStartTriesTheServerAndEndsOnSigterm()
    {
        TempProfile profile;
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        presetUser(profile);
        profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s,
                          "[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(server.serverPort()) +
                              "\n");

        Client client;
        start(client, profile);
        QVERIFY(server.waitForNewConnection(10000));
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u" -- Ready!"_s), 10000);
        const QString log = client.log();
        QVERIFY(log.contains(u" -- Started Korvane Client on "_s));
        QVERIFY(log.contains(u" -- Connecting to server 127.0.0.1 on port "_s +
                             QString::number(server.serverPort()) + u"..."_s));

        // A second start for the same user ends at once and silently.
        QProcess second;
        second.setProcessEnvironment(client.process.processEnvironment());
        second.start(QStringLiteral(KORVANE_CLIENT_BINARY), {});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(client.process.state(), QProcess::Running);
        QCOMPARE(client.log().count(u"Started Korvane Client on "_s), 1);

        stop(client, SIGTERM, u"Windows session is ending."_s);

        // The next run begins an empty log.
        Client again;
        start(again, profile);
        QTRY_VERIFY_WITH_TIMEOUT(
            again.log().contains(u" -- Ready!"_s) && !again.log().contains(u"Ending application"_s), 10000);
        stop(again, SIGINT, u"User has pressed the CLOSE command from the form."_s);
    }

    void connectExchangeSurvivesBadFramesAndAMidFrameClose()
    {
        TempProfile profile;
        FakeServer server;
        presetUser(profile);
        profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s,
                          "[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(server.port()) +
                              "\n");
        Client client;
        start(client, profile);
        QTRY_VERIFY_WITH_TIMEOUT(server.hasClient(), 10000);
        const QString con = FakeServer::command(u"CON"_s, u"agent"_s);
        server.send(con);
        QTRY_COMPARE_WITH_TIMEOUT(server.receivedCodes(), (QStringList{u"USR"_s, u"ALL"_s}), 10000);

        // A zero length and a high-bit length between good frames: each is logged,
        // and the frames around them are answered.
        server.sendBytes(FakeServer::frame(con) + QByteArray("kVn\x00\x00", 5) + FakeServer::frame(con) +
                         QByteArray("kVn\xff\xff", 5) + FakeServer::frame(con));
        QTRY_COMPARE_WITH_TIMEOUT(server.received.size(), 5, 10000);
        QVERIFY(client.log().contains(u"frmKorvanClient:DataArrival - Subscript out of range"_s));
        QVERIFY(client.log().contains(u"frmKorvanClient:DataArrival - Overflow"_s));

        // Garbage loses what came with it; the next good frame is answered.
        server.sendBytes(QByteArray("\x00\x01garbage\xff") + FakeServer::frame(con));
        server.sendDelayed(con, 300);
        QTRY_COMPARE_WITH_TIMEOUT(server.received.size(), 6, 10000);

        // The server closes in the middle of a frame. Once the client is brought
        // back by a UDP order, the new connection's first bytes complete that frame.
        const QByteArray frame = FakeServer::frame(con);
        server.sendPartThenClose(con, 7);
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u"Connection closed by remote."_s), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u"Binding UDP winsock to port "_s), 15000);
        server.sendUdp("CON", server.port());
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 2, 10000);
        QTRY_VERIFY(server.hasClient());
        server.sendBytes(frame.mid(7));
        server.send(con);
        QTRY_COMPARE_WITH_TIMEOUT(server.received.size(), 8, 10000);
        QCOMPARE(server.receivedCodes().mid(6), (QStringList{u"USR"_s, u"USR"_s}));
        QCOMPARE(client.process.state(), QProcess::Running);
        stop(client, SIGTERM, u"Windows session is ending."_s);
    }

    void badSettingsAndDataFolderNeverStopTheStart()
    {
        TempProfile profile;
        presetUser(profile);
        profile.writeFile(
            u"config/Korvane/KorvaneClient.ini"_s,
            QByteArray("\xff\xfe\x00\n[Options]\nHost=\x01\x02\nClientPort=abc\nSpeed=\n[", 43));
        profile.writeFile(u"config/Korvane/Client.conf"_s,
                          "[Options]\nUserName=Jane Doe\n\x00\x00garbage=\n");
        profile.writeFile(u"data/Korvane"_s, "a file where the data folder should be");

        Client client;
        start(client, profile, profile.runtimeDir() + u"/Korvane"_s);
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u" -- Ready!"_s), 10000);
        QVERIFY(client.log().contains(u" cannot be written; this run keeps its files in "_s));
        QVERIFY(client.log().contains(u"\"ClientPort\" is not a number; 0 is used"_s));
        QVERIFY(client.log().contains(u"frmKorvanClient:ReconnectToServer - Overflow"_s));
        stop(client, SIGTERM, u"Windows session is ending."_s);
    }

    void damagedDatabaseIsLoggedAndKept()
    {
        TempProfile profile;
        presetUser(profile);
        profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s, "[Options]\nHost=127.0.0.1\nClientPort=9\n");
        const QByteArray damaged = QByteArray("SQLite format 3\0", 16) + QByteArray(8000, '\x5a');
        profile.writeFile(u"data/Korvane/Client.db"_s, damaged);
        Client client;
        start(client, profile);
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u" -- Ready!"_s), 10000);
        QVERIFY(client.log().contains(u"DBFunctions:InitializeDB - "_s));
        stop(client, SIGTERM, u"Windows session is ending."_s);
        QCOMPARE(profile.readFile(u"data/Korvane/Client.db"_s), damaged);
    }

    void nameComesFromTheDirectoryWhenNoneIsStored()
    {
        if (GetUserFullName(UserInfos::LoginName()).isEmpty())
            QSKIP("this login has no full name in the directory");
        TempProfile profile;
        profile.writeFile(u"config/Korvane/KorvaneClient.ini"_s, "[Options]\nHost=127.0.0.1\nClientPort=9\n");
        Client client;
        start(client, profile);
        QTRY_VERIFY_WITH_TIMEOUT(client.log().contains(u" -- Ready!"_s), 10000);
        const QByteArray expected = "UserName=" + GetUserFullName(UserInfos::LoginName()).toUtf8();
        QVERIFY(profile.readFile(u"config/Korvane/Client.conf"_s).contains(expected));
        stop(client, SIGTERM, u"Windows session is ending."_s);
    }
};

QTEST_GUILESS_MAIN(TestClientProcess)
#include "tst_clientprocess.moc"
