#pragma once

#include "core/IniFile.h"
#include "core/OptionKeys.h"

#include <QString>
#include <QStringList>

// The banner font as the settings hold it; the banner turns it into a real font.
struct FontSpec
{
    QString Name;
    bool Bold = false;
    bool Italic = false;
    int Size = 0;
};

// The client's settings, section "Options" of KorvaneClient.ini. Keys, types
// and defaults are the table of OptionKeys; a new Options holds the reset
// defaults, and the read defaults where a reset leaves the value alone. Saves
// keep in the user's file only what differs from the machine's file and the
// defaults, and never a key the machine's file locks.
class Options
{
public:
    static constexpr int DefaultClientPort = 58502;

    Options();

    qint16 Language = 0;
    qint32 RefreshRate = 0;  // the key "Speed"
    qint32 RefreshSteps = 0; // the key "Refresh Rate"
    FontSpec Font;
    qint32 HorizontalPosition = 0;
    qint32 VerticalPosition = 0;
    QString Server;
    qint32 ClientPort = 0;
    bool Trace = false;
    qint32 ReconnectDelay = 0;
    qint32 WatchdogDelay = 0;
    qint32 WatchdogFrequency = 0;
    // Read only: how dates are written on the wire (a Qt date-time format; empty
    // means the locale's short date and long time).
    QString DateTimeFormat;
    // Read only: "server" lets only the server's addresses give UDP orders; empty lets anyone.
    QString UdpOrdersFrom;

    void setIniPath(const QString &userFile, const QString &deployedDefaults = QString());
    const QString &iniPath() const { return m_ini.fileName(); }

    void ReadOptions();
    // What the last ReadOptions found wrong in the file, for the log.
    const QStringList &problems() const { return m_problems; }
    void SaveOptions() const;
    void SaveConnectionSettings() const;
    void SaveUpdLocation(const QString &location) const;
    // A locked key resets to what the machine's file sets.
    void ResetToDefault();
    // The administrator fixed the key in the machine's file: saves leave it out.
    bool isLocked(const QString &key) const { return m_ini.isLocked(key); }

private:
    OptionValue read(const OptionKey &key, bool *wellFormed = nullptr) const;

    IniFile m_ini;
    QStringList m_problems;
};
