#include "core/Failure.h"

namespace {
Failure pending;
}

void PendingError::set(const Failure &failure)
{
    pending = failure;
}

void PendingError::clear()
{
    pending = Failure{};
}

const Failure &PendingError::current()
{
    return pending;
}
