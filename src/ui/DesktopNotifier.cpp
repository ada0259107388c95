#include "ui/DesktopNotifier.h"

#include "core/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <utility>

namespace {
const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString Path = QStringLiteral("/org/freedesktop/Notifications");
} // namespace

DesktopNotifier::DesktopNotifier(QObject *parent) : QObject(parent)
{
    QDBusConnection::sessionBus().connect(Service, Path, Service, QStringLiteral("NotificationClosed"), this,
                                          SLOT(onClosed(uint, uint)));
}

DesktopNotifier::~DesktopNotifier()
{
    delete m_toast;
}

void DesktopNotifier::show(const QString &text)
{
    // The popup counts as shown from now on: the engine's next receipt extends it.
    m_shown = true;
    if (m_toast && m_toast->isVisible()) {
        showToast(text);
        return;
    }
    if (m_calling) {
        m_waitingText = text;
        return;
    }
    notify(text);
}

void DesktopNotifier::notify(const QString &text)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        showToast(text);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(Service, Path, Service, QStringLiteral("Notify"));
    // While the popup stands, the new text replaces it rather than stacking another.
    call << QStringLiteral("Korvane Client") << m_id << QStringLiteral("dialog-information")
         << text.section(QLatin1Char('\n'), 0, 0) << text.section(QLatin1Char('\n'), 1) << QStringList()
         << QVariantMap() << -1;
    // Never blocks: a service that is slow or hung leaves the banner scrolling.
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 15000), this);
    watcher->setProperty("text", text);
    m_calling = true;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &DesktopNotifier::onNotifyAnswered);
}

void DesktopNotifier::onNotifyAnswered(QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    m_calling = false;
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError()) {
        // No service (or one that never answered): our own toast says it instead.
        if (reply.error().type() != QDBusError::ServiceUnknown)
            WriteLog(QStringLiteral("frmKorvanClient:PopupNotify - ") + reply.error().message());
        m_id = 0;
        const QString text = m_waitingText.isEmpty() ? watcher->property("text").toString() : m_waitingText;
        m_waitingText.clear();
        showToast(text);
        return;
    }
    m_id = reply.value();
    if (!m_waitingText.isEmpty())
        notify(std::exchange(m_waitingText, QString()));
}

void DesktopNotifier::onClosed(uint id, uint)
{
    if (id == m_id && !m_calling) {
        m_shown = false;
        m_id = 0;
    }
}

void DesktopNotifier::showToast(const QString &text)
{
    if (!m_toast) {
        m_toast = new QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        m_toast->setAttribute(Qt::WA_ShowWithoutActivating);
        m_toast->setObjectName(QStringLiteral("frmToast"));
        m_toastText = new QLabel(m_toast);
        m_toastText->setTextFormat(Qt::PlainText);
        m_toastText->setMargin(12);
        auto *layout = new QVBoxLayout(m_toast);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(m_toastText);
        m_toastTimer = new QTimer(m_toast);
        m_toastTimer->setSingleShot(true);
        connect(m_toastTimer, &QTimer::timeout, m_toast, [this] {
            m_toast->hide();
            m_shown = false;
        });
    }
    m_toastText->setText(text);
    m_toast->adjustSize();
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        m_toast->move(area.right() - m_toast->width() - 16, area.bottom() - m_toast->height() - 16);
    }
    m_toast->show();
    // Each new reader keeps the toast up a while longer.
    m_toastTimer->start(ToastTimeout);
    m_shown = true;
}
