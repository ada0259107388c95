// Any text as policies or as the server's configuration.
#include "fuzz/FuzzSupport.h"
#include "link/Policies.h"
#include "link/ServerConfig.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzzEnvironment();
    const QString text = wireText(data, size);
    Policies policies;
    policies.ToObject(text);
    Policies again;
    again.ToObject(policies.ToString());
    ServerConfig config;
    config.ToObject(text);
    ServerConfig configAgain;
    configAgain.ToObject(config.ToString());
    return 0;
}
