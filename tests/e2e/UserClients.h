#pragma once

// Unix users on one desktop, each with the real client, and the project's
// development server between them. Included by the tests that define where
// the programs stand (KORVANE_DEVSERVER, KORVANE_CLIENT_BINARY and the rest).
#include "e2e/DesktopSession.h"
#include "support/LoopbackDaemon.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>
#include <utility>

namespace UserClients {

using namespace Qt::StringLiterals;
using DesktopSession::run;

inline bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
}

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

// The machine's order relay, run by root as the service manager would open its sockets, in a
// folder of the desk's own that every user may enter but only root may write.
struct Relay
{
    Relay(const QString &folder, quint16 listenPort) : dir(folder), port(listenPort) {}
    QString dir;
    quint16 port;
    QProcess process;

    ~Relay() { stop(); }
    void start()
    {
        QDir(dir).mkpath(u"etc/Korvane"_s);
        writeFile(dir + u"/etc/Korvane/KorvaneClient.ini"_s,
                  "[Options]\nClientPort=" + QByteArray::number(port) + '\n');
        run(u"chmod"_s, {u"-R"_s, u"go+rX"_s, dir});
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"XDG_CONFIG_DIRS"_s, dir + u"/etc"_s);
        env.insert(u"KORVANE_RELAY_DIR"_s, dir + u"/run"_s);
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(KORVANE_RELAYD), {});
        process.waitForStarted(10000);
    }
    // Killed, as a crash would: its socket stays behind, and nobody answers there.
    void stop()
    {
        process.kill();
        process.waitForFinished(10000);
    }
};

// One user's client in a home of the user's own, with a session bus and a
// notification service of its own that writes what it shows to a file.
struct UserClient
{
    QString user;
    QString relayDir;
    QTemporaryDir home;
    QProcess process;
    qint64 session = 0;

    // Fast scrolling; the console at (100, 200), 1000 by 540, kept in twips (15 to a pixel).
    UserClient(const QString &name, quint16 port, const QString &relay) : user(name), relayDir(relay)
    {
        const QString root = home.path();
        QDir(root).mkpath(u"config/Korvane"_s);
        writeFile(root + u"/config/Korvane/KorvaneClient.ini"_s,
                  "[Options]\nHost=127.0.0.1\nClientPort=" + QByteArray::number(port) +
                      "\nSpeed=100\nRefresh Rate=4\n");
        writeFile(root + u"/config/Korvane/Client.conf"_s,
                  "[Setup]\nAdminLeft=1500\nAdminTop=3000\nAdminWidth=15000\nAdminHeight=8100\n");
        run(u"chown"_s, {u"-R"_s, user + u':' + user, root});
        run(u"chmod"_s, {u"-R"_s, u"go-rwx"_s, root});
        run(u"chmod"_s, {u"go+x"_s, root});
    }
    ~UserClient() { stop(); }
    // The user's command line in the user's home: settings, data and runtime folders there.
    QStringList as(const QStringList &command) const
    {
        const QString root = home.path();
        const QStringList env{u"HOME="_s + root,
                              u"DISPLAY="_s + qEnvironmentVariable("DISPLAY"),
                              u"XDG_CONFIG_HOME="_s + root + u"/config"_s,
                              u"XDG_DATA_HOME="_s + root + u"/data"_s,
                              u"XDG_RUNTIME_DIR="_s + root + u"/runtime"_s,
                              u"QT_QPA_PLATFORM=xcb"_s,
                              u"KORVANE_RELAY_DIR="_s + relayDir};
        return QStringList{u"-u"_s, user, u"--"_s, u"env"_s} + env + command;
    }
    void start()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // In a session of its own, whose id is the process's: stop() ends this desktop's programs
        // and not those of another run that has the same users.
        process.start(u"setsid"_s,
                      QStringList{u"runuser"_s} +
                          as({QStringLiteral(KORVANE_USER_CLIENT), home.filePath(u"notifications.log"_s),
                              QStringLiteral(KORVANE_FAKE_NOTIFYD), QStringLiteral(KORVANE_CLIENT_BINARY)}));
        process.waitForStarted(10000);
        session = process.processId();
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
        if (session > 0)
            run(u"pkill"_s, {u"-KILL"_s, u"-s"_s, QString::number(std::exchange(session, 0))});
        process.waitForFinished(10000);
    }
    QString file(const QString &relative) const { return run(u"cat"_s, {home.filePath(relative)}); }
};

// The two users of the desktop tests.
inline const QString Ann = QStringLiteral("korvane-ann");
inline const QString Bob = QStringLiteral("korvane-bob");

// Called from initTestCase: the whole test is skipped where the two users' desktop cannot stand;
// otherwise their accounts are made if missing.
inline void skipWithoutDesktop()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        QSKIP("needs the desktop session of tests/e2e/desktop_session.sh");
    if (geteuid() != 0)
        QSKIP("needs root to create the two users of this test");
    for (const auto &[user, fullName] : {std::pair(Ann, u"Ann Lee"_s), std::pair(Bob, u"Bob Marsh"_s)}) {
        int status = 0;
        run(u"id"_s, {user}, &status);
        if (status != 0)
            run(u"useradd"_s, {u"-M"_s, u"-s"_s, u"/bin/sh"_s, u"-c"_s, fullName, user});
    }
}

inline const QString ClientLog = QStringLiteral("data/Korvane/client.log");

// The development server and the two users' clients.
struct Desk
{
    QTemporaryDir work;
    Server server{work.filePath(u"devserver.json"_s), LoopbackDaemon::freePort()};
    Relay relay{work.filePath(u"relay"_s), server.port};
    UserClient ann{Ann, server.port, relay.dir + u"/run"_s};
    UserClient bob{Bob, server.port, relay.dir + u"/run"_s};

    // The server, which knows Ann in the role given and Bob as a User (0), and whose clients
    // reconnect at once when the link drops; then the two clients, after the machine's order relay
    // if asked (both then take their orders through it); true once both are connected.
    bool start(int annRole = 0, bool withRelay = false)
    {
        if (!writeFile(server.state, "{\"globalPolicies\": \"RCON=0;\", \"users\": {"
                                     "\"korvane-ann\": {\"name\": \"Ann Lee\", \"role\": " +
                                         QByteArray::number(annRole) +
                                         "}, \"korvane-bob\": {\"name\": \"Bob Marsh\", \"role\": 0}}}"))
            return false;
        server.start();
        if (withRelay) {
            run(u"chmod"_s, {u"go+x"_s, work.path()});
            relay.start();
            const QString socket = relay.dir + u"/run/orders-"_s + QString::number(server.port);
            if (!QTest::qWaitFor([&] { return QFile::exists(socket); }, 10000))
                return false;
        }
        ann.start();
        bob.start();
        return QTest::qWaitFor([this] { return server.connected(Ann) && server.connected(Bob); }, 30000);
    }
};

} // namespace UserClients
