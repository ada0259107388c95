#include "core/ClientMenu.h"

#include "core/StringTable.h"

namespace {

struct Label
{
    ClientMenu::Item item;
    int resource;
    const char16_t *fixedCaption;
};

// Items without a resource keep a fixed English caption.
constexpr Label Labels[] = {
    {ClientMenu::mnuSend, 426, nullptr},
    {ClientMenu::mnuAdministration, 0, u"Administration"},
    {ClientMenu::mnuOptions, 419, nullptr},
    {ClientMenu::mnuDisplayReplies, 149, nullptr},
    {ClientMenu::mnuStatus, 408, nullptr},
    {ClientMenu::mnuConnect, 404, nullptr},
    {ClientMenu::mnuConfiguration, 0, u"Configuration"},
    {ClientMenu::mnuLevel, 0, u"Level Message Configuration"},
    {ClientMenu::mnuServerConfiguration, 0, u"Server Configuration"},
    {ClientMenu::mnuUserPolicies, 0, u"User Policies"},
    {ClientMenu::mnuGlobalPolicies, 0, u"Global Policies"},
    {ClientMenu::mnuAbout, 400, nullptr},
    {ClientMenu::mnuHelp, 415, nullptr},
    {ClientMenu::mnuLog, 0, u"Log"},
    {ClientMenu::mnuExit, 412, nullptr},
};

} // namespace

ClientMenu::ClientMenu()
{
    for (int i = 0; i < ItemCount; ++i) {
        Entry entry{static_cast<Item>(i), QString()};
        entry.separator = i == Separator1 || i == Separator2 || i == Separator3;
        entry.inSubmenu = i >= mnuLevel && i <= mnuGlobalPolicies;
        entry.checkable = i == mnuDisplayReplies;
        m_entries.append(entry);
    }
    AssignMainLabels();
}

void ClientMenu::AssignMainLabels()
{
    for (const Label &label : Labels)
        m_entries[label.item].caption =
            label.resource ? ResString(label.resource) : QString::fromUtf16(label.fixedCaption);
}

void ClientMenu::SetMenu(const Rights &rights)
{
    auto set = [this](Item item, bool enabled) { m_entries[item].enabled = enabled; };
    set(mnuExit, rights.CanExitClient || rights.IsAdministrator);
    const bool canSend = rights.ConnectedToServer && (rights.CanSendMessages || rights.IsAdministrator);
    set(mnuSend, canSend);
    set(mnuDisplayReplies, canSend);
    set(mnuAdministration, rights.ConnectedToServer && (rights.CanAdminister || rights.IsPostmaster));
    set(mnuOptions, rights.CanModifyDisplayOptions || rights.IsAdministrator);
    set(mnuConfiguration, rights.IsAdministrator);
    m_entries[mnuConfiguration].visible = rights.ConnectedToServer;
    for (Item item : {mnuStatus, mnuConnect, mnuLevel, mnuServerConfiguration, mnuUserPolicies,
                      mnuGlobalPolicies, mnuAbout, mnuHelp, mnuLog})
        set(item, true);
}
