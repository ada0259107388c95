#pragma once

#include "store/DVMessage.h"

// One entry of the banner's queue.
struct DisplayMessage
{
    DVMessage ActualMessage;
    // Times the message has been given the strip.
    qint16 Count = 0;
    // The sound of its level has been started: it never starts again.
    bool Sounded = false;
    bool LinkExecuted = false;
};
