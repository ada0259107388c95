// Must not compile: the ground floor cannot see the link above it.
#include "core/Log.h"
#include "link/Policies.h"
