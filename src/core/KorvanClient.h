#pragma once

#include "core/ClientMenu.h"

#include <QObject>

#include <memory>

class ConnectionManager;
class Encryption;

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

    // A click on an item of the menu.
    void MenuItemClicked(ClientMenu::Item item);
    // Asks whether to quit; true when the person said Yes and the engine unloaded.
    bool mnuExit_Click();
    // The text of the status box, e.g. "Connection status: Connected".
    QString ConnectionStatusText() const;

    bool SendData(const QString &data);

    const ClientMenu &menu() const { return m_menu; }
    ConnectionManager *connection() const { return m_connection.get(); }

    bool ConnectedToServer = false;
    bool AllRequested = false;
    bool PopupOpen = false;
    qint16 LastScanMinute = -1;
    qint16 MonitorTicks = 0;
    qint16 WatchdogTicks = 0;

Q_SIGNALS:
    // The person chose to quit; the engine has already unloaded.
    void quitRequested();
    void menuChanged();

private:
    void mnuStatus_Click();
    void mnuUserPolicies_Click();
    void mnuServerConfiguration_Click();
    void mnuHelp_Click();
    void publishMenu();

    std::unique_ptr<Encryption> m_encryptor;
    std::unique_ptr<ConnectionManager> m_connection;
    ClientMenu m_menu;
    bool m_loaded = false;
};
