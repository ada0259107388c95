#include "store/DVMessage.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QDateTime at(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return FakeClock::at(y, mo, d, h, mi, s);
}

// Records written readably: '=' stands for Chr(3) and ';' for Chr(4).
QString readable(QString text)
{
    return text.replace(QChar(3), u'=').replace(QChar(4), u';');
}

DVMessage parsed(QString readableText)
{
    DVMessage message;
    message.ToObject(readableText.replace(u'=', QChar(3)).replace(u';', QChar(4)));
    return message;
}

DVMessage fullRecord()
{
    DVMessage m;
    m.MsgID = u"M1"_s;
    m.RefID = u"R1"_s;
    m.InitID = u"I1"_s;
    m.Subject = u"Hello"_s;
    m.Message = u"a\u0000b\u0001c\u0002d"_s;
    m.MsgLevel = u"Urgent"_s;
    m.MsgDelivery = DeliveryScheduled;
    m.Attachment = u"//srv/share/a.pdf"_s;
    m.AllowReply = true;
    m.ReceiptRequired = false;
    m.CreationDate = at(2024, 5, 17, 9, 30, 15);
    m.ModificationDate = at(2024, 5, 17, 10, 0, 0);
    m.StartDate = at(2024, 5, 18);
    m.ExpirationDate = at(1899, 12, 30, 13, 45);
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
    void defaults_data();
    void defaults();
    void readsLikeItsEquivalent_data();
    void readsLikeItsEquivalent();
    void isEqual_data();
    void isEqual();
    void modificationMinute_data();
    void modificationMinute();
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
                                 << u"MID=M1;RID=R1;IID=I1;SUB=Hello;MSG=a\u0000b\u0001c\u0002d;LVL=Urgent;"
                                    "DLV=3;ATT=//srv/share/a.pdf;RLY;RCP;CRE=17/05/2024 09:30:15;"
                                    "MOD=17/05/2024 10:00:00;SDT=18/05/2024;EDT=13:45:00;DEL;RVL=2;RST=1;"
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

    // Read back, it writes the same text; the fresh object differs only by the
    // RepeatStep default that a record without RVL reads.
    const DVMessage reader = parsed(expected);
    QCOMPARE(readable(reader.ToString()), expected);
    QCOMPARE(reader.IsEqual(message), full);
    QCOMPARE(reader.ExpirationDate, message.ExpirationDate);
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

void TestDVMessage::readsLikeItsEquivalent_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("sameAs");

    QTest::newRow("later duplicate wins") << u"SUB=one;SUB=two;"_s << u"SUB=two;"_s;
    QTest::newRow("overflow keeps the earlier") << u"STA=3;STA=40000;"_s << u"STA=3;"_s;
    QTest::newRow("impossible date") << u"CRE=31/02/2024 10:00:00;SUB=s;"_s << u"SUB=s;"_s;
    QTest::newRow("date in another format") << u"EDT=2024-06-01;SUB=s;"_s << u"SUB=s;"_s;
    QTest::newRow("value tag without separator") << u"SUB;MSG=m;"_s << u"MSG=m;"_s;
    QTest::newRow("second separator cuts the value") << u"SUB=a=b;"_s << u"SUB=a;"_s;
    QTest::newRow("unknown and lower-case tags") << u"XYZ=1;sub=s;rcp;;"_s << u";"_s;
    QTest::newRow("inverse flags") << u"RCP;DEL;RLY=0;"_s << u"RLY;DEL;RCP;"_s;
    QTest::newRow("no repeat hides the step") << u"RVL=0;RST=5;"_s << u";"_s;
    QTest::newRow("status 1 not written") << u"STA=1;"_s << u";"_s;
    QTest::newRow("blanks around a number") << u"DLV= 3 ;"_s << u"DLV=3;"_s;
    QTest::newRow("digits then letters") << u"STA=12abc;"_s << u"STA=0;"_s;
    QTest::newRow("empty number") << u"STA=;"_s << u"STA=0;"_s;
    QTest::newRow("half to even") << u"RVL=2.5;DLV=3.5;"_s << u"RVL=2;DLV=4;"_s;
    QTest::newRow("16-bit edges") << u"STA=-32768;DLV=32767;"_s << u"STA=-32768;DLV=32767;"_s;
    QTest::newRow("status overflows") << u"STA=32768;"_s << u";"_s;
    QTest::newRow("step reads through 16 bits") << u"RVL=1;RST=70000;"_s << u"RVL=1;RST=2;"_s;
}

void TestDVMessage::readsLikeItsEquivalent()
{
    QFETCH(QString, text);
    QFETCH(QString, sameAs);

    QCOMPARE(readable(parsed(text).ToString()), readable(parsed(sameAs).ToString()));
}

void TestDVMessage::isEqual_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("equal");

    for (const char *ignored : {"ModificationDate", "ExpirationDate", "MsgAction", "NextRunDate"})
        QTest::newRow(ignored) << QString::fromLatin1(ignored) << true;
    for (const char *compared : {"Subject", "CreationDate", "DeleteAtExpiration", "Agent", "Status"})
        QTest::newRow(compared) << QString::fromLatin1(compared) << false;
}

void TestDVMessage::isEqual()
{
    QFETCH(QString, field);
    QFETCH(bool, equal);

    const DVMessage original = fullRecord();
    DVMessage other = original;
    if (field == u"ModificationDate"_s)
        other.ModificationDate = other.ModificationDate.addDays(3);
    else if (field == u"ExpirationDate"_s)
        other.ExpirationDate = at(2030, 1, 1);
    else if (field == u"MsgAction"_s)
        other.MsgAction = ActionQueued;
    else if (field == u"NextRunDate"_s)
        other.NextRunDate = DateText::ZeroDate();
    else if (field == u"Subject"_s)
        other.Subject = other.Subject.toUpper();
    else if (field == u"CreationDate"_s)
        other.CreationDate = other.CreationDate.addSecs(1);
    else if (field == u"DeleteAtExpiration"_s)
        other.DeleteAtExpiration = true; // as the store always gives it
    else if (field == u"Agent"_s)
        other.Agent.clear(); // never stored
    else
        other.Status = StatusActive;
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
    // The zero date goes out as "00:00:00" and reads back as unset.
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

void TestDVMessage::secondParseKeepsUntouchedDates()
{
    // The reset leaves ModificationDate and ExpirationDate alone, so a reused
    // object keeps them from its previous text when the new one lacks them.
    DVMessage m = parsed(u"MID=A;MOD=01/02/2024 08:00:00;EDT=01/03/2024;"_s);
    m.ToObject(u"MID\u0003B\u0004"_s);
    QCOMPARE(m.MsgID, u"B"_s);
    QCOMPARE(m.ModificationDate, at(2024, 2, 1, 8));
    QCOMPARE(m.ExpirationDate, at(2024, 3, 1));
}

QTEST_GUILESS_MAIN(TestDVMessage)
#include "tst_dvmessage.moc"
