#include "banner/Audio.h"

#include "ui/SoundCodes.h"
#include "ui/SoundPlayer.h"

Audio::Audio() = default;

Audio::~Audio() = default;

void Audio::setSoundType(qint32 soundType)
{
    m_soundType = soundType;
    if (soundType != SoundCodes::File)
        m_waveFile.clear();
}

void Audio::StartSound()
{
    if (m_soundType == SoundCodes::Beep) {
        player().Beep();
    } else if (m_soundType == SoundCodes::File) {
        if (player().Open(m_waveFile))
            player().PlayOnce();
    }
}

void Audio::LoopResSound()
{
    if (m_isLooping)
        return;
    // The program's own alert is the built-in buzzer, code 4.
    if (player().Open(player().ResolveFile(4, QString())))
        player().PlayLooping();
    m_isLooping = true;
}

void Audio::StopSound()
{
    if (!m_isLooping)
        return;
    // The last round of the alert was cut at once by the purge that followed it, so stopping is all.
    player().Stop();
    m_isLooping = false;
}

QString Audio::PlayedFile() const
{
    return m_player ? m_player->loadedFile() : QString();
}

SoundPlayer &Audio::player()
{
    if (!m_player)
        m_player = std::make_unique<SoundPlayer>(QStringLiteral("Audio:StartSound"));
    return *m_player;
}
