// The machine's relay of UDP orders, run by the service manager under an
// account of its own; see OrderService.
#include "core/AppPaths.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "link/UdpOrderRelay.h"
#include "relayd/ListenFds.h"
#include "relayd/OrderService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"korvane-relayd"_s);
    const ListenFds handed = takeListenFds();

    // The administrator's settings alone: the service has no user's file.
    Options &options = gOptions();
    options.setIniPath(u"/dev/null"_s, AppPaths::deployedIniFile());
    options.ReadOptions();
    const int port = options.ClientPort > 0 && options.ClientPort <= 65535 ? options.ClientPort
                                                                           : Options::DefaultClientPort;
    const QString socketPath = UdpOrderRelay::serviceSocket(quint16(port));

    // The service manager's log folder, else beside the socket.
    QString logs = qEnvironmentVariable("LOGS_DIRECTORY");
    if (logs.isEmpty())
        logs = QFileInfo(socketPath).absolutePath();
    QDir().mkpath(logs);
    gProcess().AppDataPath = logs;
    for (const QString &problem : options.problems())
        WriteLog(problem);

    OrderService service(quint16(port), socketPath);
    if (!service.start(handed))
        return 1;
    return QCoreApplication::exec();
}
