#include "ui/DesktopNotifier.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QLabel>
#include <QScreen>
#include <QTest>
#include <QWidget>

// A notification service that holds every call unanswered until the test lets it go.
class SlowService final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QList<QDBusMessage> held;

public Q_SLOTS:
    uint Notify(const QString &, uint, const QString &, const QString &, const QString &, const QStringList &,
                const QVariantMap &, int, const QDBusMessage &call)
    {
        call.setDelayedReply(true);
        held.append(call);
        return 0;
    }
};

class TestNotifier : public QObject
{
    Q_OBJECT

    static QWidget *toastShown()
    {
        for (QWidget *w : QApplication::topLevelWidgets())
            if (w->objectName() == QLatin1String("frmToast") && w->isVisible())
                return w;
        return nullptr;
    }

private Q_SLOTS:
    // A silent service leaves the event loop running; a second text waits for the first's id to replace it.
    void silentServiceBlocksNothing()
    {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            QSKIP("no session bus");
        QDBusConnection serviceBus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("slow-service"));
        SlowService service;
        QVERIFY(serviceBus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &service,
                                          QDBusConnection::ExportAllSlots));
        QVERIFY(serviceBus.registerService(QStringLiteral("org.freedesktop.Notifications")));

        DesktopNotifier notifier;
        notifier.show(QStringLiteral("Read by\nann"));
        QVERIFY(notifier.isShown());
        // The service, on this same thread, only gets the call if show() did not wait for it.
        QTRY_COMPARE(service.held.size(), 1);
        QCOMPARE(service.held.at(0).arguments().at(1).toUInt(), 0u);
        notifier.show(QStringLiteral("Read by\nann, bob"));
        QVERIFY(!toastShown());

        serviceBus.send(service.held.at(0).createReply(QVariantList{7u}));
        QTRY_COMPARE(service.held.size(), 2);
        QCOMPARE(service.held.at(1).arguments().at(1).toUInt(), 7u);
        QCOMPARE(service.held.at(1).arguments().at(4).toString(), QStringLiteral("ann, bob"));

        // A service that fails the call: our own toast says it instead.
        serviceBus.send(service.held.at(1).createErrorReply(QDBusError::Failed, QStringLiteral("gone")));
        QTRY_VERIFY(toastShown());
        // The readers, with room around the text, in the screen's corner.
        const auto *text = toastShown()->findChild<QLabel *>();
        QVERIFY(text && text->text().contains(QStringLiteral("ann, bob")));
        const QSize bare = text->fontMetrics().boundingRect(QRect(), 0, text->text()).size();
        QVERIFY(text->width() >= bare.width() + 16 && text->height() >= bare.height() + 16);
        QVERIFY(QGuiApplication::primaryScreen()->availableGeometry().contains(toastShown()->geometry()));
        serviceBus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
    }
};

QTEST_MAIN(TestNotifier)
#include "tst_notifier.moc"
