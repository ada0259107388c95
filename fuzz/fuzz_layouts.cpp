// Any bytes as a console list's layout file: refused whole, or read, written
// and read back to the same columns.
#include "ui/GridState.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray file(reinterpret_cast<const char *>(data), qsizetype(size));
    GridState state;
    if (!GridState::Read(file, state))
        return 0;
    GridState again;
    // What was accepted must write a file that reads back to itself.
    if (!GridState::Read(state.Write(), again) || again.Write() != state.Write())
        __builtin_trap();
    return 0;
}
