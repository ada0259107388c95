#include "core/OsInfo.h"

#include <QFile>

namespace {

QString prettyName(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine(4096)).trimmed();
        if (!line.startsWith(QStringLiteral("PRETTY_NAME=")))
            continue;
        QString value = line.mid(12);
        if (value.size() >= 2 && (value.front() == QLatin1Char('"') || value.front() == QLatin1Char('\'')) &&
            value.back() == value.front())
            value = value.mid(1, value.size() - 2);
        return value.remove(QLatin1Char('\\'));
    }
    return {};
}

} // namespace

QString DetectOsName(const QString &osRelease)
{
    if (!osRelease.isEmpty())
        return prettyName(osRelease);
    const QString name = prettyName(QStringLiteral("/etc/os-release"));
    return name.isEmpty() ? prettyName(QStringLiteral("/usr/lib/os-release")) : name;
}
