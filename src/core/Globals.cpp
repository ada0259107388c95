#include "core/Globals.h"

#include "core/Options.h"
#include "core/UserInfos.h"

#include <memory>

namespace {
ProcessState process;
std::unique_ptr<Options> options;
std::unique_ptr<UserInfos> userInfos;
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

void ResetProcessGlobals()
{
    process = ProcessState{};
    options.reset();
    userInfos.reset();
}
