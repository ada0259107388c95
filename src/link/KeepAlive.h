#pragma once

class QAbstractSocket;
class QString;

// How long a silent peer may stay unnoticed: the kernel probes an idle link
// and gives up after the probes go unanswered.
struct KeepAliveSettings
{
    int idleSeconds = 60;
    int intervalSeconds = 10;
    int probes = 6;
};

// Turns probing on for a connected socket. False, with the reason, when the
// system refused one of the options.
bool ApplyKeepAlive(QAbstractSocket &socket, const KeepAliveSettings &settings, QString *error);
