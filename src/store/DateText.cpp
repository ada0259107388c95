#include "store/DateText.h"

#include <QList>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QDate zeroDay(1899, 12, 30);

enum class Kind { Literal, Date, Time, Zone };

struct Segment
{
    QString text;
    Kind kind = Kind::Literal;
    bool blank = false; // an unquoted blank, where date and time may be parted
};

// Cuts a QDateTime format into its fields and literals, quoted text kept whole.
QList<Segment> tokenize(const QString &format)
{
    QList<Segment> segments;
    qsizetype i = 0;
    while (i < format.size()) {
        const QChar c = format.at(i);
        qsizetype end = i + 1;
        Kind kind = Kind::Literal;
        if (c == u'\'') {
            while (end < format.size()) {
                if (format.at(end) == u'\'') {
                    if (end + 1 < format.size() && format.at(end + 1) == u'\'') {
                        end += 2;
                        continue;
                    }
                    break;
                }
                ++end;
            }
            end = qMin(end + 1, format.size());
        } else {
            switch (c.unicode()) {
            case u'd':
            case u'M':
            case u'y':
                kind = Kind::Date;
                break;
            case u'h':
            case u'H':
            case u'm':
            case u's':
            case u'z':
            case u'a':
            case u'A':
                kind = Kind::Time;
                break;
            case u't':
                kind = Kind::Zone;
                break;
            default:
                break;
            }
            if (kind != Kind::Literal) {
                while (end < format.size() && format.at(end) == c)
                    ++end;
                if ((c == u'a' || c == u'A') && end < format.size() &&
                    (format.at(end) == u'p' || format.at(end) == u'P'))
                    ++end;
            }
        }
        segments.append({format.mid(i, end - i), kind, kind == Kind::Literal && c.isSpace()});
        i = end;
    }
    return segments;
}

QString join(const QList<Segment> &segments)
{
    QString text;
    for (const Segment &segment : segments)
        text += segment.text;
    return text;
}

// Our dates carry no zone, so a zone field would write "UTC" and then fail to
// read a server's text; it goes, with the blank that stood beside it.
QList<Segment> withoutZone(const QList<Segment> &segments)
{
    QList<Segment> kept;
    for (const Segment &segment : segments) {
        if (segment.kind == Kind::Zone)
            continue;
        if (segment.blank && (kept.isEmpty() || kept.constLast().blank))
            continue;
        kept.append(segment);
    }
    while (!kept.isEmpty() && kept.constLast().blank)
        kept.removeLast();
    return kept;
}

// A two-digit year would come back in the wrong century.
void widenYear(QList<Segment> &segments)
{
    for (Segment &segment : segments) {
        if (segment.kind == Kind::Date && segment.text == u"yy"_s)
            segment.text = u"yyyy"_s;
    }
}

QList<Segment> trimmed(QList<Segment> segments)
{
    while (!segments.isEmpty() && segments.constFirst().blank)
        segments.removeFirst();
    while (!segments.isEmpty() && segments.constLast().blank)
        segments.removeLast();
    return segments;
}

// Parts a whole format into its date and its time, at the blanks between the
// last field of one and the first of the other (so "yy. M. d. AP h:mm" keeps its
// final dot with the date). False when the fields are mixed or one kind is missing.
bool splitFormat(const QList<Segment> &segments, QString &date, QString &time)
{
    qsizetype firstDate = -1, lastDate = -1, firstTime = -1, lastTime = -1;
    for (qsizetype i = 0; i < segments.size(); ++i) {
        if (segments[i].kind == Kind::Date) {
            if (firstDate < 0)
                firstDate = i;
            lastDate = i;
        } else if (segments[i].kind == Kind::Time) {
            if (firstTime < 0)
                firstTime = i;
            lastTime = i;
        }
    }
    if (firstDate < 0 || firstTime < 0)
        return false;

    const bool dateFirst = lastDate < firstTime;
    if (!dateFirst && lastTime >= firstDate)
        return false;
    const qsizetype gapStart = dateFirst ? lastDate + 1 : lastTime + 1;
    const qsizetype gapEnd = dateFirst ? firstTime : firstDate;

    qsizetype firstBlank = -1, lastBlank = -1;
    for (qsizetype i = gapStart; i < gapEnd; ++i) {
        if (segments[i].blank) {
            if (firstBlank < 0)
                firstBlank = i;
            lastBlank = i;
        }
    }
    const qsizetype headEnd = firstBlank >= 0 ? firstBlank : gapStart;
    const qsizetype tailStart = lastBlank >= 0 ? lastBlank + 1 : gapEnd;
    const QString head = join(trimmed(segments.mid(0, headEnd)));
    const QString tail = join(trimmed(segments.mid(tailStart)));
    date = dateFirst ? head : tail;
    time = dateFirst ? tail : head;
    return true;
}

struct Formats
{
    QLocale locale;
    QString full;
    QString date;
    QString time;
};

Formats makeFormats(const QString &custom)
{
    Formats formats;
    QList<Segment> date = withoutZone(tokenize(formats.locale.dateFormat(QLocale::ShortFormat)));
    widenYear(date);
    formats.date = join(date);
    formats.time = join(withoutZone(tokenize(formats.locale.timeFormat(QLocale::LongFormat))));
    formats.full = formats.date + u' ' + formats.time;
    if (custom.trimmed().isEmpty())
        return formats;

    // A site's own format is taken as it stands but for a zone, since it is
    // there to match what its server writes.
    const QList<Segment> segments = withoutZone(tokenize(custom.trimmed()));
    formats.full = join(segments);
    QString datePart, timePart;
    if (splitFormat(segments, datePart, timePart)) {
        formats.date = datePart;
        formats.time = timePart;
    } else if (std::none_of(segments.cbegin(), segments.cend(),
                            [](const Segment &s) { return s.kind == Kind::Time; })) {
        formats.date = formats.full;
    } else if (std::none_of(segments.cbegin(), segments.cend(),
                            [](const Segment &s) { return s.kind == Kind::Date; })) {
        formats.time = formats.full;
    }
    return formats;
}

Formats &current()
{
    static Formats formats = makeFormats({});
    return formats;
}

QTime wholeSeconds(const QTime &time)
{
    return QTime(time.hour(), time.minute(), time.second());
}

} // namespace

void DateText::setFormat(const QString &qtDateTimeFormat)
{
    current() = makeFormats(qtDateTimeFormat);
}

QString DateText::format()
{
    return current().full;
}

QString DateText::dateFormat()
{
    return current().date;
}

QString DateText::timeFormat()
{
    return current().time;
}

QDateTime DateText::ZeroDate()
{
    return QDateTime(zeroDay, QTime(0, 0), Qt::UTC);
}

bool DateText::IsZeroDate(const QDateTime &value)
{
    return !value.isValid() || (value.date() == zeroDay && value.time() < QTime(0, 0, 1));
}

QString DateText::DateToText(const QDateTime &value)
{
    const Formats &formats = current();
    if (IsZeroDate(value))
        return formats.locale.toString(QTime(0, 0), formats.time);
    const QDate date = value.date();
    const QTime time = wholeSeconds(value.time());
    if (time == QTime(0, 0))
        return formats.locale.toString(date, formats.date);
    if (date == zeroDay)
        return formats.locale.toString(time, formats.time);
    return formats.locale.toString(QDateTime(date, time, Qt::UTC), formats.full);
}

QDateTime DateText::TextToDate(const QString &text, bool *ok)
{
    const Formats &formats = current();
    const QString trimmedText = text.trimmed();
    QDateTime result;
    if (!trimmedText.isEmpty()) {
        // Read as UTC so that a wall-clock time which the local zone skips in
        // spring is still a valid value.
        const QDateTime full = formats.locale.toDateTime(trimmedText + u" UTC"_s, formats.full + u" t"_s);
        if (full.isValid()) {
            result = QDateTime(full.date(), wholeSeconds(full.time()), Qt::UTC);
        } else if (const QDate date = formats.locale.toDate(trimmedText, formats.date); date.isValid()) {
            result = QDateTime(date, QTime(0, 0), Qt::UTC);
        } else if (const QTime time = formats.locale.toTime(trimmedText, formats.time); time.isValid()) {
            result = QDateTime(zeroDay, wholeSeconds(time), Qt::UTC);
        }
    }
    if (ok)
        *ok = result.isValid();
    return result.isValid() ? result : ZeroDate();
}

QString DateText::FormatDateMinute(const QDateTime &value)
{
    const QDateTime shown = value.isValid() ? value : ZeroDate();
    return QLocale::c().toString(shown, u"yyyy/MM/dd HH:mm"_s);
}

QDateTime DateText::TruncateToMinute(const QDateTime &value)
{
    if (!value.isValid())
        return ZeroDate();
    return QDateTime(value.date(), QTime(value.time().hour(), value.time().minute()), Qt::UTC);
}
