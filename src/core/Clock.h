#pragma once

#include <QDateTime>

// Every date of the system is a wall-clock date-time of this machine without a
// zone. It is held with the UTC spec so that daylight-saving changes never
// shift, skip or double a minute of the schedule.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime currentDateTime() const = 0;

    // "Now" for the whole process, from the installed clock.
    static QDateTime now();
    // The installed clock itself, for what is handed its clock.
    static const Clock &current();
    // Tests install their own clock; nullptr restores the system clock.
    static void install(const Clock *clock);
};

class SystemClock final : public Clock
{
public:
    QDateTime currentDateTime() const override;
};
