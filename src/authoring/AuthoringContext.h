#pragma once

#include <QString>

#include <functional>

class Clock;
class Database;
class Frontend;
class LevelCollection;
class Policies;
class Receipts;
class UserInfos;
struct ProcessState;
struct Session;

// What the forms of authoring work with, handed to them rather than reached
// through the process's globals.
struct AuthoringContext
{
    const Clock &clock;
    Database &clientDB;
    Database &tempDB;
    const UserInfos &user;
    const Policies &policies;
    const LevelCollection &levels;
    // The directories received in this run, and the console's open list.
    const Session &session;
    const ProcessState &process;
    // Where the finished records go: MsgNew, MsgEdit, ReplyNew, SharedTemplate.
    Receipts &senders;
    Frontend &frontend;
    std::function<bool(const QString &payload)> sendData;
};
