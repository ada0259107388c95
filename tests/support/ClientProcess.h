#pragma once

#include <QProcess>

class TempProfile;

// The real client binary in a temporary profile, under the offscreen platform
// unless told otherwise.
class ClientProcess
{
public:
    ~ClientProcess();

    void start(const TempProfile &profile, const QString &binary,
               const QString &platform = QStringLiteral("offscreen"));
    // Sends the signal and waits for the process to end.
    void signal(int number);
    // Resident memory in KiB, from /proc; -1 when it cannot be read.
    qint64 rss() const;
    // The client's log in the profile's data folder, as it stands now.
    QString log() const;

    // A settings file that points at the server (with more options if given)
    // and a stored name, so that nothing is asked at start.
    static void prepare(const TempProfile &profile, quint16 port, const QByteArray &userName = "Jane Doe",
                        const QByteArray &options = {});

    QProcess process;

private:
    QString m_logFile;
};
