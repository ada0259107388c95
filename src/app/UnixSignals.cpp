#include "app/UnixSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const unsigned char number = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &number, 1);
}

} // namespace

UnixSignals::UnixSignals(QObject *parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0)
        return;
    m_notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignals::readSignal);

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signalNumber, &action, nullptr);
}

UnixSignals::~UnixSignals()
{
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signalNumber, SIG_DFL);
}

void UnixSignals::readSignal()
{
    unsigned char number = 0;
    if (::read(signalPipe[1], &number, 1) == 1)
        Q_EMIT received(number);
}
