// What leaves for the server on the user's behalf, and the receipts that come back.
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "store/MessageCodes.h"
#include "support/RecordingFrontend.h"
#include "support/StoreFixture.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestReceipts : public QObject
{
    Q_OBJECT

private:
    struct Fixture : StoreFixture
    {
        RecordingFrontend frontend;
        QStringList sent;
        Receipts receipts{[this](const QString &p) { return !(sent << p).isEmpty(); }};

        Fixture() { ReplaceUserInfos(UserInfos(u"jdoe"_s)); }
    };

    static DVMessage mine(const QString &id)
    {
        DVMessage m;
        m.MsgID = id;
        m.Subject = u"Mine"_s;
        m.ExpirationDate = FakeClock::at(2026, 12, 1);
        m.UserID = u"jdoe"_s;
        m.Status = StatusActive;
        return m;
    }

    static QString receipt(const QString &receiptID, const QString &msgID, const QString &user,
                           const QString &name, bool notify)
    {
        return QStringList{receiptID, msgID,
                           user,      name,
                           u"ws-9"_s, DateText::DateToText(FakeClock::at(2026, 11, 23, 9, 59, 0)),
                           QString(), notify ? u"True"_s : u"False"_s}
            .join(QChar(2));
    }

private Q_SLOTS:
    void receiptsAreStoredConfirmedAndAnnounced()
    {
        Fixture f;
        QVERIFY(SaveMessage(ClientDB(), u"Outbox"_s, mine(u"M1"_s), false, false));
        f.receipts.GetReceipt(QStringList{receipt(u"R1"_s, u"M1"_s, u"ann"_s, u"Ann Lee"_s, true),
                                          receipt(u"R2"_s, u"GONE"_s, u"bob"_s, u"Bob"_s, true),
                                          receipt(u"R3"_s, u"M1"_s, u"cy"_s, QString(), true),
                                          receipt(u"R4"_s, u"M1"_s, u"di"_s, u"Di"_s, false)}
                                  .join(QChar(3)));
        // Only what was stored is confirmed, each id followed by the separator.
        QCOMPARE(f.sent, QStringList{u"CRC"_s + QChar(1) + u"R1"_s + QChar(2) + u"R3"_s + QChar(2) + u"R4"_s +
                                     QChar(2)});
        QCOMPARE(StoreFixture::column(ClientDB(), u"SELECT ReceiptID FROM Receipt ORDER BY ReceiptID"_s),
                 (QStringList{u"R1"_s, u"R3"_s, u"R4"_s}));
        // One popup gathers the readers, by name or else by id.
        QCOMPARE(f.frontend.popups.last(), u"Message read by:\nAnn Lee\ncy"_s);

        // Once the popup is gone a new one starts.
        f.frontend.popupShown = false;
        f.receipts.GetReceipt(receipt(u"R5"_s, u"M1"_s, u"ed"_s, u"Ed"_s, true));
        QCOMPARE(f.frontend.popups.last(), u"Message read by:\nEd"_s);

        // A receipt seen twice fails on its key: logged, not confirmed again.
        f.sent.clear();
        f.receipts.GetReceipt(receipt(u"R5"_s, u"M1"_s, u"ed"_s, u"Ed"_s, false));
        QVERIFY(f.sent.isEmpty());

        // With the console's list loaded, the last one also goes to its copy.
        gSession().AllMessagesLoaded = true;
        f.receipts.GetReceipt(receipt(u"R6"_s, u"M1"_s, u"fi"_s, u"Fi"_s, false));
        QCOMPARE(StoreFixture::count(TempDB(), u"SELECT count(*) FROM Receipt WHERE ReceiptID = 'R6'"_s), 1);
    }

    void outgoingRecords()
    {
        Fixture f;
        QVERIFY(ClientDB().exec(u"INSERT INTO MyGroupUsers VALUES ('team', 'a'), ('team', 'b')"_s));
        DVMessage msg = mine(u"N1"_s);
        msg.Target = u"team,c"_s;
        // The last command's fields: message id, expiration, record, delivery flag.
        const auto fields = [&f] { return f.sent.last().section(QChar(1), 1).split(QChar(2)); };
        const auto record = [&fields] {
            DVMessage sent;
            sent.ToObject(fields()[2]);
            return sent;
        };
        f.receipts.MsgNew(msg);
        QCOMPARE((QStringList{fields()[0], fields()[3], record().Target}),
                 (QStringList{u"N1"_s, u"0"_s, u"a,b,c"_s}));

        // A scheduled message lives on: "1".
        msg.MsgDelivery = DeliveryScheduled;
        f.frontend.answerBox(ResultYes);
        f.receipts.MsgEdit(msg);
        QCOMPARE(fields()[3], u"1"_s);
        QCOMPARE(record().Status, qint32(StatusResubmitted));
        f.frontend.answerBox(ResultNo);
        f.receipts.PkgEdit(msg);
        QVERIFY(f.sent.last().startsWith(u"PKG"_s));
        QCOMPARE(record().Status, qint32(StatusActive));

        // A reply is kept in Outbox before it leaves.
        DVMessage reply = mine(u"RE1"_s);
        reply.MsgLevel = u"sysKVReply"_s;
        reply.Target = u"alee"_s;
        f.receipts.ReplyNew(reply, false);
        QVERIFY(f.sent.last().startsWith(u"RPL"_s + QChar(1) + u"RE1"_s));
        QVERIFY(f.sent.last().endsWith(QChar(2) + u"alee"_s));
        QVERIFY(MessageExist(ClientDB(), u"Outbox"_s, u"RE1"_s));
    }
};

QTEST_GUILESS_MAIN(TestReceipts)
#include "tst_receipts.moc"
