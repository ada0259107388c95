// A notification service for the desktop tests: owns the well-known name on
// the session bus and writes every notification it is given to a file, one
// line each, as "id|replaces_id|summary|body" with line breaks shown as "\n".
#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QFile>
#include <QStringList>
#include <QVariantMap>

class Notifications final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit Notifications(const QString &logFile) : m_logFile(logFile) {}

public Q_SLOTS:
    uint Notify(const QString &, uint replacesId, const QString &, const QString &summary,
                const QString &body, const QStringList &, const QVariantMap &, int)
    {
        const uint id = replacesId ? replacesId : ++m_lastId;
        QFile file(m_logFile);
        if (file.open(QIODevice::WriteOnly | QIODevice::Append)) {
            QString line = QString::number(id) + QLatin1Char('|') + QString::number(replacesId) +
                           QLatin1Char('|') + summary + QLatin1Char('|') + body;
            line.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
            file.write((line + QLatin1Char('\n')).toUtf8());
        }
        return id;
    }
    QStringList GetCapabilities() { return {QStringLiteral("body")}; }
    void CloseNotification(uint) {}
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion)
    {
        vendor = QStringLiteral("tests");
        version = QStringLiteral("1");
        specVersion = QStringLiteral("1.2");
        return QStringLiteral("fake_notifyd");
    }

private:
    QString m_logFile;
    uint m_lastId = 0;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2)
        return 2;
    Notifications service(QString::fromLocal8Bit(argv[1]));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &service,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService(QStringLiteral("org.freedesktop.Notifications")))
        return 1;
    return QCoreApplication::exec();
}

#include "fake_notifyd.moc"
