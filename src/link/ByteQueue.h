#pragma once

#include <QByteArray>

#include <cstdint>

struct Failure;

// First-in first-out store of the bytes that the socket delivered. One
// contiguous buffer and a head index: what was taken out is dropped from the
// front only once it makes up half the buffer, so each byte is moved at most
// a bounded number of times however the reads are cut.
class ByteQueue
{
public:
    void Clear();
    qint32 Count() const;

    void Enqueue(uint8_t value);
    void Enqueue(const QByteArray &bytes);

    // Both fail with the subscript error on an empty queue and then return 0.
    uint8_t Dequeue(Failure *failure = nullptr);
    uint8_t Peek(Failure *failure = nullptr) const;

    // The bytes held, without copying them; valid until the queue changes.
    const char *Head() const { return m_buffer.constData() + m_head; }
    // Drops the first count bytes (at most what is held).
    void Drop(qsizetype count);

private:
    void Compact();

    QByteArray m_buffer;
    qsizetype m_head = 0;
};
