#pragma once

#include "core/ClientMenu.h"

#include <QObject>

#include <memory>

class CommandDispatcher;
class ConnectionManager;
class DVMessage;
class Encryption;
class LinkCommands;
class MessageIntake;
class Receipts;
class Replication;
class Scheduler;
class ServerConfig;
struct Failure;

// The client engine: lives for the whole run, owns the link, the codec, the
// timers and the menu of the notification-area icon. It has no window; what
// it shows or asks goes through the Frontend.
class KorvanClient : public QObject
{
    Q_OBJECT
public:
    // Why the client is closing.
    enum CloseMode {
        vbFormControlMenu = 0, // close command of the form
        vbFormCode = 1,        // closed by the program (the menu's Exit)
        vbAppWindows = 2,      // the desktop session ends
        vbAppTaskManager = 3,
        vbFormMDIForm = 4,
    };

    explicit KorvanClient(QObject *parent = nullptr);
    ~KorvanClient() override;

    // The engine's start; false (with the reason) when a step failed, so that
    // program entry can try again.
    bool Load(QString *error = nullptr);
    // Runs for every way of closing and never cancels it.
    void QueryUnload(int closeMode);
    void Unload();

    void AssignMainLabels();
    // Called by the options form after a change.
    void OptionsChanged();
    void SetMenu();
    // Sets the icon and its tip, then the menu.
    void NotifyIcon(bool show, const QString &tooltip);

    // A click on an item of the menu.
    void MenuItemClicked(ClientMenu::Item item);
    // Asks whether to quit; on Yes the engine unloads and asks the program to end.
    void mnuExit_Click();
    // The text of the status box, e.g. "Connection status: Connected".
    QString ConnectionStatusText() const;

    bool SendData(const QString &data, bool monitor = false);
    // The policy form's OK: the policies of all (empty reference) or of one user.
    // False when the command did not leave, for want of a link.
    bool NewPoliciesToSend(const QString &reference, const QString &codes);
    // The server configuration form's OK; false as above.
    bool UpdateServerConfiguration(const ServerConfig &config);
    bool ConnectedToServer() const;

    const ClientMenu &menu() const { return m_menu; }
    ConnectionManager *connection() const { return m_connection.get(); }
    CommandDispatcher *dispatcher() const { return m_dispatcher.get(); }
    LinkCommands *linkCommands() const { return m_linkCommands.get(); }
    MessageIntake *intake() const { return m_intake.get(); }
    Replication *replication() const { return m_replication.get(); }
    Scheduler *scheduler() const { return m_scheduler.get(); }
    Receipts *receipts() const { return m_receipts.get(); }

    bool PopupOpen = false;

    // Moves a repeating message on once the reader acknowledged it.
    void ComputeNextRunDate(DVMessage &msg);
    // The local address of the link, which targets may name.
    QString LocalIP() const;

    // Commands whose work belongs to the authoring and console parts of the
    // client; each is routed here by its own name.
    void OpenComposer(const QString &code, const QString &data, Failure &failure);
    void OpenReply(const QString &msgID, bool toAll);
    void GroupDeleted(const QString &groupName);

Q_SIGNALS:
    // The person chose to quit; the engine has already unloaded.
    void quitRequested();
    void menuChanged();

private:
    void routeCommands();
    void mnuStatus_Click();
    void mnuUserPolicies_Click();
    void mnuServerConfiguration_Click();
    void mnuHelp_Click();
    void publishMenu();

    std::unique_ptr<Encryption> m_encryptor;
    std::unique_ptr<ConnectionManager> m_connection;
    std::unique_ptr<CommandDispatcher> m_dispatcher;
    std::unique_ptr<LinkCommands> m_linkCommands;
    std::unique_ptr<Replication> m_replication;
    std::unique_ptr<MessageIntake> m_intake;
    std::unique_ptr<Scheduler> m_scheduler;
    std::unique_ptr<Receipts> m_receipts;
    ClientMenu m_menu;
};
