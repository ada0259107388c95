#pragma once

// Starts the client: one per user, the desktop frontend, the engine, and the
// ways of closing (the menu's Exit, the session's end, signals).
namespace ProgramEntry {
int run(int argc, char **argv);
}
