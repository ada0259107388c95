#include "relayd/ListenFds.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
// The first descriptor a service manager hands over.
constexpr int FirstFd = 3;
// More than the two sockets the service asks for is a unit written by mistake.
constexpr int MaxFds = 16;
} // namespace

ListenFds takeListenFds()
{
    ListenFds fds;
    bool ok = false;
    const qint64 pid = qEnvironmentVariable("LISTEN_PID").toLongLong(&ok);
    const int count = qEnvironmentVariableIntValue("LISTEN_FDS");
    qunsetenv("LISTEN_PID");
    qunsetenv("LISTEN_FDS");
    qunsetenv("LISTEN_FDNAMES");
    if (!ok || pid != getpid() || count <= 0)
        return fds;
    for (int fd = FirstFd; fd < FirstFd + qMin(count, MaxFds); ++fd) {
        int type = 0;
        socklen_t size = sizeof type;
        if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0)
            continue;
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        if (getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0)
            continue;
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        const bool internet = address.ss_family == AF_INET || address.ss_family == AF_INET6;
        if (type == SOCK_DGRAM && internet && fds.datagram < 0)
            fds.datagram = fd;
        else if (type == SOCK_STREAM && address.ss_family == AF_UNIX && fds.stream < 0)
            fds.stream = fd;
    }
    return fds;
}
