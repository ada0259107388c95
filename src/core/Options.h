#pragma once

#include "core/IniFile.h"

#include <QString>
#include <QStringList>

// The banner font as the settings hold it; the banner turns it into a real font.
struct FontSpec
{
    QString Name = QStringLiteral("Arial");
    bool Bold = false;
    bool Italic = false;
    int Size = 12;
};

// The client's settings, section "Options" of KorvaneClient.ini.
class Options
{
public:
    static constexpr int DefaultClientPort = 58502;

    qint16 Language = 0;
    qint32 RefreshRate = 100; // the key "Speed"
    qint32 RefreshSteps = 1;  // the key "Refresh Rate"
    FontSpec Font;
    qint32 HorizontalPosition = 0;
    qint32 VerticalPosition = 0;
    QString Server;
    qint32 ClientPort = DefaultClientPort;
    bool Trace = false;
    qint32 ReconnectDelay = 15;
    qint32 WatchdogDelay = 45;
    qint32 WatchdogFrequency = 10;
    // Read only: how dates are written on the wire (a Qt date-time format; empty
    // means the locale's short date and long time).
    QString DateTimeFormat;

    void setIniPath(const QString &userFile, const QString &deployedDefaults = QString());
    const QString &iniPath() const { return m_ini.fileName(); }

    void ReadOptions();
    // What the last ReadOptions found wrong in the file, for the log.
    const QStringList &problems() const { return m_problems; }
    void SaveOptions() const;
    void SaveConnectionSettings() const;
    void SaveUpdLocation(const QString &location) const;
    void ResetToDefault();

private:
    qint64 readNumber(const QString &key, qint64 defaultValue);

    IniFile m_ini;
    QStringList m_problems;
};
