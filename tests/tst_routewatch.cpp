// The kernel's route events in a network namespace of the test's own: a default route added to the
// main table is the network coming back, nothing else is. Needs root (exit 77, skipped, otherwise).
#include "core/Globals.h"
#include "core/Log.h"
#include "link/RouteWatch.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
bool refuseBind = false;
} // namespace

// The test's own bind comes before the C library's: it refuses when asked, as a kernel short of
// memory or a security filter would, and passes every other call on.
extern "C" int bind(int fd, const sockaddr *address, socklen_t length)
{
    if (refuseBind) {
        errno = ENOMEM;
        return -1;
    }
    static const auto next =
        reinterpret_cast<int (*)(int, const sockaddr *, socklen_t)>(dlsym(RTLD_NEXT, "bind"));
    return next(fd, address, length);
}

namespace {

bool ip(const QString &arguments)
{
    return QProcess::execute(u"ip"_s, arguments.split(u' ')) == 0;
}

// One netlink message: a header and a route of that destination length, table and type.
QByteArray route(quint16 type, uchar dstLen, uchar table = RT_TABLE_MAIN, uchar kind = RTN_UNICAST)
{
    QByteArray bytes(NLMSG_LENGTH(sizeof(rtmsg)), '\0');
    auto *header = reinterpret_cast<nlmsghdr *>(bytes.data());
    header->nlmsg_len = quint32(bytes.size());
    header->nlmsg_type = type;
    auto *body = reinterpret_cast<rtmsg *>(bytes.data() + NLMSG_HDRLEN);
    std::tie(body->rtm_family, body->rtm_dst_len, body->rtm_table, body->rtm_type) =
        std::tuple(uchar(AF_INET), dstLen, table, kind);
    return bytes;
}

} // namespace

class TestRouteWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultRouteIsTheReturn()
    {
        QVERIFY(ip(u"link set lo up"_s) && ip(u"link add v0 type veth peer name v1"_s) &&
                ip(u"addr add 10.9.0.1/24 dev v0"_s) && ip(u"link set v1 up"_s) && ip(u"link set v0 up"_s));
        RouteWatch watch;
        QVERIFY(watch.isListening());
        watch.ReadPending();
        // What the kernel says of each change, read as soon as the command has made it.
        for (const auto &[change, returns] : {std::pair{u"route add 10.10.0.0/24 via 10.9.0.2"_s, false},
                                              {u"route add default via 10.9.0.2 table 100"_s, false},
                                              {u"route add default via 10.9.0.2"_s, true},
                                              {u"route del default"_s, false}}) {
            QVERIFY2(ip(change), qPrintable(change));
            QVERIFY2(watch.ReadPending() == returns, qPrintable(change));
        }
        // More changes than the socket holds: the kernel drops some, and the return may be among them.
        QTemporaryFile batch;
        QVERIFY(batch.open());
        for (int i = 0; i < 4000; ++i)
            batch.write(QByteArray("route add blackhole 10.11.") + QByteArray::number(i / 250) + '.' +
                        QByteArray::number(i % 250) + "/32\n");
        batch.close();
        QVERIFY(ip(u"-batch "_s + batch.fileName()));
        QVERIFY(watch.ReadPending());
        QVERIFY(!watch.ReadPending());
        // Through the event loop, as the client hears it.
        QSignalSpy returned(&watch, &RouteWatch::defaultRouteAdded);
        QVERIFY(ip(u"route add default via 10.9.0.2"_s));
        QTRY_COMPARE(returned.count(), 1);
    }

    // A socket that cannot be bound is closed at once and said in the log; the watch then holds nothing.
    void refusedBindLeavesNothingOpen()
    {
        QTemporaryDir data;
        gProcess().AppDataPath = data.path();
        const auto open = [] {
            return QDir(u"/proc/self/fd"_s).entryList(QDir::NoDotAndDotDot | QDir::System).size();
        };
        const qsizetype before = open();
        refuseBind = true;
        {
            RouteWatch watch;
            refuseBind = false;
            QVERIFY(!watch.isListening());
            QCOMPARE(open(), before);
            QVERIFY(!watch.ReadPending());
        }
        QCOMPARE(open(), before);
        QFile log(LogFile::path());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(
            log.readAll().contains("The kernel's route events cannot be followed: Cannot allocate memory"));
    }

    // Only a whole new default unicast route of the main table counts, wherever it stands among others.
    void messagesReadSafely()
    {
        const QByteArray add = route(RTM_NEWROUTE, 0);
        QByteArray lying = add;
        reinterpret_cast<nlmsghdr *>(lying.data())->nlmsg_len = quint32(add.size() + 1);
        QByteArray empty = add;
        reinterpret_cast<nlmsghdr *>(empty.data())->nlmsg_len = 0;
        for (const auto &[messages, adds] : {std::pair{add, true},
                                             {route(RTM_NEWROUTE, 24) + add, true},
                                             {route(RTM_NEWROUTE, 24), false},
                                             {route(RTM_DELROUTE, 0), false},
                                             {route(RTM_NEWROUTE, 0, 100), false},
                                             {route(RTM_NEWROUTE, 0, RT_TABLE_MAIN, RTN_BLACKHOLE), false},
                                             {add.left(add.size() - 1), false},
                                             {lying, false},
                                             {empty + add, false},
                                             {QByteArray(), false}})
            QCOMPARE(RouteWatch::AddsDefaultRoute(messages), adds);
    }
};

int main(int argc, char *argv[])
{
    // A namespace of its own: the machine's routes are neither read nor touched.
    if (geteuid() != 0 || unshare(CLONE_NEWNET) != 0) {
        std::fprintf(stderr, "SKIP: a network namespace of the test's own needs root\n");
        return 77;
    }
    QCoreApplication app(argc, argv);
    TestRouteWatch test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_routewatch.moc"
