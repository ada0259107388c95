#include "app/ProgramEntry.h"

int main(int argc, char **argv)
{
    return ProgramEntry::run(argc, argv);
}
