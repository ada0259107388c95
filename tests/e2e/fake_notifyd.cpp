// A notification service for the desktop tests: owns the well-known name on
// the session bus and writes every notification it is given to a file, one
// line each, as "summary|body" with line breaks shown as "\n".
#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>
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
        QFile file(m_logFile);
        QString line = summary + QLatin1Char('|') + body;
        if (file.open(QIODevice::WriteOnly | QIODevice::Append))
            file.write(line.replace(QLatin1Char('\n'), QStringLiteral("\\n")).toUtf8() + '\n');
        return replacesId ? replacesId : ++m_lastId;
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
