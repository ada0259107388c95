#pragma once

#include "core/Session.h"

#include <QString>

class Options;
class UserInfos;

// The process-wide state that is not an object of its own.
struct ProcessState
{
    QString AppDataPath;
    bool DatabaseOpen = false;
    QString OsName;
    bool OsIsNT = true;
    QString DomainController;
    bool DomainAvailable = false;
    int CurrentList = 0;
    QString SavedSelection;
    int ReconnectTicks = 0;
    // Row colours of the group lists, as blue-green-red numbers.
    qint32 GridColorOdd = 0;
    qint32 GridColorEven = 0;
};

ProcessState &gProcess();
Options &gOptions();
// Created at its first use, which reads the login name.
UserInfos &gUserInfos();
// Speaks for another login from now on (tests and tools).
void ReplaceUserInfos(const UserInfos &user);
Session &gSession();
// Drops the process-wide objects of this floor; the engine's ResetProcessGlobals drops them all.
void ResetCoreGlobals();
