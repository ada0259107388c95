#include "core/Failure.h"
#include "link/ByteQueue.h"
#include "link/Cp1252.h"
#include "link/Encryption.h"
#include "link/Queue.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray header(int high, int low)
{
    return QByteArray("kVn") + char(high) + char(low);
}

QByteArray frame(const QByteArray &payload)
{
    return header(int(payload.size() / 256), int(payload.size() % 256)) + payload;
}

// Every payload that DecryptQ hands out until it has nothing more.
QStringList drain(Encryption &codec)
{
    QStringList payloads;
    for (QString payload = codec.DecryptQ(); !payload.isEmpty(); payload = codec.DecryptQ())
        payloads.append(payload);
    return payloads;
}

} // namespace

class TestFrameCodec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void queues();
    void roundTrip_data();
    void roundTrip();
    void outsideTheCodePage_data();
    void outsideTheCodePage();
    void splitAtEveryByte();
    void headerWaitsWhole();
    void badMagicDropsQueue_data();
    void badMagicDropsQueue();
    void badLength_data();
    void badLength();
    void frameCompletedAfterReconnect();
    void everyByteRoundTrips();
};

void TestFrameCodec::queues()
{
    // Interleaved appends and takes drop the front several times on the way.
    ByteQueue queue;
    QByteArray expected, taken;
    for (int round = 0; round < 50; ++round) {
        const QByteArray chunk(round + 1, char('a' + round % 26));
        queue.Enqueue(chunk);
        queue.Enqueue(uint8_t(round));
        expected += chunk + char(round);
        QCOMPARE(queue.Peek(), uint8_t(expected.at(taken.size())));
        taken.append(char(queue.Dequeue()));
        taken.append(queue.Take(qMin<qsizetype>(round, queue.Count())));
    }
    Failure failure;
    QCOMPARE(queue.Take(queue.Count() + 1, &failure), QByteArray());
    QCOMPARE(failure.number, 9);
    taken.append(queue.Take(queue.Count()));
    QCOMPARE(taken, expected);
    queue.Dequeue(&failure);
    QCOMPARE(failure.number, 9);

    Queue<QString> values;
    values.Enqueue(u"one"_s);
    values.Enqueue(u"two"_s);
    QCOMPARE(values.Peek(), u"one"_s);
    QCOMPARE(values.Dequeue(), u"one"_s);
    QCOMPARE(values.Dequeue(&failure), u"two"_s);
    QVERIFY(!failure.isSet());
    QCOMPARE(values.Peek(&failure), QString());
    QCOMPARE(failure.number, 9);
}

void TestFrameCodec::roundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("head");

    QTest::newRow("separators") << u"MSG\u0000a\u0001b\u0002c\u0003d\u0004"_s << header(0, 12);
    QTest::newRow("code page") << u"\u20ac\u00e9\u2122\u0178\u0081"_s << header(0, 5);
    QTest::newRow("256") << QString(256, u'z') << header(1, 0);
    QTest::newRow("largest") << QString(32763, u'\u00ff') << header(127, 251);
}

void TestFrameCodec::roundTrip()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, head);

    Encryption codec;
    const QByteArray bytes = codec.Encrypt(text);
    QCOMPARE(bytes.size(), text.size() + 5);
    QCOMPARE(bytes.left(5), head);
    codec.TCPMsgQueue.Enqueue(bytes);
    QCOMPARE(codec.DecryptQ(), text);
    QCOMPARE(codec.TCPMsgQueue.Count(), 0);
}

void TestFrameCodec::outsideTheCodePage_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("payload");

    // A character without a byte goes out as one "?", a surrogate pair included.
    QTest::newRow("C1 that the code page redefines") << u"ok \u0080"_s << QByteArray("ok ?");
    QTest::newRow("Polish and Greek") << u"\u0141ukasz \u03a9"_s << QByteArray("?ukasz ?");
    QTest::newRow("outside the BMP") << u"ok \U0001F600!"_s << QByteArray("ok ?!");
    QTest::newRow("lone surrogate") << u"a"_s + QChar(0xD800) + u"b"_s << QByteArray("a?b");
    QTest::newRow("one over the largest") << QString(32764, u'x') << QByteArray();
}

void TestFrameCodec::outsideTheCodePage()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, payload);

    Failure failure;
    QCOMPARE(Encryption().Encrypt(text, &failure), payload.isEmpty() ? QByteArray() : frame(payload));
    QCOMPARE(failure.number, payload.isEmpty() ? 6 : 0);
}

void TestFrameCodec::splitAtEveryByte()
{
    const QByteArray stream = frame("CON\x01"
                                    "agent") +
                              frame(QByteArray(300, '\x02'));
    const QStringList expected = {u"CON\u0001agent"_s, QString(300, QChar(2))};

    for (qsizetype cut = 0; cut <= stream.size(); ++cut) {
        Encryption codec;
        codec.TCPMsgQueue.Enqueue(stream.left(cut));
        QStringList payloads = drain(codec);
        codec.TCPMsgQueue.Enqueue(stream.mid(cut));
        payloads += drain(codec);
        QCOMPARE(payloads, expected);
    }

    Encryption codec;
    QStringList payloads;
    for (const char byte : stream) {
        codec.TCPMsgQueue.Enqueue(uint8_t(byte));
        payloads += drain(codec);
    }
    QCOMPARE(payloads, expected);
}

void TestFrameCodec::headerWaitsWhole()
{
    Encryption codec;
    codec.TCPMsgQueue.Enqueue(header(0, 3).left(4));
    QCOMPARE(codec.DecryptQ(), QString());
    QCOMPARE(codec.TCPMsgQueue.Count(), 4);

    codec.TCPMsgQueue.Enqueue(uint8_t(3));
    QCOMPARE(codec.DecryptQ(), QString());
    QCOMPARE(codec.TCPMsgQueue.Count(), 0);
    QCOMPARE(codec.PendingLength, qint16(3));

    codec.TCPMsgQueue.Enqueue(QByteArrayLiteral("AUT"));
    QCOMPARE(codec.DecryptQ(), u"AUT"_s);
    QCOMPARE(codec.PendingLength, qint16(0));
}

void TestFrameCodec::badMagicDropsQueue_data()
{
    QTest::addColumn<QByteArray>("read");

    const QByteArray good = frame("CON");
    QTest::newRow("first byte") << QByteArray("xVn\0\3CON", 8) + good;
    QTest::newRow("second byte") << QByteArray("kxn\0\3CON", 8) + good;
    QTest::newRow("third byte") << QByteArray("kVx\0\3CON", 8) + good;
    QTest::newRow("ten bytes of garbage") << QByteArray("0123456789") + good;
}

void TestFrameCodec::badMagicDropsQueue()
{
    QFETCH(QByteArray, read);

    Encryption codec;
    codec.TCPMsgQueue.Enqueue(read);
    Failure failure;
    QCOMPARE(codec.DecryptQ(&failure), QString());
    QVERIFY(!failure.isSet());
    QCOMPARE(codec.TCPMsgQueue.Count(), 0);

    // A read that begins on a frame boundary is understood again.
    codec.TCPMsgQueue.Enqueue(frame("DEC"));
    QCOMPARE(codec.DecryptQ(), u"DEC"_s);
}

void TestFrameCodec::badLength_data()
{
    QTest::addColumn<QByteArray>("badHeader");
    QTest::addColumn<int>("failureNumber");

    QTest::newRow("zero length") << header(0, 0) << 9;
    QTest::newRow("high bit") << header(0x80, 0) << 6;
    QTest::newRow("all ones") << header(0xFF, 0xFF) << 6;
}

void TestFrameCodec::badLength()
{
    QFETCH(QByteArray, badHeader);
    QFETCH(int, failureNumber);

    Encryption codec;
    const QByteArray next = frame("CON\x01"
                                  "a");
    codec.TCPMsgQueue.Enqueue(badHeader + next);

    Failure failure;
    QCOMPARE(codec.DecryptQ(&failure), QString());
    QCOMPARE(failure.number, failureNumber);
    // Only the header is lost: what follows is read as the next header.
    QCOMPARE(codec.PendingLength, qint16(0));
    QCOMPARE(codec.TCPMsgQueue.Count(), next.size());
    QCOMPARE(codec.DecryptQ(&failure), u"CON\u0001a"_s);
    QVERIFY(!failure.isSet());
}

void TestFrameCodec::frameCompletedAfterReconnect()
{
    // The codec outlives the connection: the first bytes of the new one finish
    // the frame that the old one left half sent.
    Encryption codec;
    const QByteArray cut = frame("MSG\x01"
                                 "first");
    codec.TCPMsgQueue.Enqueue(cut.left(7));
    QCOMPARE(codec.DecryptQ(), QString());

    codec.TCPMsgQueue.Enqueue(cut.mid(7) + frame("CON\x01"
                                                 "agent"));
    QCOMPARE(drain(codec), QStringList({u"MSG\u0001first"_s, u"CON\u0001agent"_s}));
}

void TestFrameCodec::everyByteRoundTrips()
{
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte)
        all.append(char(byte));

    const QString text = Cp1252::toUnicode(all);
    QCOMPARE(text.at(0x80), QChar(u'\u20ac'));
    QCOMPARE(text.at(0x81), QChar(u'\u0081'));
    QCOMPARE(text.at(0x9f), QChar(u'\u0178'));
    QCOMPARE(text.at(0xe9), QChar(u'\u00e9'));

    QCOMPARE(Cp1252::fromUnicode(text), all);

    Encryption codec;
    codec.TCPMsgQueue.Enqueue(frame(all));
    QCOMPARE(codec.Encrypt(codec.DecryptQ()), frame(all));
}

QTEST_GUILESS_MAIN(TestFrameCodec)
#include "tst_framecodec.moc"
