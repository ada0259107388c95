// Frame decoding of a stream fed in 1,460-byte reads: the codec against a plain
// copy of the same bytes and against a decoder that keeps one element per byte.
// Then the framing of one outgoing payload.
#include "link/Cp1252.h"
#include "link/Encryption.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <deque>
#include <vector>

namespace {

constexpr int ReadSize = 1460;

QByteArray stream(int payloadSize)
{
    Encryption codec;
    QString payload(payloadSize, QLatin1Char('x'));
    payload[0] = QLatin1Char('M');
    QByteArray bytes;
    while (bytes.size() < (1 << 20))
        bytes += codec.Encrypt(payload);
    return bytes;
}

// The character of a byte, looked up one at a time.
char16_t characterOf(uint8_t byte)
{
    static const QString table = [] {
        QByteArray all(256, 0);
        for (int i = 0; i < 256; ++i)
            all[i] = char(i);
        return Cp1252::toUnicode(all);
    }();
    return table[byte].unicode();
}

// What a decoder with a container element per byte and a string grown a
// character at a time costs.
class NaiveDecoder
{
public:
    void enqueue(const char *data, int size)
    {
        for (int i = 0; i < size; ++i)
            m_queue.push_back(static_cast<uint8_t>(data[i]));
    }
    QString next()
    {
        if (m_pending == 0) {
            if (m_queue.size() < 5)
                return {};
            for (int i = 0; i < 3; ++i)
                m_queue.pop_front();
            const int high = m_queue.front();
            m_queue.pop_front();
            const int low = m_queue.front();
            m_queue.pop_front();
            m_pending = high * 256 + low;
        }
        if (int(m_queue.size()) < m_pending)
            return {};
        QString text;
        for (int i = 0; i < m_pending; ++i) {
            text += QChar(characterOf(m_queue.front()));
            m_queue.pop_front();
        }
        m_pending = 0;
        return text;
    }

private:
    std::deque<uint8_t> m_queue;
    int m_pending = 0;
};

void BM_Decode(benchmark::State &state)
{
    const QByteArray bytes = stream(int(state.range(0)));
    for (auto _ : state) {
        Encryption codec;
        qsizetype frames = 0;
        for (qsizetype at = 0; at < bytes.size(); at += ReadSize) {
            codec.TCPMsgQueue.Enqueue(bytes.mid(at, ReadSize));
            for (QString p = codec.DecryptQ(); !p.isEmpty(); p = codec.DecryptQ())
                ++frames;
        }
        benchmark::DoNotOptimize(frames);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

void BM_DecodeNaive(benchmark::State &state)
{
    const QByteArray bytes = stream(int(state.range(0)));
    for (auto _ : state) {
        NaiveDecoder codec;
        qsizetype frames = 0;
        for (qsizetype at = 0; at < bytes.size(); at += ReadSize) {
            codec.enqueue(bytes.constData() + at, int(qMin<qsizetype>(ReadSize, bytes.size() - at)));
            for (QString p = codec.next(); !p.isEmpty(); p = codec.next())
                ++frames;
        }
        benchmark::DoNotOptimize(frames);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

// Framing of one payload, all ASCII, as every command the client sends is built.
void BM_Encode(benchmark::State &state)
{
    const Encryption codec;
    const QString payload(int(state.range(0)), QLatin1Char('x'));
    for (auto _ : state)
        benchmark::DoNotOptimize(codec.Encrypt(payload));
    state.SetBytesProcessed(int64_t(state.iterations()) * payload.size());
}

void BM_Memcpy(benchmark::State &state)
{
    const QByteArray bytes = stream(int(state.range(0)));
    std::vector<char> target(bytes.size());
    for (auto _ : state) {
        for (qsizetype at = 0; at < bytes.size(); at += ReadSize)
            std::memcpy(target.data() + at, bytes.constData() + at,
                        size_t(qMin<qsizetype>(ReadSize, bytes.size() - at)));
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * bytes.size());
}

} // namespace

BENCHMARK(BM_Decode)->Arg(64)->Arg(4096);
BENCHMARK(BM_DecodeNaive)->Arg(64)->Arg(4096);
BENCHMARK(BM_Encode)->Arg(64)->Arg(4096);
BENCHMARK(BM_Memcpy)->Arg(64)->Arg(4096);
BENCHMARK_MAIN();
