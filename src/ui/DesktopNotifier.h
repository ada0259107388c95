#pragma once

#include <QObject>
#include <QPointer>

class QDBusPendingCallWatcher;
class QLabel;
class QTimer;
class QWidget;

// A popup on the desktop through the notification service of the session,
// whose text can be replaced in place while it stands; a small toast window
// of our own where no service runs.
class DesktopNotifier final : public QObject
{
    Q_OBJECT
public:
    explicit DesktopNotifier(QObject *parent = nullptr);
    ~DesktopNotifier() override;

    // The first line is the heading, the rest the body.
    void show(const QString &text);
    bool isShown() const { return m_shown; }
    // How long a toast stays, in milliseconds.
    static constexpr int ToastTimeout = 8000;

private Q_SLOTS:
    void onClosed(uint id, uint reason);

private:
    // Sends the text to the service without waiting; the answer comes later.
    void notify(const QString &text);
    void onNotifyAnswered(QDBusPendingCallWatcher *watcher);
    void showToast(const QString &text);

    uint m_id = 0;
    bool m_shown = false;
    // A call is on its way; a text shown meanwhile waits for its id, so that it
    // replaces the popup rather than stacking a second one.
    bool m_calling = false;
    QString m_waitingText;
    QPointer<QWidget> m_toast;
    QLabel *m_toastText = nullptr;
    QTimer *m_toastTimer = nullptr;
};
