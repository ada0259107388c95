#pragma once

#include "core/Globals.h"
#include "core/Options.h"
#include "support/LogText.h"
#include "support/TempProfile.h"

#include <QUdpSocket>

// A fresh profile whose clients take orders on a free port, the relay's socket in its own folder.
struct UdpOrderMachine
{
    TempProfile profile;
    quint16 port = 0;
    UdpOrderMachine()
    {
        gProcess().AppDataPath = profile.dataHome();
        qputenv("KORVANE_RELAY_DIR", profile.runtimeDir().toUtf8());
        QUdpSocket probe;
        probe.bind(QHostAddress::LocalHost, 0);
        gOptions().ClientPort = port = probe.localPort();
    }
    ~UdpOrderMachine() { qunsetenv("KORVANE_RELAY_DIR"); }
    // A DECONNECT order from each sender in turn.
    void send(std::initializer_list<const char *> senders = {"127.0.0.1"}) const
    {
        for (const char *from : senders) {
            QUdpSocket sender;
            sender.bind(QHostAddress(QString::fromLatin1(from)), 0);
            sender.writeDatagram("DEC", QHostAddress::LocalHost, port);
        }
    }
    // How many orders the clients obeyed so far.
    qsizetype obeyed() const { return logText().count(QStringLiteral("Server sent a DECONNECT command\t")); }
};
