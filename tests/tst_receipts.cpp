// What leaves for the server on the user's behalf, and the receipts that come back.
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "store/MessageCodes.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

DVMessage mine(const QString &id)
{
    DVMessage m;
    m.MsgID = id;
    m.Subject = u"Mine"_s;
    m.ExpirationDate = FakeClock::at(2026, 12, 1);
    m.UserID = u"jdoe"_s;
    m.Status = StatusActive;
    return m;
}

QString receipt(const QString &receiptID, const QString &msgID, const QString &user, const QString &name,
                bool notify)
{
    const QString readAt = DateText::DateToText(FakeClock::at(2026, 11, 23, 9, 59, 0));
    return u"%1|%2|%3|%4|ws-9|%5||%6"_s
        .arg(receiptID, msgID, user, name, readAt, notify ? u"True"_s : u"False"_s)
        .replace(u'|', QChar(2));
}

} // namespace

class TestReceipts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outgoingRecordsAndReceipts()
    {
        StoreFixture store;
        RecordingFrontend frontend;
        QStringList sent;
        Receipts receipts{[&sent](const QString &p) { return !(sent << p).isEmpty(); }};
        ReplaceUserInfos(UserInfos(u"jdoe"_s));

        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroupUsers VALUES ('team', 'a'), ('team', 'b')"_s));
        DVMessage msg = mine(u"N1"_s);
        msg.Target = u"team,c"_s;
        // The last command's fields: message id, expiration, record, delivery flag.
        const auto fields = [&sent] { return sent.last().section(QChar(1), 1).split(QChar(2)); };
        const auto record = [&fields] {
            DVMessage sent;
            sent.ToObject(fields()[2]);
            return sent;
        };
        receipts.MsgNew(msg);
        QCOMPARE((QStringList{fields()[0], fields()[3], record().Target}),
                 (QStringList{u"N1"_s, u"0"_s, u"a,b,c"_s}));

        // A scheduled message lives on: "1".
        msg.MsgDelivery = DeliveryScheduled;
        frontend.answerBox(ResultYes);
        receipts.MsgEdit(msg);
        QCOMPARE(std::pair(fields()[3], record().Status), std::pair(u"1"_s, qint32(StatusResubmitted)));
        frontend.answerBox(ResultNo);
        receipts.PkgEdit(msg);
        QVERIFY(sent.last().startsWith(u"PKG"_s));
        QCOMPARE(record().Status, qint32(StatusActive));

        // A reply is kept in Outbox before it leaves.
        DVMessage reply = mine(u"RE1"_s);
        reply.MsgLevel = u"sysKVReply"_s;
        reply.Target = u"alee"_s;
        receipts.ReplyNew(reply, false);
        QVERIFY(sent.last().startsWith(u"RPL\u0001RE1"_s));
        QVERIFY(sent.last().endsWith(u"\u0002alee"_s));
        QVERIFY(MessageExist(ClientDB(), u"Outbox"_s, u"RE1"_s));

        sent.clear();
        QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, mine(u"M1"_s), false, false));
        receipts.GetReceipt(QStringList{receipt(u"R1"_s, u"M1"_s, u"ann"_s, u"Ann Lee"_s, true),
                                        receipt(u"R2"_s, u"GONE"_s, u"bob"_s, u"Bob"_s, true),
                                        receipt(u"R3"_s, u"M1"_s, u"cy"_s, QString(), true),
                                        receipt(u"R4"_s, u"M1"_s, u"di"_s, u"Di"_s, false), u"R0\u0002M1"_s,
                                        u"RX"_s}
                                .join(QChar(3)));
        // Only what was stored is confirmed, each id followed by the separator; a receipt needs no more
        // than its id and its message's.
        QCOMPARE(sent, QStringList{u"CRC\u0001R1\u0002R3\u0002R4\u0002R0\u0002"_s});
        QCOMPARE(StoreFixture::column(ClientDB(), u"SELECT ReceiptID FROM Receipt ORDER BY ReceiptID"_s),
                 (QStringList{u"R0"_s, u"R1"_s, u"R3"_s, u"R4"_s}));
        // One popup gathers the readers, by name or else by id.
        QCOMPARE(frontend.popups.last(), u"Message read by:\nAnn Lee\ncy"_s);

        // Once the popup is gone a new one starts.
        frontend.popupShown = false;
        receipts.GetReceipt(receipt(u"R5"_s, u"M1"_s, u"ed"_s, u"Ed"_s, true));
        QCOMPARE(frontend.popups.last(), u"Message read by:\nEd"_s);

        // A receipt seen twice fails on its key: logged, not confirmed again.
        sent.clear();
        receipts.GetReceipt(receipt(u"R5"_s, u"M1"_s, u"ed"_s, u"Ed"_s, false));
        QVERIFY(sent.isEmpty());

        // With the console's list loaded, the last one also goes to its copy.
        gSession().AllMessagesLoaded = true;
        receipts.GetReceipt(receipt(u"R6"_s, u"M1"_s, u"fi"_s, u"Fi"_s, false));
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT count(*) FROM Receipt WHERE ReceiptID = 'R6'"_s), 1);
    }
};

QTEST_GUILESS_MAIN(TestReceipts)
#include "tst_receipts.moc"
