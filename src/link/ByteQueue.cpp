#include "link/ByteQueue.h"

#include "core/Failure.h"

namespace {

void report(Failure *failure, const Failure &what)
{
    if (failure)
        *failure = what;
}

} // namespace

void ByteQueue::Clear()
{
    m_buffer.clear();
    m_head = 0;
}

qint32 ByteQueue::Count() const
{
    return qint32(m_buffer.size() - m_head);
}

void ByteQueue::Enqueue(uint8_t value)
{
    m_buffer.append(char(value));
}

void ByteQueue::Enqueue(const QByteArray &bytes)
{
    m_buffer.append(bytes);
}

uint8_t ByteQueue::Dequeue(Failure *failure)
{
    report(failure, {});
    if (Count() == 0) {
        report(failure, Failure::subscriptOutOfRange());
        return 0;
    }
    const auto value = static_cast<uint8_t>(m_buffer.at(m_head));
    ++m_head;
    Compact();
    return value;
}

uint8_t ByteQueue::Peek(Failure *failure) const
{
    report(failure, {});
    if (Count() == 0) {
        report(failure, Failure::subscriptOutOfRange());
        return 0;
    }
    return static_cast<uint8_t>(m_buffer.at(m_head));
}

void ByteQueue::Drop(qsizetype count)
{
    m_head += qBound(qsizetype(0), count, qsizetype(Count()));
    Compact();
}

void ByteQueue::Compact()
{
    if (m_head == m_buffer.size()) {
        // Emptied: start again at the front and keep the allocation for the next read.
        m_buffer.resize(0);
        m_head = 0;
    } else if (m_head > m_buffer.size() / 2) {
        m_buffer.remove(0, m_head);
        m_head = 0;
    }
}
