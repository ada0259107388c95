#pragma once

// Unix users on one desktop, each with the real client, and the project's
// development server between them. Included by the tests that define where
// the programs stand (KORVANE_DEVSERVER, KORVANE_CLIENT_BINARY and the rest).
#include "e2e/DesktopSession.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace UserClients {

using namespace Qt::StringLiterals;
using DesktopSession::run;

struct Server
{
    Server(const QString &stateFile, quint16 listenPort) : state(stateFile), port(listenPort) {}
    QString state;
    quint16 port;
    QProcess process;

    ~Server() { stop(); }
    void start()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(KORVANE_DEVSERVER),
                      {u"--port"_s, QString::number(port), u"--state"_s, state});
        process.waitForStarted(10000);
    }
    void stop()
    {
        process.kill();
        process.waitForFinished(10000);
    }
    QString control(const QStringList &arguments) const
    {
        return run(QStringLiteral(KORVANE_DEVSERVER), QStringList{u"--state"_s, state} + arguments);
    }
    // Whether the user stands among the connected clients (the list goes on
    // with the stored messages, which may name the user too).
    bool connected(const QString &user) const
    {
        return control({u"list"_s})
            .section(u"stored messages and packages"_s, 0, 0)
            .contains(u"  "_s + user + u" machine"_s);
    }
};

// One user's client in a home of the user's own, with a session bus and a
// notification service of its own that writes what it shows to a file.
struct UserClient
{
    QString user;
    QTemporaryDir home;
    QProcess process;

    UserClient(const QString &name, quint16 port) : user(name)
    {
        const QString root = home.path();
        QDir(root).mkpath(u"config/Korvane"_s);
        QFile ini(root + u"/config/Korvane/KorvaneClient.ini"_s);
        ini.open(QIODevice::WriteOnly);
        ini.write("[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                  "\nSpeed=100\nRefresh Rate=4\n");
        ini.close();
        run(u"chown"_s, {u"-R"_s, user + u':' + user, root});
        run(u"chmod"_s, {u"-R"_s, u"go-rwx"_s, root});
        run(u"chmod"_s, {u"go+x"_s, root});
    }
    ~UserClient() { stop(); }
    // The user's command line in the user's home: settings, data and runtime folders there.
    QStringList as(const QStringList &command) const
    {
        const QString root = home.path();
        return QStringList{u"-u"_s,
                           user,
                           u"--"_s,
                           u"env"_s,
                           u"HOME="_s + root,
                           u"DISPLAY="_s + qEnvironmentVariable("DISPLAY"),
                           u"XDG_CONFIG_HOME="_s + root + u"/config"_s,
                           u"XDG_DATA_HOME="_s + root + u"/data"_s,
                           u"XDG_RUNTIME_DIR="_s + root + u"/runtime"_s,
                           u"QT_QPA_PLATFORM=xcb"_s} +
               command;
    }
    void start()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(u"runuser"_s,
                      as({QStringLiteral(KORVANE_USER_CLIENT), home.filePath(u"notifications.log"_s),
                          QStringLiteral(KORVANE_FAKE_NOTIFYD), QStringLiteral(KORVANE_CLIENT_BINARY)}));
        process.waitForStarted(10000);
    }
    // A second start, which asks the running client to open its menu where the pointer is.
    void openMenu() const { run(u"runuser"_s, as({QStringLiteral(KORVANE_CLIENT_BINARY)})); }
    // The menu opened at a point, then its item so many rows down chosen by keyboard, going into
    // a submenu by the keys given; false when the menu never showed.
    bool chooseMenuItem(int downs, const QPoint &at, const QStringList &submenu = {}) const
    {
        run(u"xdotool"_s, {u"mousemove"_s, QString::number(at.x()), QString::number(at.y())});
        openMenu();
        const auto menuUnderPointer = [] {
            return DesktopSession::titleUnderPointer().endsWith(u"\"korvane-client\""_s);
        };
        if (!QTest::qWaitFor(menuUnderPointer, 10000))
            return false;
        DesktopSession::keys(QStringList(downs, u"Down"_s) + submenu << u"Return"_s);
        return QTest::qWaitFor([&] { return !menuUnderPointer(); }, 5000);
    }
    void stop()
    {
        // Everything the user runs here: the client, its bus and its notification service.
        run(u"pkill"_s, {u"-KILL"_s, u"-u"_s, user});
        process.waitForFinished(10000);
    }
    QString file(const QString &relative) const { return run(u"cat"_s, {home.filePath(relative)}); }
};

// A loopback port that nothing listens on at this moment.
inline quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

inline void ensureUser(const QString &user, const QString &fullName)
{
    int status = 0;
    run(u"id"_s, {user}, &status);
    if (status != 0)
        run(u"useradd"_s, {u"-M"_s, u"-s"_s, u"/bin/sh"_s, u"-c"_s, fullName, user});
}

// The two users of the desktop tests.
inline const QString Ann = QStringLiteral("korvane-ann");
inline const QString Bob = QStringLiteral("korvane-bob");

// Why this run cannot hold the two users' desktop, or empty once their accounts stand.
inline QString whyNoDesktop()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return QStringLiteral("needs the desktop session of tests/e2e/desktop_session.sh");
    if (geteuid() != 0)
        return QStringLiteral("needs root to create the two users of this test");
    ensureUser(Ann, QStringLiteral("Ann Lee"));
    ensureUser(Bob, QStringLiteral("Bob Marsh"));
    return {};
}

inline bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
}

} // namespace UserClients
