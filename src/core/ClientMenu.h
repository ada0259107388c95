#pragma once

#include <QList>
#include <QString>

// The menu of the notification-area icon: its items in order, their captions,
// enabling, visibility and check marks. The widgets only show it.
class ClientMenu
{
public:
    enum Item {
        mnuSend,
        mnuAdministration,
        Separator1,
        mnuOptions,
        mnuDisplayReplies,
        mnuStatus,
        mnuConnect,
        mnuConfiguration,
        mnuLevel,
        mnuServerConfiguration,
        mnuUserPolicies,
        mnuGlobalPolicies,
        Separator2,
        mnuAbout,
        mnuHelp,
        mnuLog,
        Separator3,
        mnuExit,
        ItemCount
    };

    struct Entry
    {
        Item item;
        QString caption;
        bool separator = false;
        // Items of the Configuration submenu.
        bool inSubmenu = false;
        bool enabled = true;
        bool visible = true;
        bool checkable = false;
        bool checked = false;
    };

    // What the enabling of the menu depends on.
    struct Rights
    {
        bool ConnectedToServer = false;
        bool CanExitClient = true;
        bool CanSendMessages = true;
        bool CanAdminister = true;
        bool CanModifyDisplayOptions = true;
        bool IsAdministrator = false;
        bool IsPostmaster = false;
    };

    ClientMenu();

    const QList<Entry> &entries() const { return m_entries; }
    const Entry &entry(Item item) const { return m_entries[item]; }
    Entry &entry(Item item) { return m_entries[item]; }

    // Captions from the string table in the present language.
    void AssignMainLabels();
    // Turns rights into the menu.
    void SetMenu(const Rights &rights);

private:
    QList<Entry> m_entries;
};
