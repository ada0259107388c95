#pragma once

#include <QString>

// Whether a message's target names this user, this machine, the link's local
// address, a range holding it, or a group of the user.
namespace Targeting {

// The local address is that of the link to the server.
bool MemberOfTarget(const QString &target, const QString &localIP);
// Compares addresses as ordered sequences of four numbers (not box by box).
bool CheckIPRange(const QString &low, const QString &high, const QString &localIP);
// Personal groups exist only here, so they leave as their members.
QString ReplaceMyGroupsInTarget(const QString &target);

} // namespace Targeting
