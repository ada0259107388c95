#include "engine/ProcessGlobals.h"

#include "core/Globals.h"
#include "link/Policies.h"

void ResetProcessGlobals()
{
    ResetPolicies();
    ResetCoreGlobals();
}
