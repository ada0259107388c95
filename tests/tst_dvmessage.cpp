#include "store/DVMessage.h"
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

} // namespace

class TestDVMessage : public QObject
{
    Q_OBJECT

private:
    FakeClock m_clock{FakeClock::at(2024, 5, 17, 9, 30, 15)};

private Q_SLOTS:
    void initTestCase() { DateText::setFormat(u"dd/MM/yyyy HH:mm:ss"_s); }

    void everyFieldRoundTripsAndOddTextsRead()
    {
        const DVMessage message{.MsgID = u"M1"_s,
                                .RefID = u"R1"_s,
                                .InitID = u"I1"_s,
                                .Subject = u"Hello"_s,
                                .Message = u"a\u0000b\u0001c\u0002d"_s,
                                .MsgLevel = u"Urgent"_s,
                                .MsgDelivery = DeliveryScheduled,
                                .Attachment = u"//srv/share/a.pdf"_s,
                                .AllowReply = true,
                                .CreationDate = at(2024, 5, 17, 9, 30, 15),
                                .ModificationDate = at(2024, 5, 17, 10, 0, 0),
                                .StartDate = at(2024, 5, 18),
                                .ExpirationDate = at(1899, 12, 30, 13, 45),
                                .RepeatValue = 2,
                                .RepeatStep = RepeatHours,
                                .UserID = u"jdoe"_s,
                                .UserName = u"J Doe"_s,
                                .MachineID = u"WS1"_s,
                                .Target = u"grp:all"_s,
                                .Status = StatusCancelled,
                                .Notify = true,
                                .ExactTime = true,
                                .MsgAction = ActionDone,
                                .NextRunDate = at(2024, 5, 18, 2),
                                .Agent = u"ag"_s};
        const QString expected = u"MID=M1;RID=R1;IID=I1;SUB=Hello;MSG=a\u0000b\u0001c\u0002d;LVL=Urgent;"
                                 "DLV=3;ATT=//srv/share/a.pdf;RLY;RCP;CRE=17/05/2024 09:30:15;"
                                 "MOD=17/05/2024 10:00:00;SDT=18/05/2024;EDT=13:45:00;DEL;RVL=2;RST=1;"
                                 "UID=jdoe;USR=J Doe;MAC=WS1;TGT=grp:all;STA=0;NOT;EXT;AGN=ag;"_s;
        QCOMPARE(readable(message.ToString()), expected);
        const DVMessage reader = parsed(expected);
        QCOMPARE(readable(reader.ToString()), expected);
        QVERIFY(reader.IsEqual(message));
        QCOMPARE(reader.ExpirationDate, message.ExpirationDate);

        // A record without dates gets the creation of now and the next run of its start.
        const DVMessage fresh = parsed(u"MID=M1;SDT=20/05/2024 08:00:00;"_s);
        QCOMPARE(std::pair(fresh.CreationDate, fresh.NextRunDate),
                 std::pair(at(2024, 5, 17, 9, 30, 15), at(2024, 5, 20, 8)));
        // Without a terminator nothing is read.
        QCOMPARE(parsed(u"MID=M1"_s).MsgID, QString());

        // Dates the store or the scheduler change, and the action, are not compared.
        for (const auto &[equal, change] :
             std::initializer_list<std::pair<bool, std::function<void(DVMessage &)>>>{
                 {true, [](DVMessage &m) { m.ModificationDate = m.ModificationDate.addDays(3); }},
                 {true, [](DVMessage &m) { m.ExpirationDate = at(2030, 1, 1); }},
                 {true, [](DVMessage &m) { m.MsgAction = ActionQueued; }},
                 {true, [](DVMessage &m) { m.NextRunDate = DateText::ZeroDate(); }},
                 {false, [](DVMessage &m) { m.Subject = m.Subject.toUpper(); }},
                 {false, [](DVMessage &m) { m.CreationDate = m.CreationDate.addSecs(1); }},
                 {false, [](DVMessage &m) { m.DeleteAtExpiration = true; }},
                 {false, [](DVMessage &m) { m.Agent.clear(); }}}) {
            DVMessage other = message;
            change(other);
            QCOMPARE(message.IsEqual(other), equal);
        }

        // The creation's minute is not written; the zero date goes as "00:00:00" and reads as unset.
        const QDateTime created = at(2024, 5, 17, 10, 15, 20), earlier = at(2024, 5, 17, 10, 14, 59);
        for (const auto &[modification, readBack] : {std::pair{at(2024, 5, 17, 10, 15, 59), created},
                                                     {earlier, earlier},
                                                     {DateText::ZeroDate(), created}}) {
            DVMessage written, back;
            std::tie(written.MsgID, written.Attachment, written.CreationDate, written.ModificationDate) =
                std::tuple(u"A"_s, u"//srv/a.doc"_s, created, modification);
            back.ToObject(written.ToString());
            QCOMPARE(back.ModificationDate, readBack);
            // The reset leaves the modification alone: a reused object keeps it, but nothing of the last
            // message's own.
            back.ToObject(u"SUB\u0003B\u0004"_s);
            QCOMPARE(std::tuple(back.ModificationDate, back.MsgID, back.Attachment),
                     std::tuple(readBack, QString(), QString()));
        }

        // Each text reads as the plainer one beside it.
        for (const auto &[text, sameAs] : std::initializer_list<std::pair<QString, QString>>{
                 {u"SUB=one;SUB=two;"_s, u"SUB=two;"_s},             // a later duplicate wins
                 {u"STA=3;STA=40000;"_s, u"STA=3;"_s},               // an overflow keeps the earlier
                 {u"CRE=31/02/2024 10:00:00;SUB=s;"_s, u"SUB=s;"_s}, // an impossible date
                 {u"SUB;MSG=m;"_s, u"MSG=m;"_s},                     // a value tag without separator
                 {u"SUB=a=b;"_s, u"SUB=a;"_s},                       // a second separator cuts the value
                 {u"XYZ=1;sub=s;rcp;;"_s, u";"_s},                   // unknown and lower-case tags
                 {u"RCP;DEL;RLY=0;"_s, u"RLY;DEL;RCP;"_s},           // inverse flags
                 {u"RVL=0;RST=5;"_s, u";"_s},                        // no repeat hides the step
                 {u"DLV= 3 ;"_s, u"DLV=3;"_s},                       // blanks around a number
                 {u"STA=12abc;"_s, u"STA=0;"_s},                     // digits then letters
                 {u"RVL=2.5;DLV=3.5;"_s, u"RVL=2;DLV=4;"_s},         // half to even
                 {u"RVL=1;RST=70000;"_s, u"RVL=1;RST=2;"_s}})        // the step reads through 16 bits
            QCOMPARE(readable(parsed(text).ToString()), readable(parsed(sameAs).ToString()));
        // The 16-bit edges read as they are.
        const DVMessage edges = parsed(u"STA=-32768;DLV=32767;"_s);
        QCOMPARE(std::pair(edges.Status, edges.MsgDelivery), std::pair(-32768, qint16(32767)));
    }
};

QTEST_GUILESS_MAIN(TestDVMessage)
#include "tst_dvmessage.moc"
