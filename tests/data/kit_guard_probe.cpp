// Must not compile: the forms kit cannot see the features built on it.
#include "console/frmList.h"
#include "ui/GridState.h"
