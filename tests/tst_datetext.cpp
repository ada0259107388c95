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
        // Spring forward skips 02:00-03:00 here on 2024-03-31: a wall-clock date
        // in that hour must still read.
        qputenv("TZ", "Europe/Paris");
        tzset();
    }

    void cleanup()
    {
        QLocale::setDefault(QLocale::c());
        DateText::setFormat({});
    }

    void formats_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("custom");
        QTest::addColumn<QString>("dateFormat");
        QTest::addColumn<QString>("timeFormat");

        QTest::newRow("zone after, day period")
            << u"en_US"_s << QString() << u"M/d/yyyy"_s << u"h:mm:ss AP"_s;
        QTest::newRow("day period first")
            << u"ko_KR"_s << QString() << u"yyyy. M. d."_s << u"AP h시 m분 s초"_s;
        QTest::newRow("time first") << u"C"_s << u"HH:mm:ss dd/MM/yyyy"_s << u"dd/MM/yyyy"_s << u"HH:mm:ss"_s;
        QTest::newRow("quoted letters are not fields")
            << u"C"_s << u"dd/MM/yyyy 'at' HH:mm:ss"_s << u"dd/MM/yyyy"_s << u"HH:mm:ss"_s;
        QTest::newRow("site's zone dropped, its year kept")
            << u"C"_s << u"dd.MM.yy HH:mm:ss t"_s << u"dd.MM.yy"_s << u"HH:mm:ss"_s;
    }

    void formats()
    {
        QFETCH(QString, locale);
        QFETCH(QString, custom);
        QFETCH(QString, dateFormat);
        QFETCH(QString, timeFormat);

        QLocale::setDefault(QLocale(locale));
        DateText::setFormat(custom);
        QCOMPARE(DateText::dateFormat(), dateFormat);
        QCOMPARE(DateText::timeFormat(), timeFormat);
        QVERIFY(!DateText::format().contains(u" t"_s));
        // Century, afternoon and seconds survive the way back; a site's own
        // two-digit year is its choice and cannot.
        if (!dateFormat.contains(u"yyyy"_s))
            return;
        for (const QDateTime &value :
             {at(1999, 11, 2, 23, 4, 5), at(2024, 2, 29, 13, 0, 59), at(2024, 2, 29)}) {
            bool ok = false;
            QCOMPARE(DateText::TextToDate(DateText::DateToText(value), &ok), value);
            QVERIFY(ok);
        }
    }

    void threeForms_data()
    {
        QTest::addColumn<QDateTime>("value");
        QTest::addColumn<QString>("text");

        QTest::newRow("date and time") << at(2024, 12, 31, 23, 59, 58) << u"31/12/2024 23:59:58"_s;
        QTest::newRow("midnight gives the date alone") << at(2024, 1, 5) << u"05/01/2024"_s;
        QTest::newRow("zero day gives the time alone") << at(1899, 12, 30, 7, 8, 9) << u"07:08:09"_s;
        QTest::newRow("zero date") << DateText::ZeroDate() << u"00:00:00"_s;
        QTest::newRow("before the zero day") << at(1899, 12, 29, 12) << u"29/12/1899 12:00:00"_s;
        QTest::newRow("skipped local hour") << at(2024, 3, 31, 2, 30) << u"31/03/2024 02:30:00"_s;
    }

    void threeForms()
    {
        QFETCH(QDateTime, value);
        QFETCH(QString, text);

        DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s);
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

    // The minute's text has a fixed slash whatever the regional settings say; an unset date reads as zero.
    void minuteHelpers()
    {
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
