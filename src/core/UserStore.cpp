#include "core/UserStore.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

QString UserStore::read(const QString &group, const QString &name, const QString &defaultValue) const
{
    const QSettings settings(m_fileName, QSettings::IniFormat);
    QString value = settings.value(group + QLatin1Char('/') + name).toString();
    const qsizetype nul = value.indexOf(QChar(0));
    if (nul >= 0)
        value.truncate(nul);
    value.truncate(BufferLength);
    return value.isEmpty() ? defaultValue : value;
}

bool UserStore::write(const QString &group, const QString &name, const QString &value) const
{
    if (!QDir().mkpath(QFileInfo(m_fileName).absolutePath()))
        return false;
    QSettings settings(m_fileName, QSettings::IniFormat);
    settings.setValue(group + QLatin1Char('/') + name, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}
