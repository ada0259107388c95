#include "link/KeepAlive.h"

#include <QAbstractSocket>
#include <QString>
#include <QVariant>

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

// A server gone without a word must be noticed within two minutes.
static_assert(KeepAliveSettings{}.idleSeconds +
                      KeepAliveSettings{}.intervalSeconds * KeepAliveSettings{}.probes <=
                  120,
              "keepalive must give up within two minutes");

bool ApplyKeepAlive(QAbstractSocket &socket, const KeepAliveSettings &settings, QString *error)
{
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, QVariant(1));
    const auto fd = static_cast<int>(socket.socketDescriptor());
    if (fd < 0) {
        if (error)
            *error = QStringLiteral("no socket");
        return false;
    }
    const struct
    {
        int name;
        int value;
    } options[] = {{TCP_KEEPIDLE, settings.idleSeconds},
                   {TCP_KEEPINTVL, settings.intervalSeconds},
                   {TCP_KEEPCNT, settings.probes}};
    for (const auto &option : options) {
        if (setsockopt(fd, IPPROTO_TCP, option.name, &option.value, sizeof option.value) != 0) {
            if (error)
                *error = QString::fromLocal8Bit(std::strerror(errno));
            return false;
        }
    }
    return true;
}
