#pragma once

#include <QString>

// A failure as the system numbers it: the number and text that its log lines
// carry (" ** Error number 6 = Overflow").
struct Failure
{
    int number = 0;
    QString description;

    bool isSet() const { return number != 0; }

    static Failure overflow() { return {6, QStringLiteral("Overflow")}; }
    static Failure subscriptOutOfRange() { return {9, QStringLiteral("Subscript out of range")}; }
    static Failure typeMismatch() { return {13, QStringLiteral("Type mismatch")}; }
};

// The failure that an ignoring step let pass and nobody cleared yet. WriteLog
// appends it to whatever line comes next, as the log has always done.
namespace PendingError {
void set(const Failure &failure);
void clear();
const Failure &current();
} // namespace PendingError
