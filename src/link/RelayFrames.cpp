#include "link/RelayFrames.h"

QByteArray RelayFrames::encode(const QByteArray &datagram, const QHostAddress &sender)
{
    const QByteArray payload = plainAddress(sender).toLatin1() + '\n' + datagram.left(MaxDatagram);
    QByteArray frame;
    frame.append(char(payload.size() >> 8)).append(char(payload.size() & 0xff)).append(payload);
    return frame;
}

QString RelayFrames::plainAddress(const QHostAddress &address)
{
    bool mapped = false;
    const QHostAddress v4(address.toIPv4Address(&mapped));
    return mapped ? v4.toString() : address.toString();
}

QList<RelayedOrder> RelayFrameReader::feed(const QByteArray &bytes)
{
    QList<RelayedOrder> orders;
    if (m_badLength)
        return orders;
    m_pending += bytes;
    qsizetype at = 0;
    while (m_pending.size() - at >= 2) {
        const int size = (uchar(m_pending[at]) << 8) | uchar(m_pending[at + 1]);
        if (size > RelayFrames::MaxFrame) {
            m_badLength = size;
            m_pending.clear();
            return orders;
        }
        if (m_pending.size() - at < 2 + size)
            break;
        const QByteArray payload = m_pending.mid(at + 2, size);
        at += 2 + size;
        const qsizetype split = payload.indexOf('\n');
        // A frame without a sender, or without an order, carries nothing to obey.
        if (split <= 0 || split + 1 == payload.size())
            continue;
        orders.append({payload.mid(split + 1), QHostAddress(QString::fromLatin1(payload.left(split)))});
    }
    m_pending.remove(0, at);
    return orders;
}

void RelayFrameReader::reset()
{
    m_pending.clear();
    m_badLength = 0;
}
