#pragma once

#include <QString>

// The sound codes of a level and the built-in files that codes 3 to 11 name.
namespace SoundCodes {

constexpr qint16 None = 0;
constexpr qint16 Beep = 1;
constexpr qint16 File = 2;
constexpr qint16 FirstBuiltIn = 3;
constexpr qint16 LastBuiltIn = 11;

// Our own bell below the program's directory, for desktops without a sound theme.
inline QString BuiltInBell()
{
    return QStringLiteral("Media/Bell.wav");
}

// The path below the program's directory of a built-in sound; empty for any other code.
inline QString BuiltInFile(qint16 soundType)
{
    static const char *const Names[] = {"Beamup",      "Buzzer",           "Choir",
                                        "Comfortable", "Dark-Technology",  "NewsFlash",
                                        "Revelation",  "Slow-and-Serious", "Update"};
    if (soundType < FirstBuiltIn || soundType > LastBuiltIn)
        return {};
    return QStringLiteral("Media/") + QLatin1String(Names[soundType - FirstBuiltIn]) + QStringLiteral(".wav");
}

} // namespace SoundCodes
