// Must fail to compile with the engine's flags: the engine never sees widgets.
#include <QWidget>

int probe()
{
    return sizeof(QWidget);
}
