#pragma once

// Which lists have been received in this run; the end markers set them.
struct Session
{
    bool SharedTemplatesLoaded = false;
    bool UsersLoaded = false;
    bool MachinesLoaded = false;
    bool AllPackagesLoaded = false;
    bool AllMessagesLoaded = false;
    bool AdminsLoaded = false;
    bool GroupsDomainLoaded = false;
    bool GroupsKorvanLoaded = false;
    bool ReceiptsLoaded = false;
};
