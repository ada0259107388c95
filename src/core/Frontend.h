#pragma once

#include <QString>

class ClientMenu;
class DVMessage;
class Policies;
class ServerConfig;

// Indexes of the dialog's icon list, as the callers pass them.
enum DialogIcon : int {
    IconNone = 0,
    IconInformation = 1,
    IconCritical = 2,
    IconExclamation = 30,
    IconQuestion = 31,
};

// The button sets of the dialog.
enum DialogButtons : int {
    ButtonsOk = 1,
    ButtonsOkCancel = 2,
    ButtonsYesNo = 3,
    ButtonsCancelYesNo = 4,
};

// What a pressed button gives back.
enum DialogResult : int {
    ResultOk = 1,
    ResultCancel = 2,
    ResultYes = 6,
    ResultNo = 7,
};

// Everything the engine asks of a person or a window. The widgets implement it;
// tests answer it with a recorder. The engine never shows anything itself.
class Frontend
{
public:
    virtual ~Frontend() = default;

    virtual int MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons) = 0;
    // The text is empty when the person cancelled.
    virtual QString InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                              const QString &defaultText) = 0;
    virtual QString InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                              const QString &defaultText) = 0;
    virtual QString InputPassword(const QString &prompt, const QString &caption, int icon, int buttons) = 0;
    virtual QString InputChoice(const QString &prompt, const QString &caption, int icon, const QString &list,
                                const QString &defaultText) = 0;

    // Notification-area icon: image 0 is "not connected", 1 is "connected".
    virtual void SetTrayIcon(int image, const QString &tip) = 0;
    virtual void RemoveTrayIcon() = 0;
    // Captions, enabling, check marks or visibility of the menu changed.
    virtual void MenuChanged(const ClientMenu &menu) = 0;
    virtual void ShowLog(const QString &logFileName) = 0;
    // The facts the About box shows.
    struct AboutFacts
    {
        QString version;
        QString buildDate;
        QString qtVersion;
        QString dataFolder;
        QString settingsFolder;
        QString connection;
    };
    virtual void ShowAbout(const AboutFacts &facts) = 0;
    // Opens a document or a help file through the desktop.
    virtual bool OpenDocument(const QString &path) = 0;

    // The reader's display options, shown modally, and the level editor.
    virtual void ShowClientConfig() = 0;
    virtual void ShowLevelEditor() = 0;

    // The server's answers that open a configuration form: the policies of all
    // (empty reference) or of one user, and the server's configuration.
    virtual void ShowPolicies(const QString &reference, const Policies &policies) = 0;
    virtual void ShowServerConfig(const ServerConfig &config) = 0;

    // The composer, opened by the server's answer to a request for an ID: a new
    // record in the given mode, its ID and the default target.
    virtual void OpenMessageForm(int action, const QString &msgID, const QString &target) = 0;
    // The composer on a copy of a stored record under a new ID, the answer to a
    // duplicate request; the temporary store when temporaryStore is set.
    virtual void DuplicateMessageForm(int action, bool temporaryStore, const QString &table,
                                      const QString &oldID, const QString &newID) = 0;
    // The package composer: a new package under its ID, or a copy of a received
    // one under a new ID (copy set).
    virtual void OpenPackageForm(const QString &msgID, const QString &target) = 0;
    virtual void DuplicatePackageForm(const QString &oldID, const QString &newID, bool copy) = 0;
    // The reply form for the message the banner last acted on.
    virtual void OpenReplyForm(const QString &newID, bool toAll) = 0;

    // The console, opened from the menu; the open one comes to the front.
    virtual void ShowConsole() = 0;
    // What the console's lists and directories open of the other forms. A stored record in the
    // composer in the given mode (a package goes to the package composer by its level).
    virtual void EditMessageForm(const DVMessage &msg, int action) = 0;
    // The group editor in its action's mode on the group as the directory shows it; true when OK
    // changed the group.
    virtual bool EditGroupForm(int action, const QString &name, const QString &description,
                               const QString &members) = 0;
    // The role editor, on a user's role (its authority's index) or, without a user, on a new one; true
    // when the directory must be read again.
    virtual bool EditRoleForm(const QString &userID, int authority) = 0;

    // The banner's queue: a due message joins it, a withdrawn one leaves it.
    virtual void AddMessageToDisplay(const DVMessage &msg) = 0;
    virtual void DeleteMessageFromDisplay(const QString &msgID) = 0;
    virtual bool IsOnDisplay(const QString &msgID) const = 0;

    // The console's open list (its number, as CurrentList holds it) is told of a
    // row that came or went.
    virtual void AddRecord(int list, const DVMessage &msg) = 0;
    virtual void DelRecord(int list, const QString &msgID) = 0;
    // A stored message or package changed or went: the open list, whichever it is, reads that
    // row anew from its own table and shows it, or no longer.
    virtual void RecordChanged(const QString &msgID) = 0;

    // The desktop popup that gathers the readers of the user's messages. While
    // it stands, a new text replaces its old one in place.
    virtual void ShowReceiptPopup(const QString &text) = 0;
    virtual bool ReceiptPopupShown() const = 0;

    // Which directory list has arrived in full.
    enum ListKind {
        UsersList,
        MachinesList,
        KorvanGroupsList,
        AllMessagesList,
        SharedTemplatesList,
        AdministratorsList,
    };
    // An end marker's letter tells which form asked for the list: "A" the
    // console, "G" the group editor, "M" the message composer, "P" the package
    // composer, "L" the administrator editor.
    virtual void DisplayList(ListKind list, const QString &letter) = 0;

    // The frontend of this process; nullptr while none is set (nothing is asked then).
    static Frontend *current();
    static void install(Frontend *frontend);
};
