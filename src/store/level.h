#pragma once

#include <QString>

// One display level: the banner's colours and shadow, the sound, and the
// lowest role that may use it. Authority 99 and above marks a reserved level.
class level
{
public:
    static constexpr qint16 ReservedAuthority = 99;

    QString LevelName;
    QString Description;
    double BackColor = 16777215; // white, as a blue-green-red number
    double ForeColor = 0;
    double ShadowColor = 0;
    bool DrawShadow = false;
    qint16 SoundType = 0;
    QString SoundFile;
    // This workstation's copy of a fetched sound, in the data folder; empty when none was made.
    QString LocalSoundFile;
    bool Looping = false;
    qint16 Authority = 0;
};
