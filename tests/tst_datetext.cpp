#include "store/DateText.h"

#include <QLocale>
#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

QDateTime at(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

} // namespace

class TestDateText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // 02:00-03:00 of 2024-03-31 is skipped here: a wall-clock date in that hour must still read.
        qputenv("TZ", "Europe/Paris");
        tzset();
    }

    void cleanup()
    {
        QLocale::setDefault(QLocale::c());
        DateText::setFormat({});
    }

    void formatsThreeFormsAndMinutes()
    {
        // Zone after and a day period; the day period first; the time first; quoted letters that
        // are no fields; a site's zone dropped and its two-digit year kept.
        for (const auto &[locale, custom, dateFormat, timeFormat] :
             {std::tuple(u"en_US"_s, QString(), u"M/d/yyyy"_s, u"h:mm:ss AP"_s),
              std::tuple(u"ko_KR"_s, QString(), u"yyyy. M. d."_s, u"AP h시 m분 s초"_s),
              std::tuple(u"C"_s, u"HH:mm:ss dd/MM/yyyy"_s, u"dd/MM/yyyy"_s, u"HH:mm:ss"_s),
              std::tuple(u"C"_s, u"dd/MM/yyyy 'at' HH:mm:ss"_s, u"dd/MM/yyyy"_s, u"HH:mm:ss"_s),
              std::tuple(u"C"_s, u"dd.MM.yy HH:mm:ss t"_s, u"dd.MM.yy"_s, u"HH:mm:ss"_s)}) {
            QLocale::setDefault(QLocale(locale));
            DateText::setFormat(custom);
            QCOMPARE(std::pair(DateText::dateFormat(), DateText::timeFormat()),
                     std::pair(dateFormat, timeFormat));
            QVERIFY(!DateText::format().contains(u" t"_s));
            // Century, afternoon and seconds survive the way back, unless the site chose two-digit years.
            if (!dateFormat.contains(u"yyyy"_s))
                continue;
            for (const QDateTime &value :
                 {at(1999, 11, 2, 23, 4, 5), at(2024, 2, 29, 13, 0, 59), at(2024, 2, 29)}) {
                bool ok = false;
                QCOMPARE(DateText::TextToDate(DateText::DateToText(value), &ok), value);
                QVERIFY(ok);
            }
        }

        QLocale::setDefault(QLocale::c());
        DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s);
        // Midnight gives the date alone, the zero day the time alone.
        for (const auto &[value, text] :
             {std::pair(at(2024, 12, 31, 23, 59, 58), u"31/12/2024 23:59:58"_s),
              std::pair(at(2024, 1, 5), u"05/01/2024"_s), std::pair(at(1899, 12, 30, 7, 8, 9), u"07:08:09"_s),
              std::pair(DateText::ZeroDate(), u"00:00:00"_s),
              std::pair(at(1899, 12, 29, 12), u"29/12/1899 12:00:00"_s),
              std::pair(at(2024, 3, 31, 2, 30), u"31/03/2024 02:30:00"_s)}) {
            QCOMPARE(DateText::DateToText(value), text);
            bool ok = false;
            QCOMPARE(DateText::TextToDate(u"  "_s + text + u' ', &ok), value);
            QVERIFY(ok);
            // Milliseconds are dropped both ways.
            QCOMPARE(DateText::DateToText(value.addMSecs(999)), text);
            // What cannot be read gives the zero date.
            for (const QString &bad :
                 QStringList{QString(), u"31/02/2024 10:00:00"_s, u"2024-02-01 10:00:00"_s, text + u" x"_s}) {
                QCOMPARE(DateText::TextToDate(bad, &ok), DateText::ZeroDate());
                QVERIFY(!ok);
            }
        }

        // The minute's text has a fixed slash whatever the region; an unset date reads as zero.
        QLocale::setDefault(QLocale(u"de_DE"_s));
        for (const auto &[value, minuteText, truncated] :
             {std::tuple{at(2024, 12, 31, 23, 59, 59, 999), u"2024/12/31 23:59"_s, at(2024, 12, 31, 23, 59)},
              std::tuple{at(2024, 1, 2, 3, 4, 5), u"2024/01/02 03:04"_s, at(2024, 1, 2, 3, 4)},
              std::tuple{QDateTime(), u"1899/12/30 00:00"_s, DateText::ZeroDate()}}) {
            QCOMPARE(DateText::FormatDateMinute(value), minuteText);
            QCOMPARE(DateText::TruncateToMinute(value), truncated);
            QCOMPARE(DateText::TruncateToMinute(value).timeSpec(), Qt::UTC);
        }
    }
};

QTEST_GUILESS_MAIN(TestDateText)
#include "tst_datetext.moc"
