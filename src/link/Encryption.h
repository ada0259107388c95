#pragma once

#include "link/ByteQueue.h"

#include <QByteArray>
#include <QString>

struct Failure;

// The frame codec of the server link. No cipher despite the name: a payload
// goes out behind the magic "kVn" and a 16-bit big-endian length, and comes
// back out of TCPMsgQueue one whole frame at a time.
class Encryption
{
public:
    // The largest payload whose length still fits the 16-bit arithmetic of a frame.
    static constexpr qsizetype MaxPayload = 32763;

    // Bytes received and not yet decoded. The socket appends here; the queue and
    // PendingLength outlive a connection, so a frame cut by a reconnect is
    // completed from the bytes of the new one.
    ByteQueue TCPMsgQueue;
    // Length of the frame whose header is consumed and whose payload is not yet
    // taken; 0 between frames.
    qint16 PendingLength = 0;

    // One whole frame around text, a character without a byte going out as "?";
    // empty with the overflow failure when the text is too long.
    QByteArray Encrypt(const QString &text, Failure *failure = nullptr) const;

    // At most one payload out of TCPMsgQueue; the empty string when no whole frame
    // is held yet, or when a bad header was dropped (failure tells which).
    QString DecryptQ(Failure *failure = nullptr);
};
