#include "core/Failure.h"
#include "link/Cp1252.h"
#include "link/Encryption.h"

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
    void encodes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");

        QTest::newRow("separators") << u"MSG\u0000a\u0001b\u0002c\u0003d\u0004"_s
                                    << frame(QByteArray("MSG\0a\1b\2c\3d\4", 12));
        QTest::newRow("code page") << u"\u20ac\u00e9\u2122\u0178\u0081"_s << frame("\x80\xe9\x99\x9f\x81");
        QTest::newRow("256") << QString(256, u'z') << header(1, 0) + QByteArray(256, 'z');
        QTest::newRow("largest") << QString(32763, u'\u00ff') << header(127, 251) + QByteArray(32763, '\xff');
        // A character without a byte goes out as one "?", a surrogate pair included.
        QTest::newRow("C1 that the code page redefines") << u"ok \u0080"_s << frame("ok ?");
        QTest::newRow("Polish and Greek") << u"\u0141ukasz \u03a9"_s << frame("?ukasz ?");
        QTest::newRow("outside the BMP") << u"ok \U0001F600!"_s << frame("ok ?!");
        QTest::newRow("lone surrogate") << u"a"_s + QChar(0xD800) + u"b"_s << frame("a?b");
        QTest::newRow("one over the largest") << QString(32764, u'x') << QByteArray();
    }

    void encodes()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);

        Failure failure;
        Encryption codec;
        QCOMPARE(codec.Encrypt(text, &failure), bytes);
        QCOMPARE(failure.number, bytes.isEmpty() ? 6 : 0);
        codec.TCPMsgQueue.Enqueue(bytes);
        const QString back = codec.DecryptQ();
        if (!bytes.contains('?') && !bytes.isEmpty())
            QCOMPARE(back, text);
        QCOMPARE(codec.TCPMsgQueue.Count(), 0);
    }

    void everyByteRoundTripsAndEveryCutJoins()
    {
        QByteArray all;
        for (int byte = 0; byte < 256; ++byte)
            all.append(char(byte));
        QCOMPARE(Cp1252::fromUnicode(Cp1252::toUnicode(all)), all);
        Encryption whole;
        whole.TCPMsgQueue.Enqueue(frame(all));
        QCOMPARE(whole.Encrypt(whole.DecryptQ()), frame(all));

        // Two frames in one stream, cut anywhere: the codec outlives the read
        // (and the connection) and finishes the frame with the next bytes.
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

    void badHeaders_data()
    {
        QTest::addColumn<QByteArray>("read");
        QTest::addColumn<int>("failureNumber");
        QTest::addColumn<bool>("nextSurvives");

        // A bad magic drops the whole read; a bad length only its header.
        QTest::newRow("first byte") << QByteArray("xVn\0\3CON", 8) << 0 << false;
        QTest::newRow("second byte") << QByteArray("kxn\0\3CON", 8) << 0 << false;
        QTest::newRow("third byte") << QByteArray("kVx\0\3CON", 8) << 0 << false;
        QTest::newRow("garbage") << QByteArray("0123456789") << 0 << false;
        QTest::newRow("zero length") << header(0, 0) << 9 << true;
        QTest::newRow("high bit") << header(0x80, 0) << 6 << true;
        QTest::newRow("all ones") << header(0xFF, 0xFF) << 6 << true;
    }

    void badHeaders()
    {
        QFETCH(QByteArray, read);
        QFETCH(int, failureNumber);
        QFETCH(bool, nextSurvives);

        Encryption codec;
        codec.TCPMsgQueue.Enqueue(read + frame("CON\x01"
                                               "a"));
        Failure failure;
        QCOMPARE(codec.DecryptQ(&failure), QString());
        QCOMPARE(failure.number, failureNumber);
        QCOMPARE(codec.PendingLength, qint16(0));
        QCOMPARE(drain(codec), nextSurvives ? QStringList{u"CON\u0001a"_s} : QStringList());
        // A read that begins on a frame boundary is understood again.
        codec.TCPMsgQueue.Enqueue(frame("DEC"));
        QCOMPARE(codec.DecryptQ(), u"DEC"_s);
    }
};

QTEST_GUILESS_MAIN(TestFrameCodec)
#include "tst_framecodec.moc"
