#pragma once

#include <QProcess>

class TempProfile;

// The real client binary in a temporary profile, under the offscreen platform.
class ClientProcess
{
public:
    ~ClientProcess();

    void start(const TempProfile &profile, const QString &binary);
    // Sends the signal and waits for the process to end.
    void signal(int number);
    // Resident memory in KiB, from /proc; -1 when it cannot be read.
    qint64 rss() const;

    // A settings file that points at the server and a stored name, so that
    // nothing is asked at start.
    static void prepare(const TempProfile &profile, quint16 port);

    QProcess process;
};
