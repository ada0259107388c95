// korvane-devserver: a small development server for trying the client and for
// end-to-end tests, and the command line that drives it while it runs.
#include "ControlChannel.h"
#include "DemoData.h"
#include "DevServer.h"
#include "ServerState.h"
#include "core/Clock.h"
#include "core/UserInfos.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QHostAddress>
#include <QJsonObject>
#include <QLockFile>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int ExitFailure = 1;
constexpr int ExitUsage = 2;

int fail(int status, const QString &message)
{
    std::fprintf(stderr, "korvane-devserver: %s\n", qUtf8Printable(message));
    return status;
}

struct Options
{
    QCommandLineOption listen{u"listen"_s, u"Address to listen on (default 127.0.0.1)."_s, u"address"_s,
                              u"127.0.0.1"_s};
    QCommandLineOption port{u"port"_s, u"TCP port (default 58502; 0 picks a free one)."_s, u"n"_s,
                            QString::number(DevServer::DefaultPort)};
    QCommandLineOption state{u"state"_s, u"State file (default ./korvane-devserver.json)."_s, u"file"_s,
                             u"korvane-devserver.json"_s};
    QCommandLineOption demo{u"demo"_s, u"Seed a demo data set when the state is new; the login user of this "
                                       u"process becomes an administrator."_s};
    QCommandLineOption admin{u"admin"_s, u"Make this user an administrator (repeatable)."_s, u"user"_s};
    QCommandLineOption to{u"to"_s, u"send, udp: the user; \"\" or all for everyone."_s, u"user"_s};
    QCommandLineOption level{u"level"_s, u"send: the level (default Message)."_s, u"level"_s, u"Message"_s};
    QCommandLineOption from{u"from"_s, u"send: the author (default devserver)."_s, u"user"_s,
                            DevServer::agentName()};
};

int runControl(const QCommandLineParser &parser, const Options &options)
{
    const QStringList args = parser.positionalArguments();
    const QString command = args.first();
    QJsonObject request{{"command"_L1, command}};
    if (command == "send"_L1 || command == "udp"_L1) {
        if (!parser.isSet(options.to))
            return fail(ExitUsage, command + u" needs --to USER"_s);
        request.insert("to"_L1, parser.value(options.to));
    }
    if (command == "send"_L1) {
        if (args.size() < 2)
            return fail(ExitUsage, u"send needs the text of the message"_s);
        request.insert("level"_L1, parser.value(options.level));
        request.insert("from"_L1, parser.value(options.from));
        request.insert("text"_L1, args.mid(1).join(u' '));
    } else if (command == "udp"_L1) {
        if (args.size() != 2)
            return fail(ExitUsage, u"udp needs one order: REC, CON or DEC"_s);
        request.insert("order"_L1, args[1].toUpper());
    } else if (command != "list"_L1 || args.size() != 1) {
        return fail(ExitUsage, u"unknown command \""_s + args.join(u' ') + u"\"; use send, udp or list"_s);
    }

    QString output;
    if (!ControlChannel::request(ControlChannel::socketPath(parser.value(options.state)), request, &output))
        return fail(ExitFailure, output);
    std::printf("%s\n", qUtf8Printable(output));
    return 0;
}

int runServer(QCoreApplication &app, const QCommandLineParser &parser, const Options &options)
{
    bool portOk = false;
    const uint port = parser.value(options.port).toUInt(&portOk);
    if (!portOk || port > 65535)
        return fail(ExitUsage, u"bad port \""_s + parser.value(options.port) + u'"');
    const QHostAddress address(parser.value(options.listen));
    if (address.isNull())
        return fail(ExitUsage, u"bad address \""_s + parser.value(options.listen) + u'"');
    if (!address.isLoopback())
        qWarning("korvane-devserver: listening on %s: anyone who reaches it can read and send messages",
                 qUtf8Printable(address.toString()));

    const QString stateFile = parser.value(options.state);
    // Two servers on one state would overwrite each other's changes.
    QLockFile lock(stateFile + u".lock"_s);
    if (!lock.tryLock(0))
        return fail(ExitFailure, u"another korvane-devserver uses "_s + stateFile);

    ServerState state;
    QString error;
    if (!state.load(stateFile, &error))
        return fail(ExitFailure, u"cannot read "_s + stateFile + u": "_s + error);
    if (state.isNew() && parser.isSet(options.demo) &&
        !DemoData::seed(state, UserInfos::LoginName(), Clock::now(), &error))
        return fail(ExitFailure, u"cannot write the demo document "_s + error);
    for (const QString &admin : parser.values(options.admin))
        state.users[admin.toLower()].role = 3;
    if (!state.save())
        return fail(ExitFailure, u"cannot write "_s + stateFile);

    DevServer server(state);
    if (!server.listen(address, quint16(port), &error))
        return fail(ExitFailure, u"cannot listen on "_s + address.toString() + u" port "_s +
                                     QString::number(port) + u": "_s + error);
    ControlChannel control(server);
    const QString socket = ControlChannel::socketPath(stateFile);
    if (!control.listen(socket, &error))
        return fail(ExitFailure, u"cannot open the control socket "_s + socket + u": "_s + error);

    qInfo("korvane-devserver: listening on %s port %d, state %s", qUtf8Printable(address.toString()),
          int(server.port()), qUtf8Printable(stateFile));
    return app.exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"korvane-devserver"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(KORVANE_VERSION));

    Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Development server for the Korvane client, and its control commands:\n"
        u"  send --to USER [--level LEVEL] [--from USER] TEXT   send a message to connected clients\n"
        u"  udp --to USER REC|CON|DEC                           send a UDP order to the user's clients\n"
        u"  list                                                show clients and stored messages\n"
        u"Control commands reach the server that runs with the same --state."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({options.listen, options.port, options.state, options.demo, options.admin, options.to,
                       options.level, options.from});
    parser.addPositionalArgument(u"command"_s, u"send, udp or list; none runs the server."_s, u"[command]"_s);
    parser.process(app);

    if (!parser.positionalArguments().isEmpty())
        return runControl(parser, options);
    return runServer(app, parser, options);
}
