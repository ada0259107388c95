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

// A format made only of numbers, day periods and literal separators, read
// without the locale's general parser, which is slow on every call.
class NumericFormat
{
public:
    explicit NumericFormat(const QString &format = QString(), const QLocale &locale = QLocale::c())
    {
        compile(format, locale);
    }

    bool usable() const { return m_usable; }
    // Fills the fields the format names; false when the text does not fit it.
    bool read(QStringView text, int &year, int &month, int &day, int &hour, int &minute, int &second) const;

private:
    enum Kind {
        Literal,
        Year2,
        Year4,
        Month,
        MonthName,
        Day,
        DayName,
        Hour24,
        Hour12,
        Minute,
        Second,
        DayPeriod
    };
    struct Token
    {
        Kind kind;
        QString literal;
    };
    void compile(const QString &format, const QLocale &locale);
    // The month a name at the start of the text stands for, and its length.
    int matchName(QStringView text, const QStringList &names, qsizetype &length) const;

    QList<Token> m_tokens;
    QStringList m_shortMonths, m_longMonths, m_shortDays, m_longDays;
    bool m_usable = false;
};

int NumericFormat::matchName(QStringView text, const QStringList &names, qsizetype &length) const
{
    int best = 0;
    length = 0;
    for (int i = 0; i < names.size(); ++i)
        if (names[i].size() > length && text.startsWith(names[i], Qt::CaseInsensitive)) {
            best = i + 1;
            length = names[i].size();
        }
    return best;
}

void NumericFormat::compile(const QString &format, const QLocale &locale)
{
    for (int i = 1; i <= 12; ++i) {
        m_shortMonths << locale.monthName(i, QLocale::ShortFormat);
        m_longMonths << locale.monthName(i, QLocale::LongFormat);
    }
    for (int i = 1; i <= 7; ++i) {
        m_shortDays << locale.dayName(i, QLocale::ShortFormat);
        m_longDays << locale.dayName(i, QLocale::LongFormat);
    }
    m_usable = !format.isEmpty();
    for (qsizetype i = 0; i < format.size() && m_usable;) {
        const QChar c = format[i];
        qsizetype run = 1;
        while (i + run < format.size() && format[i + run] == c)
            ++run;
        if (c == QLatin1Char('\'')) {
            const qsizetype end = format.indexOf(QLatin1Char('\''), i + 1);
            if (end < 0) {
                m_usable = false;
                break;
            }
            m_tokens.append(Token{Literal, format.mid(i + 1, end - i - 1)});
            i = end + 1;
            continue;
        }
        switch (c.unicode()) {
        case 'y':
            m_usable = run == 2 || run == 4;
            m_tokens.append(Token{run == 2 ? Year2 : Year4, QString()});
            break;
        case 'M':
            m_usable = run <= 4;
            m_tokens.append(Token{run <= 2 ? Month : MonthName, run == 3 ? u"3"_s : u"4"_s});
            break;
        case 'd':
            m_usable = run <= 4;
            m_tokens.append(Token{run <= 2 ? Day : DayName, run == 3 ? u"3"_s : u"4"_s});
            break;
        case 'H':
            m_usable = run <= 2;
            m_tokens.append(Token{Hour24, QString()});
            break;
        case 'h':
            m_usable = run <= 2;
            m_tokens.append(Token{Hour12, QString()});
            break;
        case 'm':
            m_usable = run <= 2;
            m_tokens.append(Token{Minute, QString()});
            break;
        case 's':
            m_usable = run <= 2;
            m_tokens.append(Token{Second, QString()});
            break;
        case 'A':
        case 'a':
            if (i + 1 < format.size() &&
                (format[i + 1] == QLatin1Char('P') || format[i + 1] == QLatin1Char('p'))) {
                m_tokens.append(Token{DayPeriod, QString()});
                run = 2;
            } else {
                m_usable = false;
            }
            break;
        default:
            if (c.isLetter()) {
                m_usable = false;
            } else {
                m_tokens.append(Token{Literal, format.mid(i, run)});
            }
            break;
        }
        i += run;
    }
    // An hour on the 12-hour clock needs its day period.
    bool hour12 = false, period = false;
    for (const Token &token : std::as_const(m_tokens)) {
        hour12 = hour12 || token.kind == Hour12;
        period = period || token.kind == DayPeriod;
    }
    m_usable = m_usable && hour12 == period;
}

bool NumericFormat::read(QStringView text, int &year, int &month, int &day, int &hour, int &minute,
                         int &second) const
{
    qsizetype at = 0;
    int pm = -1;
    for (qsizetype t = 0; t < m_tokens.size(); ++t) {
        const Token &token = m_tokens[t];
        if (token.kind == Literal) {
            if (!text.mid(at).startsWith(token.literal))
                return false;
            at += token.literal.size();
            continue;
        }
        if (token.kind == MonthName || token.kind == DayName) {
            const bool shortForm = token.literal == QLatin1String("3");
            const QStringList &names = token.kind == MonthName ? (shortForm ? m_shortMonths : m_longMonths)
                                                               : (shortForm ? m_shortDays : m_longDays);
            qsizetype length = 0;
            const int index = matchName(text.mid(at), names, length);
            if (index == 0)
                return false;
            if (token.kind == MonthName)
                month = index;
            at += length;
            continue;
        }
        if (token.kind == DayPeriod) {
            const QStringView rest = text.mid(at);
            if (rest.startsWith(u"AM", Qt::CaseInsensitive))
                pm = 0;
            else if (rest.startsWith(u"PM", Qt::CaseInsensitive))
                pm = 1;
            else
                return false;
            at += 2;
            continue;
        }
        // A field runs over its digits; two fields side by side take two digits
        // each (four for a long year).
        const bool packed = t + 1 < m_tokens.size() && m_tokens[t + 1].kind != Literal &&
                            m_tokens[t + 1].kind != DayPeriod && m_tokens[t + 1].kind != MonthName &&
                            m_tokens[t + 1].kind != DayName;
        const qsizetype limit = token.kind == Year4 ? 4 : 2;
        qsizetype digits = 0;
        int value = 0;
        while (at < text.size() && text[at].isDigit() &&
               (digits < limit || (!packed && token.kind == Year4))) {
            value = value * 10 + text[at].digitValue();
            ++at;
            ++digits;
            if (packed && digits == limit)
                break;
        }
        if (digits == 0)
            return false;
        switch (token.kind) {
        case Year2:
            year = 1900 + value;
            break;
        case Year4:
            year = value;
            break;
        case Month:
            month = value;
            break;
        case Day:
            day = value;
            break;
        case Hour24:
        case Hour12:
            hour = value;
            break;
        case Minute:
            minute = value;
            break;
        case Second:
            second = value;
            break;
        default:
            break;
        }
    }
    if (at != text.size())
        return false;
    if (pm >= 0) {
        if (hour < 1 || hour > 12)
            return false;
        hour = hour % 12 + (pm ? 12 : 0);
    }
    return true;
}

struct Formats
{
    QLocale locale;
    QString full;
    QString date;
    QString time;
    NumericFormat fastFull;
    NumericFormat fastDate;
    NumericFormat fastTime;
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

void compileFast(Formats &formats)
{
    formats.fastFull = NumericFormat(formats.full, formats.locale);
    formats.fastDate = NumericFormat(formats.date, formats.locale);
    formats.fastTime = NumericFormat(formats.time, formats.locale);
}

Formats &current()
{
    static Formats formats = [] {
        Formats made = makeFormats({});
        compileFast(made);
        return made;
    }();
    return formats;
}

// The quick reading of the three forms; false when the formats need the locale.
bool readFast(const Formats &formats, QStringView text, QDateTime &result)
{
    if (!formats.fastFull.usable() || !formats.fastDate.usable() || !formats.fastTime.usable())
        return false;
    int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
    if (formats.fastFull.read(text, year, month, day, hour, minute, second)) {
        result = QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::UTC);
    } else if (formats.fastDate.read(text, year, month, day, hour, minute, second)) {
        result = QDateTime(QDate(year, month, day), QTime(0, 0), Qt::UTC);
    } else {
        year = 1899, month = 12, day = 30;
        if (formats.fastTime.read(text, year, month, day, hour, minute, second))
            result = QDateTime(QDate(1899, 12, 30), QTime(hour, minute, second), Qt::UTC);
    }
    return true;
}

QTime wholeSeconds(const QTime &time)
{
    return QTime(time.hour(), time.minute(), time.second());
}

} // namespace

void DateText::setFormat(const QString &qtDateTimeFormat)
{
    current() = makeFormats(qtDateTimeFormat);
    compileFast(current());
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
    if (!trimmedText.isEmpty() && !readFast(formats, trimmedText, result)) {
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
