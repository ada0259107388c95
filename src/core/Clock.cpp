#include "core/Clock.h"

namespace {
const SystemClock systemClock;
const Clock *installed = &systemClock;
} // namespace

QDateTime Clock::now()
{
    return installed->currentDateTime();
}

const Clock &Clock::current()
{
    return *installed;
}

void Clock::install(const Clock *clock)
{
    installed = clock ? clock : &systemClock;
}

QDateTime SystemClock::currentDateTime() const
{
    const QDateTime local = QDateTime::currentDateTime();
    return QDateTime(local.date(), local.time(), Qt::UTC);
}
