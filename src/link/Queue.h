#pragma once

#include "core/Failure.h"

#include <utility>
#include <vector>

// First-in first-out store of any value type, with the operations of ByteQueue.
// Contiguous like it: a head index, and the front dropped once it is half the store.
template <typename T>
class Queue
{
public:
    void Clear()
    {
        m_items.clear();
        m_head = 0;
    }

    qint32 Count() const { return qint32(m_items.size() - m_head); }

    void Enqueue(const T &value) { m_items.push_back(value); }
    void Enqueue(T &&value) { m_items.push_back(std::move(value)); }

    // Both fail with the subscript error on an empty queue and then return T().
    T Dequeue(Failure *failure = nullptr)
    {
        if (!Check(failure))
            return T();
        T value = std::move(m_items[m_head]);
        ++m_head;
        if (m_head == m_items.size()) {
            m_items.clear();
            m_head = 0;
        } else if (m_head > m_items.size() / 2) {
            m_items.erase(m_items.begin(), m_items.begin() + qsizetype(m_head));
            m_head = 0;
        }
        return value;
    }

    T Peek(Failure *failure = nullptr) const
    {
        if (!Check(failure))
            return T();
        return m_items[m_head];
    }

private:
    bool Check(Failure *failure) const
    {
        const bool held = Count() > 0;
        if (failure)
            *failure = held ? Failure{} : Failure::subscriptOutOfRange();
        return held;
    }

    std::vector<T> m_items;
    typename std::vector<T>::size_type m_head = 0;
};
