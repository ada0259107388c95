#include "store/DVMessage.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

QDateTime at(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return FakeClock::at(y, mo, d, h, mi, s);
}

// Records written readably: '=' stands for Chr(3) and ';' for Chr(4).
QString wire(QString readable)
{
    return readable.replace(u'=', QChar(3)).replace(u';', QChar(4));
}

QString readable(QString text)
{
    return text.replace(QChar(3), u'=').replace(QChar(4), u';');
}

DVMessage parsed(const QString &readableText)
{
    DVMessage message;
    message.ToObject(wire(readableText));
    return message;
}

DVMessage fullRecord()
{
    DVMessage m;
    m.MsgID = u"M1"_s;
    m.RefID = u"R1"_s;
    m.InitID = u"I1"_s;
    m.Subject = u"Hello"_s;
    m.Message = u"Body"_s;
    m.MsgLevel = u"Urgent"_s;
    m.MsgDelivery = DeliveryScheduled;
    m.Attachment = u"//srv/share/a.pdf"_s;
    m.AllowReply = true;
    m.ReceiptRequired = false;
    m.CreationDate = at(2024, 5, 17, 9, 30, 15);
    m.ModificationDate = at(2024, 5, 17, 10, 0, 0);
    m.StartDate = at(2024, 5, 18);
    m.ExpirationDate = DateText::ZeroDate();
    m.DeleteAtExpiration = false;
    m.RepeatValue = 2;
    m.RepeatStep = RepeatHours;
    m.UserID = u"jdoe"_s;
    m.UserName = u"J Doe"_s;
    m.MachineID = u"WS1"_s;
    m.Target = u"grp:all"_s;
    m.Status = StatusCancelled;
    m.Notify = true;
    m.ExactTime = true;
    m.MsgAction = ActionDone;
    m.NextRunDate = at(2024, 5, 18, 2);
    m.Agent = u"ag"_s;
    return m;
}

} // namespace

class TestDVMessage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void toString_data();
    void toString();
    void roundTrip_data();
    void roundTrip();
    void defaults_data();
    void defaults();
    void malformedLosesOnlyItself_data();
    void malformedLosesOnlyItself();
    void numericFields_data();
    void numericFields();
    void isEqual_data();
    void isEqual();
    void modificationMinute_data();
    void modificationMinute();
    void repeatPair_data();
    void repeatPair();
    void secondParseKeepsUntouchedDates();

private:
    FakeClock m_clock{FakeClock::at(2024, 5, 17, 9, 30, 15)};
};

void TestDVMessage::initTestCase()
{
    DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s);
}

void TestDVMessage::toString_data()
{
    QTest::addColumn<bool>("full");
    QTest::addColumn<QString>("expected");

    QTest::newRow("every field") << true
                                 << u"MID=M1;RID=R1;IID=I1;SUB=Hello;MSG=Body;LVL=Urgent;DLV=3;"
                                    "ATT=//srv/share/a.pdf;RLY;RCP;CRE=17/05/2024 09:30:15;"
                                    "MOD=17/05/2024 10:00:00;SDT=18/05/2024;EDT=00:00:00;DEL;RVL=2;RST=1;"
                                    "UID=jdoe;USR=J Doe;MAC=WS1;TGT=grp:all;STA=0;NOT;EXT;AGN=ag;"_s;
    // A record built field by field has no defaults: both inverse flags and STA show.
    QTest::newRow("fresh object") << false
                                  << u"MID=;SUB=;RCP;CRE=00:00:00;SDT=00:00:00;EDT=00:00:00;DEL;"
                                     "UID=;USR=;MAC=;STA=0;"_s;
}

void TestDVMessage::toString()
{
    QFETCH(bool, full);
    QFETCH(QString, expected);

    const DVMessage message = full ? fullRecord() : DVMessage();
    QCOMPARE(readable(message.ToString()), expected);
}

void TestDVMessage::roundTrip_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("every field") << readable(fullRecord().ToString());
    QTest::newRow("defaults") << u"MID=M2;SUB=s;CRE=17/05/2024 09:30:15;SDT=00:00:00;EDT=00:00:00;"
                                 "UID=u;USR=n;MAC=m;"_s;
    QTest::newRow("time only and date only")
        << u"MID=M3;SUB=s;CRE=01/01/2000 00:00:01;SDT=13:45:00;EDT=31/12/2099;UID=u;USR=n;MAC=m;"_s;
    QTest::newRow("status written")
        << u"MID=M4;SUB=s;CRE=17/05/2024 09:30:15;SDT=00:00:00;EDT=00:00:00;UID=u;USR=n;MAC=m;STA=5;"_s;
    QTest::newRow("separators below 3 inside values")
        << u"MID=M5;SUB=a\u0000b;MSG=x\u0001y\u0002z;CRE=17/05/2024 09:30:15;SDT=00:00:00;"
           "EDT=00:00:00;UID=u;USR=n;MAC=m;"_s;
}

void TestDVMessage::roundTrip()
{
    QFETCH(QString, text);

    const DVMessage first = parsed(text);
    QCOMPARE(readable(first.ToString()), text);
    DVMessage second;
    second.ToObject(first.ToString());
    QVERIFY(second.IsEqual(first));
    QCOMPARE(second.ModificationDate, first.ModificationDate);
    QCOMPARE(second.ExpirationDate, first.ExpirationDate);
    QCOMPARE(second.NextRunDate, first.NextRunDate);
}

void TestDVMessage::defaults_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("msgID");
    QTest::addColumn<QDateTime>("modification");
    QTest::addColumn<QDateTime>("nextRun");

    const QDateTime now = at(2024, 5, 17, 9, 30, 15);
    const QDateTime zero = DateText::ZeroDate();
    QTest::newRow("one field") << u"MID=M1;"_s << u"M1"_s << now << zero;
    QTest::newRow("start date") << u"MID=M1;SDT=20/05/2024 08:00:00;"_s << u"M1"_s << now
                                << at(2024, 5, 20, 8);
    // Without a terminator nothing is read and the fix-ups do not run.
    QTest::newRow("no terminator") << u"MID=M1"_s << QString() << zero << zero;
    QTest::newRow("empty") << QString() << QString() << zero << zero;
}

void TestDVMessage::defaults()
{
    QFETCH(QString, text);
    QFETCH(QString, msgID);
    QFETCH(QDateTime, modification);
    QFETCH(QDateTime, nextRun);

    const DVMessage m = parsed(text);
    QCOMPARE(m.MsgID, msgID);
    QCOMPARE(m.ReceiptRequired, true);
    QCOMPARE(m.DeleteAtExpiration, true);
    QCOMPARE(m.RepeatStep, qint32(RepeatDays));
    QCOMPARE(m.Status, qint32(StatusActive));
    QCOMPARE(m.CreationDate, at(2024, 5, 17, 9, 30, 15));
    QCOMPARE(m.ModificationDate, modification);
    QCOMPARE(m.NextRunDate, nextRun);
}

void TestDVMessage::malformedLosesOnlyItself_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("sameAs");

    QTest::newRow("later duplicate wins") << u"MID=A;SUB=one;SUB=two;"_s << u"MID=A;SUB=two;"_s;
    QTest::newRow("overflowing duplicate keeps the earlier")
        << u"MID=A;STA=3;STA=40000;"_s << u"MID=A;STA=3;"_s;
    QTest::newRow("impossible date") << u"MID=A;CRE=31/02/2024 10:00:00;SUB=s;"_s << u"MID=A;SUB=s;"_s;
    QTest::newRow("date in another format") << u"MID=A;EDT=2024-06-01;SUB=s;"_s << u"MID=A;SUB=s;"_s;
    QTest::newRow("value tag without separator") << u"MID=A;SUB;MSG=m;"_s << u"MID=A;MSG=m;"_s;
    QTest::newRow("second separator cuts the value") << u"MID=A;SUB=a=b;"_s << u"MID=A;SUB=a;"_s;
    QTest::newRow("unknown and lower-case tags") << u"MID=A;XYZ=1;sub=s;rcp;"_s << u"MID=A;"_s;
    QTest::newRow("empty fields") << u";;MID=A;;"_s << u"MID=A;"_s;
    QTest::newRow("inverse flags") << u"MID=A;RCP;DEL;RLY;NOT;EXT;"_s << u"MID=A;EXT;NOT;RLY;DEL;RCP;"_s;
    QTest::newRow("flag with a value") << u"MID=A;RLY=0;"_s << u"MID=A;RLY;"_s;
}

void TestDVMessage::malformedLosesOnlyItself()
{
    QFETCH(QString, text);
    QFETCH(QString, sameAs);

    QCOMPARE(readable(parsed(text).ToString()), readable(parsed(sameAs).ToString()));
}

void TestDVMessage::numericFields_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("value");
    QTest::addColumn<qint32>("expected");

    QTest::newRow("plain") << u"STA"_s << u"4"_s << 4;
    QTest::newRow("blanks around") << u"DLV"_s << u" 3 "_s << 3;
    QTest::newRow("negative") << u"DLV"_s << u"-2"_s << -2;
    QTest::newRow("not a number") << u"STA"_s << u"abc"_s << 0;
    QTest::newRow("digits then letters") << u"STA"_s << u"12abc"_s << 0;
    QTest::newRow("empty") << u"STA"_s << QString() << 0;
    QTest::newRow("half rounds to even down") << u"RVL"_s << u"2.5"_s << 2;
    QTest::newRow("half rounds to even up") << u"RVL"_s << u"3.5"_s << 4;
    QTest::newRow("largest") << u"STA"_s << u"32767"_s << 32767;
    QTest::newRow("smallest") << u"STA"_s << u"-32768"_s << -32768;
    QTest::newRow("status overflows") << u"STA"_s << u"32768"_s << 1;
    QTest::newRow("status underflows") << u"STA"_s << u"-32769"_s << 1;
    // The 32-bit field reads through 16 bits too.
    QTest::newRow("step overflows") << u"RST"_s << u"70000"_s << 2;
}

void TestDVMessage::numericFields()
{
    QFETCH(QString, tag);
    QFETCH(QString, value);
    QFETCH(qint32, expected);

    const DVMessage m = parsed(u"MID=A;"_s + tag + u'=' + value + u';');
    const qint32 got = tag == u"STA"_s   ? m.Status
                       : tag == u"DLV"_s ? m.MsgDelivery
                       : tag == u"RVL"_s ? m.RepeatValue
                                         : m.RepeatStep;
    QCOMPARE(got, expected);
}

void TestDVMessage::isEqual_data()
{
    QTest::addColumn<int>("change");
    QTest::addColumn<bool>("equal");

    QTest::newRow("ModificationDate") << 0 << true;
    QTest::newRow("ExpirationDate") << 1 << true;
    QTest::newRow("MsgAction") << 2 << true;
    QTest::newRow("NextRunDate") << 3 << true;
    QTest::newRow("Message") << 4 << false;
    QTest::newRow("Subject case") << 5 << false;
    QTest::newRow("CreationDate by a second") << 6 << false;
    QTest::newRow("StartDate") << 7 << false;
    QTest::newRow("DeleteAtExpiration") << 8 << false;
    QTest::newRow("Agent") << 9 << false;
    QTest::newRow("RepeatStep") << 10 << false;
    QTest::newRow("Status") << 11 << false;
    QTest::newRow("ExactTime") << 12 << false;
    QTest::newRow("Target") << 13 << false;
}

void TestDVMessage::isEqual()
{
    QFETCH(int, change);
    QFETCH(bool, equal);

    const std::function<void(DVMessage &)> changes[] = {
        [](DVMessage &m) { m.ModificationDate = m.ModificationDate.addDays(3); },
        [](DVMessage &m) { m.ExpirationDate = at(2030, 1, 1); },
        [](DVMessage &m) { m.MsgAction = ActionQueued; },
        [](DVMessage &m) { m.NextRunDate = at(2030, 1, 1); },
        [](DVMessage &m) { m.Message += u'.'; },
        [](DVMessage &m) { m.Subject = m.Subject.toUpper(); },
        [](DVMessage &m) { m.CreationDate = m.CreationDate.addSecs(1); },
        [](DVMessage &m) { m.StartDate = DateText::ZeroDate(); },
        [](DVMessage &m) { m.DeleteAtExpiration = true; },
        [](DVMessage &m) { m.Agent.clear(); },
        [](DVMessage &m) { m.RepeatStep = RepeatDays; },
        [](DVMessage &m) { m.Status = StatusActive; },
        [](DVMessage &m) { m.ExactTime = false; },
        [](DVMessage &m) { m.Target += u','; },
    };

    const DVMessage original = fullRecord();
    DVMessage other = original;
    changes[change](other);
    QCOMPARE(original.IsEqual(other), equal);
    QCOMPARE(other.IsEqual(original), equal);
}

void TestDVMessage::modificationMinute_data()
{
    QTest::addColumn<QDateTime>("modification");
    QTest::addColumn<bool>("written");
    QTest::addColumn<QDateTime>("readBack");

    const QDateTime created = at(2024, 5, 17, 10, 15, 20);
    QTest::newRow("same minute") << at(2024, 5, 17, 10, 15, 59) << false << created;
    QTest::newRow("next minute") << at(2024, 5, 17, 10, 16) << true << at(2024, 5, 17, 10, 16);
    QTest::newRow("earlier minute") << at(2024, 5, 17, 10, 14, 59) << true << at(2024, 5, 17, 10, 14, 59);
    QTest::newRow("same minute next day") << at(2024, 5, 18, 10, 15) << true << at(2024, 5, 18, 10, 15);
    // The zero date is written as "00:00:00" and read back as unset.
    QTest::newRow("zero") << DateText::ZeroDate() << true << created;
}

void TestDVMessage::modificationMinute()
{
    QFETCH(QDateTime, modification);
    QFETCH(bool, written);
    QFETCH(QDateTime, readBack);

    DVMessage m;
    m.CreationDate = at(2024, 5, 17, 10, 15, 20);
    m.ModificationDate = modification;
    const QString text = m.ToString();
    QCOMPARE(text.contains(u"MOD\u0003"_s), written);

    DVMessage reader;
    reader.ToObject(text);
    QCOMPARE(reader.ModificationDate, readBack);
}

void TestDVMessage::repeatPair_data()
{
    QTest::addColumn<int>("repeatValue");
    QTest::addColumn<int>("repeatStep");
    QTest::addColumn<bool>("written");
    QTest::addColumn<int>("readStep");

    QTest::newRow("no repeat hides the step") << 0 << int(RepeatYears) << false << int(RepeatDays);
    QTest::newRow("negative count") << -1 << int(RepeatYears) << false << int(RepeatDays);
    QTest::newRow("repeat writes both") << 3 << int(RepeatYears) << true << int(RepeatYears);
    QTest::newRow("minutes") << 1 << int(RepeatMinutes) << true << int(RepeatMinutes);
}

void TestDVMessage::repeatPair()
{
    QFETCH(int, repeatValue);
    QFETCH(int, repeatStep);
    QFETCH(bool, written);
    QFETCH(int, readStep);

    DVMessage m = fullRecord();
    m.RepeatValue = qint16(repeatValue);
    m.RepeatStep = repeatStep;
    const QString text = m.ToString();
    QCOMPARE(text.contains(u"RVL\u0003"_s), written);
    QCOMPARE(text.contains(u"RST\u0003"_s), written);

    DVMessage reader;
    reader.ToObject(text);
    QCOMPARE(reader.RepeatStep, readStep);
    QCOMPARE(reader.RepeatValue, qint16(written ? repeatValue : 0));
}

void TestDVMessage::secondParseKeepsUntouchedDates()
{
    // The reset leaves ModificationDate and ExpirationDate alone, so a reused
    // object keeps them from its previous text when the new one lacks them.
    DVMessage m;
    m.ToObject(wire(u"MID=A;MOD=01/02/2024 08:00:00;EDT=01/03/2024;"_s));
    m.ToObject(wire(u"MID=B;CRE=05/05/2024 05:05:05;"_s));
    QCOMPARE(m.MsgID, u"B"_s);
    QCOMPARE(m.ModificationDate, at(2024, 2, 1, 8));
    QCOMPARE(m.ExpirationDate, at(2024, 3, 1));
}

QTEST_GUILESS_MAIN(TestDVMessage)
#include "tst_dvmessage.moc"
