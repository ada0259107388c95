#include "ui/CodeNames.h"

#include "core/StringTable.h"

// Statuses 0 to 4 and deliveries 0 to 3 have names; 5 is a word of the wire only.
QString CodeNames::Status(int code)
{
    return code >= 0 && code <= 4 ? ResString(1245 + code) : QString::number(code);
}

QString CodeNames::Delivery(int code)
{
    return code >= 0 && code <= 3 ? ResString(1030 + code) : QString::number(code);
}
