#include "core/Globals.h"

#include "core/Options.h"
#include "core/UserInfos.h"
#include "link/Policies.h"

#include <memory>

namespace {
ProcessState process;
std::unique_ptr<Options> options;
std::unique_ptr<UserInfos> userInfos;
std::unique_ptr<Policies> policies;
Session session;
} // namespace

ProcessState &gProcess()
{
    return process;
}

Options &gOptions()
{
    if (!options)
        options = std::make_unique<Options>();
    return *options;
}

UserInfos &gUserInfos()
{
    if (!userInfos)
        userInfos = std::make_unique<UserInfos>();
    return *userInfos;
}

void ReplaceUserInfos(const UserInfos &user)
{
    userInfos = std::make_unique<UserInfos>(user);
}

Policies &gPolicies()
{
    if (!policies)
        policies = std::make_unique<Policies>();
    return *policies;
}

Session &gSession()
{
    return session;
}

void ResetProcessGlobals()
{
    policies.reset();
    session = Session{};
    process = ProcessState{};
    options.reset();
    userInfos.reset();
}
