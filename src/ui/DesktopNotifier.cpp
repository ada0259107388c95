#include "ui/DesktopNotifier.h"

#include "core/Log.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

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
    const QString summary = text.section(QLatin1Char('\n'), 0, 0);
    const QString body = text.section(QLatin1Char('\n'), 1);
    if (notify(summary, body)) {
        m_shown = true;
        return;
    }
    showToast(text);
}

bool DesktopNotifier::notify(const QString &summary, const QString &body)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface() || !bus.interface()->isServiceRegistered(Service))
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(Service, Path, Service, QStringLiteral("Notify"));
    // While the popup stands, the new text replaces it rather than stacking another.
    call << QStringLiteral("Korvane Client") << (m_shown ? m_id : 0u) << QStringLiteral("dialog-information")
         << summary << body << QStringList() << QVariantMap() << -1;
    const QDBusReply<uint> reply = bus.call(call, QDBus::Block, 3000);
    if (!reply.isValid()) {
        WriteLog(QStringLiteral("frmKorvanClient:PopupNotify - ") + reply.error().message());
        return false;
    }
    m_id = reply.value();
    return true;
}

void DesktopNotifier::onClosed(uint id, uint)
{
    if (id == m_id)
        m_shown = false;
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
