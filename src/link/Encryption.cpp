#include "link/Encryption.h"

#include "core/Failure.h"
#include "link/Cp1252.h"

namespace {

constexpr char magic[3] = {'k', 'V', 'n'};
constexpr int headerSize = 5;

void report(Failure *failure, const Failure &what)
{
    if (failure)
        *failure = what;
}

} // namespace

QByteArray Encryption::Encrypt(const QString &text, Failure *failure) const
{
    report(failure, {});
    const QByteArray payload = Cp1252::fromUnicode(text);
    // The header counts bytes; a surrogate pair went out as one.
    const qsizetype length = payload.size();
    if (length > MaxPayload) {
        report(failure, Failure::overflow());
        return {};
    }

    QByteArray frame;
    frame.reserve(headerSize + length);
    frame.append(magic, sizeof magic);
    frame.append(char(length / 256));
    frame.append(char(length & 0xFF));
    frame.append(payload);
    return frame;
}

QString Encryption::DecryptQ(Failure *failure)
{
    report(failure, {});
    if (PendingLength == 0) {
        // A header is consumed only whole, so one that arrives in pieces waits.
        if (TCPMsgQueue.Count() < headerSize)
            return {};
        const auto *header = reinterpret_cast<const uint8_t *>(TCPMsgQueue.Head());
        for (int i = 0; i < 3; ++i) {
            if (header[i] != static_cast<uint8_t>(magic[i])) {
                // No scan for the next magic: a bad magic drops the whole queue,
                // good frames behind it included.
                TCPMsgQueue.Clear();
                return {};
            }
        }
        const uint8_t high = header[3];
        const uint8_t low = header[4];
        TCPMsgQueue.Drop(headerSize);
        if (high >= 0x80) {
            // Beyond a signed 16-bit length; the header is gone and what follows
            // is read as the next header.
            report(failure, Failure::overflow());
            return {};
        }
        PendingLength = qint16(high * 256 + low);
        if (PendingLength == 0) {
            // A zero length fails like the allocation of minus one byte it once
            // was; only the header is lost.
            report(failure, Failure::subscriptOutOfRange());
            return {};
        }
    }

    if (TCPMsgQueue.Count() < PendingLength)
        return {};

    // Decoded straight from the queue's buffer, then dropped from it.
    const QString payload = Cp1252::toUnicode(TCPMsgQueue.Head(), PendingLength);
    TCPMsgQueue.Drop(PendingLength);
    PendingLength = 0;
    return payload;
}
