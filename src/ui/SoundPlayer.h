#pragma once

#include <QObject>
#include <QString>

class QAudioOutput;
class QMediaPlayer;
class QSoundEffect;

// The media player of a window that plays level sounds: open a wave or MP3
// file, play it once or over and over, stop. Where no audio output exists it
// says so once in the log and stays silent.
class SoundPlayer final : public QObject
{
    Q_OBJECT

public:
    // The banner's player, whose log lines read "frmBanner:PlayFile".
    explicit SoundPlayer(QObject *parent = nullptr);
    // procedure names the log lines of another owner, such as "frmLevelEdit:PlayFile".
    explicit SoundPlayer(const QString &procedure, QObject *parent = nullptr);
    ~SoundPlayer() override;

    // Once, at load of the owner: learns whether sound can be heard at all.
    void Initialise();
    // Loads a file for playing; false when there is no such file.
    bool Open(const QString &path);
    void PlayOnce();
    void PlayLooping();
    void Stop();

    // The level's sound: code 1 is the desktop's bell, codes 3 to 11 name a
    // built-in file, any other code takes soundFile as it stands.
    void PlayFile(qint16 soundType, const QString &soundFile, bool looping);
    QString ResolveFile(qint16 soundType, const QString &soundFile) const;
    // The system beep, played once like any other sound: an X bell is muted on most desktops.
    void Beep();
    // The sound theme's bell where the desktop has one, else the built-in bell.
    QString BellFile() const;

    // Where the built-in sounds lie below; AppPaths::resourceFolder() unless set.
    QString programDirectory() const;
    void setProgramDirectory(const QString &directory);

    bool isPlaying() const;
    QString loadedFile() const { return m_file; }

Q_SIGNALS:
    // A sound played once came to its end, or could not be played.
    void SoundDone();

private:
    bool audioOutputAvailable();
    void play(bool looping);
    void startEffect();
    void startPlayer();
    void nextRound();
    void releasePlayer();

    QString m_procedure;
    QString m_programDirectory;
    QString m_file;
    QMediaPlayer *m_player = nullptr;
    QAudioOutput *m_output = nullptr;
    QSoundEffect *m_effect = nullptr;
    bool m_looping = false;
    bool m_toldNoDevice = false;
};
