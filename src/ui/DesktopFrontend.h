#pragma once

#include "core/Frontend.h"

#include <QObject>
#include <QPointer>

class TrayIcon;
class frmLog;

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
    bool OpenDocument(const QString &path) override;
    void ShowPolicies(const QString &reference, const Policies &policies) override;
    void ShowServerConfig(const ServerConfig &config) override;
    void DisplayList(ListKind list, const QString &letter) override;
    void AddMessageToDisplay(const DVMessage &msg) override;
    void DeleteMessageFromDisplay(const QString &msgID) override;
    bool IsOnDisplay(const QString &msgID) const override;
    void AddRecord(int list, const DVMessage &msg) override;
    void DelRecord(int list, const QString &msgID) override;

    TrayIcon *tray() const { return m_tray; }

private:
    TrayIcon *m_tray = nullptr;
    QPointer<frmLog> m_log;
};
