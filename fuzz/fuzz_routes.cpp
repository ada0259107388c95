// Any bytes as what the kernel's routing socket delivered: read without
// reading past them, and a default route found only where one is whole.
#include "fuzz/FuzzSupport.h"
#include "link/RouteWatch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    // Bytes after the messages change nothing already found.
    if (RouteWatch::AddsDefaultRoute(bytes) && !RouteWatch::AddsDefaultRoute(bytes + QByteArray(3, '\xff')))
        __builtin_trap();
    return 0;
}
