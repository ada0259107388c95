// Any text as a record: parsing never fails, and what it gives writes back.
#include "fuzz/FuzzSupport.h"
#include "store/DVMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    DVMessage message;
    message.ToObject(wireText(data, size));
    DVMessage again;
    again.ToObject(message.ToString());
    (void)again.IsEqual(message);
    return 0;
}
