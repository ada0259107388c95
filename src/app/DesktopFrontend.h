#pragma once

#include "authoring/AuthoringContext.h"
#include "banner/DisplayQueue.h"
#include "console/ConsoleContext.h"
#include "core/Frontend.h"

#include <QObject>
#include <QPointer>

#include <optional>

class DesktopNotifier;
class TrayIcon;
class frmBanner;
class frmLog;
class frmAdmin;
class frmMessage;
class QDialog;
class frmReply;
class frmLevelEdit;
class frmPolicies;
class frmConfigServer;

// The engine's interface to the person, met with widgets and the desktop.
class DesktopFrontend final : public QObject, public Frontend
{
    Q_OBJECT
public:
    explicit DesktopFrontend(QObject *parent = nullptr);
    ~DesktopFrontend() override;

    int MessageBoxShow(const QString &text, const QString &caption, int icon, int buttons) override;
    QString InputText(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &defaultText) override;
    QString InputPath(const QString &prompt, const QString &caption, int icon, int buttons,
                      const QString &defaultText) override;
    QString InputPassword(const QString &prompt, const QString &caption, int icon, int buttons) override;
    QString InputChoice(const QString &prompt, const QString &caption, int icon, const QString &list,
                        const QString &defaultText) override;
    void SetTrayIcon(int image, const QString &tip) override;
    void RemoveTrayIcon() override;
    void MenuChanged(const ClientMenu &menu) override;
    void ShowLog(const QString &logFileName) override;
    void ShowAbout(const AboutFacts &facts) override;
    bool OpenDocument(const QString &path) override;
    void ShowClientConfig() override;
    void ShowLevelEditor() override;
    void ShowPolicies(const QString &reference, const Policies &policies) override;
    void ShowServerConfig(const ServerConfig &config) override;
    void DisplayList(ListKind list, const QString &letter) override;
    void OpenMessageForm(int action, const QString &msgID, const QString &target) override;
    void OpenPackageForm(const QString &msgID, const QString &target) override;
    void DuplicatePackageForm(const QString &oldID, const QString &newID, bool copy) override;
    void DuplicateMessageForm(int action, bool temporaryStore, const QString &table, const QString &oldID,
                              const QString &newID) override;
    void OpenReplyForm(const QString &newID, bool toAll) override;
    void ShowConsole() override;
    void EditMessageForm(const DVMessage &msg, int action) override;
    bool EditGroupForm(int action, const QString &name, const QString &description,
                       const QString &members) override;
    bool EditRoleForm(const QString &userID, int authority) override;
    void AddMessageToDisplay(const DVMessage &msg) override;
    void DeleteMessageFromDisplay(const QString &msgID) override;
    bool IsOnDisplay(const QString &msgID) const override;
    void AddRecord(int list, const DVMessage &msg) override;
    void DelRecord(int list, const QString &msgID) override;
    void RecordChanged(const QString &msgID) override;
    void ShowReceiptPopup(const QString &text) override;
    bool ReceiptPopupShown() const override;

    TrayIcon *tray() const { return m_tray; }
    // What the banner needs of the engine; set once the engine stands.
    void setBannerHooks(DisplayQueue::Hooks hooks) { m_bannerHooks = std::move(hooks); }
    // Made at the first message of the run, then kept until the client exits.
    // What the forms of authoring and the console work with; set once the engine stands.
    void setAuthoring(std::optional<AuthoringContext> context);
    void setConsole(std::optional<ConsoleContext> context);
    // What the option, policy and configuration forms hand back to the engine.
    struct EngineCalls
    {
        // False when the command did not leave: the form then stays open.
        std::function<bool(const QString &reference, const QString &codes)> newPoliciesToSend;
        std::function<bool(const ServerConfig &config)> updateServerConfiguration;
        std::function<void()> optionsChanged;
    };
    void setEngineCalls(EngineCalls calls) { m_engineCalls = std::move(calls); }
    frmAdmin *console() const;
    frmMessage *messageForm() const;
    frmReply *replyForm() const;
    frmLevelEdit *levelEditor() const;
    frmBanner *banner();
    frmBanner *existingBanner() const { return m_banner; }
    void destroyBanner();

private:
    TrayIcon *m_tray = nullptr;
    QPointer<frmLog> m_log;
    DisplayQueue::Hooks m_bannerHooks;
    frmBanner *m_banner = nullptr;
    DesktopNotifier *m_notifier = nullptr;
    std::optional<AuthoringContext> m_authoring;
    QPointer<frmMessage> m_message;
    QPointer<frmMessage> m_package;
    QPointer<QDialog> m_about;
    QPointer<frmReply> m_reply;
    std::optional<ConsoleContext> m_consoleContext;
    QPointer<frmAdmin> m_console;
    QPointer<frmLevelEdit> m_levelEdit;
    EngineCalls m_engineCalls;
    // The composer's level list and fields for the next message, the only one open.
    frmMessage *composer();
    frmMessage *packageComposer();
    // The composer for a stored record: the package one for a package.
    frmMessage *composerFor(const DVMessage &msg);
    // A composer being written is replaced only if the person says so.
    bool mayReplace(frmMessage *form);
    bool askReplace(QWidget *form);
    void ViewMessage(const DVMessage &msg);
};
