#pragma once

#include <QDateTime>
#include <QString>

// The date text of records and filters, and the minute helpers of scheduling.
//
// Dates are wall-clock local times held as Qt::UTC values. The day count 0,
// 1899-12-30 00:00:00, is the zero date: it means "unset", compares earliest,
// and stands as the date part of a value that is only a time of day.
class DateText
{
public:
    // The format of the date text, in QDateTime format syntax; empty gives the
    // default: the short date of the regional settings, a blank, the long time.
    // Names and day periods come from the default QLocale as it is at this call.
    static void setFormat(const QString &qtDateTimeFormat);
    static QString format();
    static QString dateFormat();
    static QString timeFormat();

    static QDateTime ZeroDate();
    static bool IsZeroDate(const QDateTime &value);

    // Date and time, the date alone when the time is midnight, the time alone
    // when the date is the zero day; the zero date gives the text of midnight.
    static QString DateToText(const QDateTime &value);
    // Reads all three forms back; an unreadable text gives the zero date and ok false.
    static QDateTime TextToDate(const QString &text, bool *ok = nullptr);

    // "yyyy/MM/dd HH:mm", the text by which two dates count as the same minute.
    static QString FormatDateMinute(const QDateTime &value);
    static QDateTime TruncateToMinute(const QDateTime &value);
};
