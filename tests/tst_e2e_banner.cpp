// End to end on a real X server: a message from a server on loopback scrolls
// on the reader's banner in its level's colours and with its sound; the
// reader's acknowledgement sends a receipt, which the author's client stores,
// confirms and announces in a desktop notification.
#include "e2e/DesktopSession.h"
#include "store/DVMessage.h"
#include "store/MessageCodes.h"
#include "support/FakeServer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <csignal>

namespace {

using DesktopSession::run;

struct Client
{
    QTemporaryDir home;
    QProcess process;

    void start(const QString &name, quint16 port)
    {
        QDir(home.path()).mkpath(QStringLiteral("config/Korvane"));
        QDir(home.path()).mkpath(QStringLiteral("runtime"));
        QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QFile conf(home.filePath(QStringLiteral("config/Korvane/Client.conf")));
        conf.open(QIODevice::WriteOnly);
        conf.write("[Options]\nUserName=" + name.toUtf8() + "\n");
        // Fast scrolling so that the text passes in a moment; the banner at the top left.
        QFile ini(home.filePath(QStringLiteral("config/Korvane/KorvaneClient.ini")));
        ini.open(QIODevice::WriteOnly);
        ini.write("[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                  "\nSpeed=100\nRefresh Rate=4\nHorizontal position=0\nVertical position=0\n");
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        process.setProcessEnvironment(env);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KORVANE_CLIENT_BINARY), {});
        process.waitForStarted(10000);
    }
    ~Client()
    {
        if (process.state() == QProcess::Running) {
            ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
            process.waitForFinished(10000);
        }
    }
};

QString alertLevel()
{
    // Red background (blue-green-red 255), white text, black shadow, a built-in
    // sound played over and over.
    return QStringList{
        QStringLiteral("Alert"), QStringLiteral("Alarm"), QStringLiteral("255"), QStringLiteral("16777215"),
        QStringLiteral("0"),     QStringLiteral("True"),  QStringLiteral("4"),   QString(),
        QStringLiteral("True"),  QStringLiteral("0")}
        .join(QChar(3));
}

QString message()
{
    DVMessage m;
    m.MsgID = QStringLiteral("E2E00000000001");
    m.Subject = QStringLiteral("Drill");
    m.Message = QStringLiteral("Fire drill at noon");
    m.MsgLevel = QStringLiteral("Alert");
    m.UserID = QStringLiteral("someone-else");
    m.UserName = QStringLiteral("Author Person");
    m.MachineID = QStringLiteral("author-pc");
    m.ReceiptRequired = true;
    m.Notify = true;
    m.DeleteAtExpiration = true;
    m.Status = StatusActive;
    m.CreationDate = QDateTime(QDate(2026, 1, 1), QTime(9, 0), Qt::UTC);
    m.ExpirationDate = QDateTime(QDate(2099, 1, 1), QTime(0, 0), Qt::UTC);
    return m.ToString();
}

int firstFrom(const FakeServer &server, int connection, const QString &code)
{
    for (int i = 0; i < server.received.size(); ++i)
        if (server.receivedFrom[i] == connection && FakeServer::codeOf(server.received[i]) == code)
            return i;
    return -1;
}

} // namespace

class TestE2EBanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messageToBannerAndReceiptToAuthor()
    {
        if (qEnvironmentVariableIsEmpty("DISPLAY"))
            QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
        QTemporaryDir work;
        const QString notifications = work.filePath(QStringLiteral("notifications.log"));
        QProcess notifyd;
        notifyd.start(QStringLiteral(KORVANE_FAKE_NOTIFYD), {notifications});
        QVERIFY(notifyd.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(run(QStringLiteral("dbus-send"),
                                     {QStringLiteral("--session"), QStringLiteral("--print-reply"),
                                      QStringLiteral("--dest=org.freedesktop.DBus"), QStringLiteral("/"),
                                      QStringLiteral("org.freedesktop.DBus.NameHasOwner"),
                                      QStringLiteral("string:org.freedesktop.Notifications")})
                                     .contains(QStringLiteral("true")),
                                 10000);

        FakeServer server;
        Client reader;
        reader.start(QStringLiteral("Reader Person"), server.port());
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 15000);
        Client author;
        author.start(QStringLiteral("Author Person"), server.port());
        QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 2, 15000);
        constexpr int Reader = 0, Author = 1;
        for (int c : {Reader, Author}) {
            server.sendTo(c, FakeServer::command(QStringLiteral("CON"), QStringLiteral("agent-1")));
            server.sendTo(c, FakeServer::command(QStringLiteral("LVL"), alertLevel()));
        }
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Author, QStringLiteral("ALL")) >= 0, 10000);

        // Everything the sound server plays, from before the message comes.
        QProcess recorder;
        recorder.start(QStringLiteral("parecord"),
                       {QStringLiteral("--raw"), QStringLiteral("--format=s16le"),
                        QStringLiteral("--rate=22050"), QStringLiteral("--channels=1"),
                        QStringLiteral("--device=nullsink.monitor")});
        QVERIFY(recorder.waitForStarted(5000));

        // The author holds the message in its outbox; the reader gets it on the banner.
        server.sendTo(Author,
                      FakeServer::command(
                          QStringLiteral("MSG"),
                          message().replace(QStringLiteral("UID") + QChar(3) + QStringLiteral("someone-else"),
                                            QStringLiteral("UID") + QChar(3) +
                                                qEnvironmentVariable("USER", QStringLiteral("root")))));
        server.sendTo(Reader, FakeServer::command(QStringLiteral("MSG"), message()));
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Reader, QStringLiteral("CMS")) >= 0, 10000);

        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = DesktopSession::bannerWindow()).isEmpty(), 10000);
        const QRect banner = DesktopSession::geometryOf(window);
        QVERIFY(!banner.isEmpty());
        // The title the window manager shows is the caption alone, no program name behind it.
        QCOMPARE(DesktopSession::titleOf(window),
                 QStringLiteral("_NET_WM_NAME(UTF8_STRING) = \"Korvane banner\""));
        // The strip in the level's colours.
        QCOMPARE(DesktopSession::screenshot(QStringLiteral("banner.png"))
                     .pixelColor(banner.topLeft() + QPoint(3, 3)),
                 QColor(255, 0, 0));

        // The level's looping sound goes on round after round while its message is alone on the strip
        // (a message queued again starts its sound afresh, so the longest unbroken stretch counts).
        QByteArray sound;
        const auto roundsHeard = [&recorder, &sound] {
            // Samples in one round of the level's buzzer: the file less its header.
            const qsizetype Round =
                (QFileInfo(QStringLiteral(KORVANE_MEDIA_DIR "/Buzzer.wav")).size() - 44) / 2;
            constexpr int Loud = 2000;
            sound += recorder.readAllStandardOutput();
            const qsizetype count = sound.size() / 2;
            const auto sample = [&sound](qsizetype i) {
                return qAbs(int(qFromLittleEndian<qint16>(sound.constData() + 2 * i)));
            };
            int longest = 0;
            for (qsizetype at = 0; at < count;) {
                while (at < count && sample(at) < Loud)
                    ++at;
                int rounds = 0;
                for (; at + Round <= count; at += Round, ++rounds) {
                    int peak = 0;
                    for (qsizetype i = at; i < at + Round; ++i)
                        peak = qMax(peak, sample(i));
                    if (peak < Loud)
                        break;
                }
                longest = qMax(longest, rounds);
                if (at + Round > count)
                    break;
            }
            return longest;
        };
        QTRY_VERIFY_WITH_TIMEOUT(roundsHeard() >= 4, 20000);
        recorder.kill();
        recorder.waitForFinished();

        // The acknowledge button stands right of the strip and wakes once the text has passed.
        QTRY_VERIFY_WITH_TIMEOUT(
            (DesktopSession::clickAcknowledge(banner), firstFrom(server, Reader, QStringLiteral("RCP")) >= 0),
            20000);
        const QStringList fields = server.received[firstFrom(server, Reader, QStringLiteral("RCP"))]
                                       .section(QChar(0), 0, 0)
                                       .section(QChar(1), 1)
                                       .split(QChar(2));
        QCOMPARE(fields[0], QStringLiteral("E2E00000000001"));
        QCOMPARE(fields[2], QStringLiteral("Reader Person"));
        // Acknowledged: the banner goes.
        QTRY_VERIFY_WITH_TIMEOUT(DesktopSession::bannerWindow().isEmpty(), 10000);

        // The server hands the receipt to the author's client.
        QStringList receipt = QStringList{QStringLiteral("RC000000000001")} + fields.mid(0, 7);
        receipt[6].clear(); // the server's own field
        server.sendTo(Author, FakeServer::command(QStringLiteral("RCP"), receipt.join(QChar(2))));
        QTRY_VERIFY_WITH_TIMEOUT(firstFrom(server, Author, QStringLiteral("CRC")) >= 0, 10000);
        const auto shown = [&notifications] {
            QFile log(notifications);
            return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
        };
        QTRY_VERIFY_WITH_TIMEOUT(shown().contains("Message read by:|Reader Person"), 10000);
        notifyd.kill();
        notifyd.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestE2EBanner)
#include "tst_e2e_banner.moc"
