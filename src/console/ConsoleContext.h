#pragma once

#include <QString>

#include <functional>

class Clock;
class Database;
class Frontend;
class LevelCollection;
class Policies;
class UserInfos;
struct ProcessState;
struct Session;

// What the console's windows work with, handed to them.
struct ConsoleContext
{
    Database &clientDB;
    Database &tempDB;
    const Clock &clock;
    Frontend &frontend;
    ProcessState &process;
    Session &session;
    const UserInfos &user;
    const Policies &policies;
    const LevelCollection &levels;
    std::function<bool(const QString &payload)> sendData;
    // The per-user store of the window's place and the lists' choices.
    QString userStoreFile;
    // Where the fixed layout files lie (beside the program) and the person's own (the data folder).
    QString programDir;
    QString dataDir;
};
