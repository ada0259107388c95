#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>

// How the relay service hands an order to a client: two bytes of length (high
// byte first), the sender's address, a line feed, then the datagram.
struct RelayedOrder
{
    QByteArray datagram;
    QHostAddress sender;
};

namespace RelayFrames {
// A datagram is read 512 bytes at most; the sender's address and a separator come on top.
constexpr int MaxDatagram = 512;
constexpr int MaxFrame = MaxDatagram + 64;

QByteArray encode(const QByteArray &datagram, const QHostAddress &sender);
// The address as a person writes it: an IPv4 address mapped into IPv6 shown as IPv4.
QString plainAddress(const QHostAddress &address);
} // namespace RelayFrames

// Cuts a stream of frames into orders. A frame longer than any order can be
// makes the rest of the stream worthless: reading stops there for good.
class RelayFrameReader
{
public:
    QList<RelayedOrder> feed(const QByteArray &bytes);
    // The length the bad frame announced; 0 while the stream is sound.
    int badLength() const { return m_badLength; }
    void reset();

private:
    QByteArray m_pending;
    int m_badLength = 0;
};
