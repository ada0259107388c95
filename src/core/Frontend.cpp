#include "core/Frontend.h"

namespace {
Frontend *installed = nullptr;
}

Frontend *Frontend::current()
{
    return installed;
}

void Frontend::install(Frontend *frontend)
{
    installed = frontend;
}
