// Any bytes as what the relay service's socket delivered: orders come out no
// longer than a datagram, and cutting the stream anywhere changes nothing.
#include "fuzz/FuzzSupport.h"
#include "link/RelayFrames.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    RelayFrameReader whole;
    const QList<RelayedOrder> orders = whole.feed(bytes);
    RelayFrameReader cut;
    const qsizetype at = size ? qsizetype(data[0]) % qsizetype(size) : 0;
    QList<RelayedOrder> pieces = cut.feed(bytes.left(at));
    pieces += cut.feed(bytes.mid(at));
    if (pieces.size() != orders.size() || cut.badLength() != whole.badLength())
        __builtin_trap();
    for (qsizetype i = 0; i < orders.size(); ++i)
        if (orders[i].datagram.isEmpty() || orders[i].datagram.size() > RelayFrames::MaxFrame ||
            orders[i].datagram != pieces[i].datagram)
            __builtin_trap();
    return 0;
}
