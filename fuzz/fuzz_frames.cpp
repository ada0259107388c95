// Bytes from the server, straight into the engine: the codec cuts them into
// frames and every handler of the dispatch table may run.
#include "engine/KorvanClient.h"
#include "fuzz/FuzzSupport.h"
#include "link/CommandDispatcher.h"

#include <QByteArray>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    static KorvanClient *engine = [] {
        auto *client = new KorvanClient;
        client->Load();
        return client;
    }();
    engine->dispatcher()->DataArrival(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    return 0;
}
