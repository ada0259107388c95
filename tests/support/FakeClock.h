#pragma once

#include "core/Clock.h"

// A clock that stands still until the test moves it; installed while it lives.
class FakeClock final : public Clock
{
public:
    explicit FakeClock(const QDateTime &start) : m_now(start) { Clock::install(this); }
    ~FakeClock() override { Clock::install(nullptr); }
    FakeClock(const FakeClock &) = delete;
    FakeClock &operator=(const FakeClock &) = delete;

    QDateTime currentDateTime() const override { return m_now; }
    void set(const QDateTime &now) { m_now = now; }
    void advanceSeconds(qint64 seconds) { m_now = m_now.addSecs(seconds); }

    // A wall-clock date-time as the system holds it.
    static QDateTime at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
    {
        return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
    }

private:
    QDateTime m_now;
};
