#pragma once

#include "link/Encryption.h"

#include <QHostAddress>
#include <QString>

class QTcpSocket;

// One connected client: its socket, its own receive queue, and who it said it is.
struct ClientLink
{
    QTcpSocket *socket = nullptr;
    Encryption codec;
    QHostAddress address;
    // Empty until USR; the id behind Chr(0) of each frame stands in until then.
    QString userId;
    QString machineId;
    QString userName;
    QString agent;
    QString version;
};
