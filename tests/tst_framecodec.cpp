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
    void encodesEveryByteAndJoinsEveryCut()
    {
        // A character without a byte goes out as one "?", a surrogate pair included.
        for (const auto &[text, bytes] : std::initializer_list<std::pair<QString, QByteArray>>{
                 {u"MSG\u0000a\u0001b\u0002c\u0003d\u0004"_s, frame(QByteArray("MSG\0a\1b\2c\3d\4", 12))},
                 {u"\u20ac\u00e9\u2122\u0178\u0081"_s, frame("\x80\xe9\x99\x9f\x81")},
                 {u"\u20ac\u2122"_s, frame("\x80\x99")}, // nothing but bytes the code page redefines
                 {QString(256, u'z'), header(1, 0) + QByteArray(256, 'z')},
                 {QString(32763, u'\u00ff'), header(127, 251) + QByteArray(32763, '\xff')},
                 {u"ok \u0080"_s, frame("ok ?")}, // a C1 control the code page redefines
                 {u"\u0141ukasz \u03a9"_s, frame("?ukasz ?")},
                 {u"ok \U0001F600!"_s, frame("ok ?!")},
                 {u"a"_s + QChar(0xD800) + u"b"_s, frame("a?b")}}) {
            Failure failure;
            Encryption codec;
            QCOMPARE(codec.Encrypt(text, &failure), bytes);
            QCOMPARE(failure.number, 0);
            codec.TCPMsgQueue.Enqueue(bytes);
            QCOMPARE(codec.DecryptQ(), bytes.contains('?') ? QString::fromLatin1(bytes.mid(5)) : text);
            QCOMPARE(codec.TCPMsgQueue.Count(), 0);
        }
        Failure failure;
        QCOMPARE(Encryption().Encrypt(QString(32764, u'x'), &failure), QByteArray());
        QCOMPARE(failure.number, 6);

        QByteArray all;
        for (int byte = 0; byte < 256; ++byte)
            all.append(char(byte));
        QCOMPARE(Cp1252::fromUnicode(Cp1252::toUnicode(all)), all);
        Encryption whole;
        whole.TCPMsgQueue.Enqueue(frame(all));
        QCOMPARE(whole.Encrypt(whole.DecryptQ()), frame(all));

        // Two frames cut anywhere: the codec outlives the read and finishes with the next bytes.
        const QByteArray stream = frame("CON\1agent") + frame(QByteArray(300, '\x02'));
        const QStringList expected = {u"CON\u0001agent"_s, QString(300, QChar(2))};
        for (qsizetype cut = 0; cut <= stream.size(); ++cut) {
            Encryption codec;
            codec.TCPMsgQueue.Enqueue(stream.left(cut));
            QStringList payloads = drain(codec);
            codec.TCPMsgQueue.Enqueue(stream.mid(cut));
            QCOMPARE(payloads + drain(codec), expected);
        }
        Encryption codec;
        QStringList payloads;
        for (const char byte : stream) {
            codec.TCPMsgQueue.Enqueue(uint8_t(byte));
            payloads += drain(codec);
        }
        QCOMPARE(payloads, expected);
    }

    void badHeaders()
    {
        // A bad magic drops the whole read; a bad length, reported, only its header.
        for (const auto &[read, failureNumber] :
             {std::pair(QByteArray("xVn\0\3CON", 8), 0), std::pair(QByteArray("kxn\0\3CON", 8), 0),
              std::pair(QByteArray("kVx\0\3CON", 8), 0), std::pair(QByteArray("0123456789"), 0),
              std::pair(header(0, 0), 9), std::pair(header(0x80, 0), 6), std::pair(header(0xFF, 0xFF), 6)}) {
            Encryption codec;
            codec.TCPMsgQueue.Enqueue(read + frame("CON\1a"));
            Failure failure;
            QCOMPARE(codec.DecryptQ(&failure), QString());
            QCOMPARE(failure.number, failureNumber);
            QCOMPARE(codec.PendingLength, qint16(0));
            QCOMPARE(drain(codec), failureNumber ? QStringList{u"CON\u0001a"_s} : QStringList());
            // A read that begins on a frame boundary is understood again.
            codec.TCPMsgQueue.Enqueue(frame("DEC"));
            QCOMPARE(codec.DecryptQ(), u"DEC"_s);
        }
    }
};

QTEST_GUILESS_MAIN(TestFrameCodec)
#include "tst_framecodec.moc"
