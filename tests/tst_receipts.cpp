// What leaves for the server on the user's behalf, and the receipts that come back.
#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "delivery/Receipts.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"
#include "support/FakeClock.h"
#include "support/RecordingFrontend.h"
#include "support/TempProfile.h"

#include <QSqlQuery>
#include <QTest>

class TestReceipts : public QObject
{
    Q_OBJECT

private:
    struct Fixture
    {
        TempProfile profile;
        FakeClock clock{FakeClock::at(2026, 11, 23, 10, 0, 0)};
        RecordingFrontend frontend;
        QStringList sent;
        Receipts receipts{[this](const QString &p) {
            sent << p;
            return true;
        }};

        Fixture()
        {
            gProcess().AppDataPath = profile.dataHome();
            ReplaceUserInfos(UserInfos(QStringLiteral("jdoe")));
            InitializeDB(profile.dataHome());
        }
        ~Fixture()
        {
            ClientDB().close();
            TempDB().close();
        }
    };

    static DVMessage mine(const QString &id)
    {
        DVMessage m;
        m.MsgID = id;
        m.Subject = QStringLiteral("Mine");
        m.UserID = QStringLiteral("jdoe");
        m.Status = StatusActive;
        m.ExpirationDate = FakeClock::at(2026, 12, 1, 0, 0, 0);
        return m;
    }

    static QString receipt(const QString &receiptID, const QString &msgID, const QString &user,
                           const QString &name, bool notify)
    {
        return QStringList{receiptID,
                           msgID,
                           user,
                           name,
                           QStringLiteral("ws-9"),
                           DateText::DateToText(FakeClock::at(2026, 11, 23, 9, 59, 0)),
                           QString(),
                           notify ? QStringLiteral("True") : QStringLiteral("False")}
            .join(QChar(2));
    }

private Q_SLOTS:
    void receiptsAreStoredConfirmedAndAnnounced()
    {
        Fixture f;
        QVERIFY(SaveMessage(ClientDB(), QStringLiteral("Outbox"), mine(QStringLiteral("M1")), false, false));
        f.receipts.GetReceipt(QStringList{
            receipt(QStringLiteral("R1"), QStringLiteral("M1"), QStringLiteral("ann"),
                    QStringLiteral("Ann Lee"), true),
            receipt(QStringLiteral("R2"), QStringLiteral("GONE"), QStringLiteral("bob"),
                    QStringLiteral("Bob"), true),
            receipt(QStringLiteral("R3"), QStringLiteral("M1"), QStringLiteral("cy"), QString(), true),
            receipt(QStringLiteral("R4"), QStringLiteral("M1"), QStringLiteral("di"), QStringLiteral("Di"),
                    false)}
                                  .join(QChar(3)));
        // Only what was stored is confirmed, each id followed by the separator.
        QCOMPARE(f.sent, QStringList{QStringLiteral("CRC") + QChar(1) + QStringLiteral("R1") + QChar(2) +
                                     QStringLiteral("R3") + QChar(2) + QStringLiteral("R4") + QChar(2)});
        QSqlQuery *rows =
            ClientDB().query(QStringLiteral("SELECT ReceiptID, ReceiptDate FROM Receipt ORDER BY ReceiptID"));
        QStringList ids;
        while (rows && rows->next())
            ids << rows->value(0).toString();
        rows->finish();
        QCOMPARE(ids, (QStringList{QStringLiteral("R1"), QStringLiteral("R3"), QStringLiteral("R4")}));
        // One popup gathers the readers, by name or else by id.
        QCOMPARE(f.frontend.popups.last(), QStringLiteral("Message read by:\nAnn Lee\ncy"));

        // Once the popup is gone a new one starts.
        f.frontend.popupShown = false;
        f.receipts.GetReceipt(receipt(QStringLiteral("R5"), QStringLiteral("M1"), QStringLiteral("ed"),
                                      QStringLiteral("Ed"), true));
        QCOMPARE(f.frontend.popups.last(), QStringLiteral("Message read by:\nEd"));

        // A receipt seen twice fails on its key: logged, not confirmed again.
        f.sent.clear();
        f.receipts.GetReceipt(receipt(QStringLiteral("R5"), QStringLiteral("M1"), QStringLiteral("ed"),
                                      QStringLiteral("Ed"), false));
        QVERIFY(f.sent.isEmpty());

        // With the console's list loaded, the last one also goes to its copy.
        gSession().AllMessagesLoaded = true;
        f.receipts.GetReceipt(receipt(QStringLiteral("R6"), QStringLiteral("M1"), QStringLiteral("fi"),
                                      QStringLiteral("Fi"), false));
        QVERIFY(TempDB().query(QStringLiteral("SELECT 1 FROM Receipt WHERE ReceiptID = 'R6'"))->next());
    }

    void outgoingRecords()
    {
        Fixture f;
        QVERIFY(
            ClientDB().exec(QStringLiteral("INSERT INTO MyGroupUsers VALUES ('team', 'a'), ('team', 'b')")));
        DVMessage msg = mine(QStringLiteral("N1"));
        msg.Target = QStringLiteral("team,c");
        f.receipts.MsgNew(msg);
        const QStringList fields = f.sent.last().section(QChar(1), 1).split(QChar(2));
        QCOMPARE(fields[0], QStringLiteral("N1"));
        QCOMPARE(fields[3], QStringLiteral("0"));
        DVMessage sent;
        sent.ToObject(fields[2]);
        QCOMPARE(sent.Target, QStringLiteral("a,b,c"));

        // A scheduled message lives on: "1".
        msg.MsgDelivery = DeliveryScheduled;
        f.frontend.answerBox(ResultYes);
        f.receipts.MsgEdit(msg);
        const QStringList edited = f.sent.last().section(QChar(1), 1).split(QChar(2));
        QCOMPARE(edited[3], QStringLiteral("1"));
        sent.ToObject(edited[2]);
        QCOMPARE(sent.Status, qint32(StatusResubmitted));
        QCOMPARE(f.frontend.questions.last().text, QStringLiteral("Do you wish to repost the mesage?"));

        f.frontend.answerBox(ResultNo);
        f.receipts.PkgEdit(msg);
        QVERIFY(f.sent.last().startsWith(QStringLiteral("PKG")));
        sent.ToObject(f.sent.last().section(QChar(1), 1).split(QChar(2))[2]);
        QCOMPARE(sent.Status, qint32(StatusActive));

        // A reply is kept in Outbox before it leaves.
        DVMessage reply = mine(QStringLiteral("RE1"));
        reply.MsgLevel = QStringLiteral("sysKVReply");
        reply.Target = QStringLiteral("alee");
        f.receipts.ReplyNew(reply, false);
        QVERIFY(f.sent.last().startsWith(QStringLiteral("RPL") + QChar(1) + QStringLiteral("RE1")));
        QVERIFY(f.sent.last().endsWith(QChar(2) + QStringLiteral("alee")));
        QVERIFY(MessageExist(ClientDB(), QStringLiteral("Outbox"), QStringLiteral("RE1")));
    }
};

QTEST_GUILESS_MAIN(TestReceipts)
#include "tst_receipts.moc"
