#include "core/Globals.h"

#include "core/Options.h"
#include "core/UserInfos.h"

#include <memory>

namespace {
ProcessState process;
std::unique_ptr<Options> options;
std::unique_ptr<UserInfos> userInfos;
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

Session &gSession()
{
    return session;
}

void ResetCoreGlobals()
{
    session = Session{};
    process = ProcessState{};
    options.reset();
    userInfos.reset();
}
