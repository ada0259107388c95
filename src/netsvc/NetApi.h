#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// Who is who, from the system's name service: the local files, and on a
// machine joined to a directory through SSSD or winbind the directory's own
// users, groups and names. A failure is logged and gives an empty answer.

struct DirectoryEntry
{
    QString Name;
    // A group's comment (the name service keeps none) or a user's full name.
    QString Description;
};

// The directory domain this machine is joined to, as its SSSD or winbind
// configuration names it; empty on a machine that is joined to none.
QString GetPrimaryDCName();

// Whether the name service knows the login, so that its groups can be read.
bool UserKnown(const QString &userID);

// Every group the name service lists. A directory that does not enumerate
// lists only the local groups.
QList<DirectoryEntry> EnumGroups();

// The members of a group, the users whose primary group it is included.
QStringList EnumUsersFromGroup(const QString &groupName);

// The user's own groups, primary group included, as rows of GroupsIBelongTo
// in the temporary store with GroupType "D". False when they could not be read.
bool EnumGroupsFromUser(const QString &userID);

// The user's full name: the first field of the GECOS entry of the login.
QString GetUserFullName(const QString &userID);

// The accounts people log in with: no system accounts, no account whose
// shell refuses a login.
QList<DirectoryEntry> EnumUsers();

// The name service keeps no list of machines: always empty.
QList<DirectoryEntry> EnumMachines();
