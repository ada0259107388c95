#pragma once

#include <QString>

#include <memory>

class SoundPlayer;

// Plain system sounds without a window: a beep, a wave file, or the
// program's own alert looping until stopped. Nothing makes one at present;
// it is kept as the plain alternative to a window's player.
class Audio
{
public:
    Audio();
    ~Audio();
    Audio(const Audio &) = delete;
    Audio &operator=(const Audio &) = delete;

    QString WaveFile() const { return m_waveFile; }
    void setWaveFile(const QString &waveFile) { m_waveFile = waveFile; }
    qint32 SoundType() const { return m_soundType; }
    // Any type but a file of one's own forgets the file.
    void setSoundType(qint32 soundType);

    // Type 1 beeps, type 2 plays WaveFile once without waiting; failures are ignored.
    void StartSound();
    void LoopResSound();
    void StopSound();
    bool IsLooping() const { return m_isLooping; }
    // The file last handed to the player, empty when none was or it was lost.
    QString PlayedFile() const;

private:
    SoundPlayer &player();

    QString m_waveFile;
    qint32 m_soundType = 1;
    bool m_isLooping = false;
    std::unique_ptr<SoundPlayer> m_player;
};
