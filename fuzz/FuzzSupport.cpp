#include "fuzz/FuzzSupport.h"

#include "link/Cp1252.h"

QString wireText(const uint8_t *data, size_t size)
{
    return Cp1252::toUnicode(reinterpret_cast<const char *>(data), qsizetype(size));
}
