#include "link/RouteWatch.h"

#include "core/Log.h"

#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

RouteWatch::RouteWatch(QObject *parent) : QObject(parent)
{
    // Kept only once bound, so the watch never holds a descriptor it has closed.
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        WriteLog(QStringLiteral("The kernel's route events cannot be followed: ") +
                 QString::fromLocal8Bit(std::strerror(errno)));
        if (fd >= 0)
            ::close(fd);
        return;
    }
    m_fd = fd;
    m_notifier = new QSocketNotifier(qintptr(m_fd), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        if (ReadPending())
            Q_EMIT defaultRouteAdded();
    });
}

RouteWatch::~RouteWatch()
{
    delete m_notifier;
    if (m_fd >= 0)
        ::close(m_fd);
}

bool RouteWatch::ReadPending()
{
    bool added = false;
    while (m_fd >= 0) {
        char buffer[16384];
        sockaddr_nl from{};
        iovec part{buffer, sizeof buffer};
        msghdr message{};
        message.msg_name = &from;
        message.msg_namelen = sizeof from;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        const ssize_t size = ::recvmsg(m_fd, &message, 0);
        if (size < 0 && errno == ENOBUFS) {
            added = true; // the kernel dropped events for want of room: the return may be among them
            continue;
        }
        if (size <= 0)
            break;
        // Only the kernel speaks for the routes: what another process sends here is dropped.
        if (from.nl_pid != 0 || (message.msg_flags & MSG_TRUNC))
            continue;
        added = AddsDefaultRoute(QByteArray(buffer, qsizetype(size))) || added;
    }
    return added;
}

bool RouteWatch::AddsDefaultRoute(const QByteArray &messages)
{
    qsizetype offset = 0;
    while (messages.size() - offset >= qsizetype(sizeof(nlmsghdr))) {
        nlmsghdr header;
        std::memcpy(&header, messages.constData() + offset, sizeof header);
        if (header.nlmsg_len < sizeof header || qsizetype(header.nlmsg_len) > messages.size() - offset)
            return false;
        if (header.nlmsg_type == RTM_NEWROUTE && header.nlmsg_len >= NLMSG_LENGTH(sizeof(rtmsg))) {
            rtmsg route;
            std::memcpy(&route, messages.constData() + offset + NLMSG_HDRLEN, sizeof route);
            if (route.rtm_dst_len == 0 && route.rtm_table == RT_TABLE_MAIN && route.rtm_type == RTN_UNICAST)
                return true;
        }
        offset += NLMSG_ALIGN(qsizetype(header.nlmsg_len));
    }
    return false;
}
