// Must not compile: a console window cannot see the composer beside it; it asks
// the interface to the person to open it.
#include "authoring/frmMessage.h"
#include "console/ConsoleFrame.h"
