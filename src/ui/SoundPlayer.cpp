#include "ui/SoundPlayer.h"

#include "core/AppPaths.h"
#include "core/Log.h"
#include "ui/SoundCodes.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QDir>
#include <QFileInfo>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QSoundEffect>
#include <QStandardPaths>
#include <QUrl>

SoundPlayer::SoundPlayer(QObject *parent) : SoundPlayer(QStringLiteral("frmBanner:PlayFile"), parent) {}

SoundPlayer::SoundPlayer(const QString &procedure, QObject *parent) : QObject(parent), m_procedure(procedure)
{
}

SoundPlayer::~SoundPlayer() = default;

void SoundPlayer::Initialise()
{
    audioOutputAvailable();
}

bool SoundPlayer::Open(const QString &path)
{
    Stop();
    // A lost file must not leave the previous one to be played in its place.
    m_file = QFileInfo(path).isFile() ? path : QString();
    return !m_file.isEmpty();
}

void SoundPlayer::PlayOnce()
{
    play(false);
}

void SoundPlayer::PlayLooping()
{
    play(true);
}

void SoundPlayer::Stop()
{
    m_looping = false;
    releasePlayer();
}

void SoundPlayer::PlayFile(qint16 soundType, const QString &soundFile, bool looping)
{
    TraceLog(m_procedure);
    const QString file = ResolveFile(soundType, soundFile);
    // Only a file counts: an empty name or a folder is as lost as a missing file.
    if (!QFileInfo(file).isFile()) {
        WriteLog(m_procedure + QStringLiteral(" - Sound File ") + file + QStringLiteral(" does not exists"));
        return;
    }
    Open(file);
    if (looping)
        PlayLooping();
    else
        PlayOnce();
}

QString SoundPlayer::ResolveFile(qint16 soundType, const QString &soundFile) const
{
    if (soundType == SoundCodes::Beep)
        return BellFile();
    const QString builtIn = SoundCodes::BuiltInFile(soundType);
    return builtIn.isEmpty() ? soundFile : QDir(programDirectory()).filePath(builtIn);
}

void SoundPlayer::Beep()
{
    PlayFile(SoundCodes::Beep, QString(), false);
}

QString SoundPlayer::BellFile() const
{
    // The freedesktop theme is the one every other theme falls back on; failing it, any theme's bell.
    const QStringList dataDirs = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (const QString &theme : {QStringLiteral("freedesktop"), QStringLiteral("*")}) {
        for (const QString &dataDir : dataDirs) {
            const QDir sounds(dataDir + QStringLiteral("/sounds"));
            for (const QString &found :
                 sounds.entryList({theme}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
                const QDir stereo(sounds.filePath(found + QStringLiteral("/stereo")));
                const QStringList bells =
                    stereo.entryList({QStringLiteral("bell.*")}, QDir::Files, QDir::Name);
                if (!bells.isEmpty())
                    return stereo.filePath(bells.first());
            }
        }
    }
    return QDir(programDirectory()).filePath(SoundCodes::BuiltInBell());
}

QString SoundPlayer::programDirectory() const
{
    return m_programDirectory.isEmpty() ? AppPaths::resourceFolder() : m_programDirectory;
}

void SoundPlayer::setProgramDirectory(const QString &directory)
{
    m_programDirectory = directory;
}

bool SoundPlayer::isPlaying() const
{
    return (m_effect && m_effect->isPlaying()) ||
           (m_player && m_player->playbackState() == QMediaPlayer::PlayingState);
}

bool SoundPlayer::audioOutputAvailable()
{
    // Asked at every play, so that a device plugged in later is heard.
    if (QMediaDevices::defaultAudioOutput().isNull()) {
        if (!m_toldNoDevice)
            WriteLog(m_procedure + QStringLiteral(" - No audio output device; sounds are silent"));
        m_toldNoDevice = true;
        return false;
    }
    m_toldNoDevice = false;
    return true;
}

void SoundPlayer::play(bool looping)
{
    if (m_file.isEmpty())
        return;
    if (!audioOutputAvailable()) {
        // Whoever waits for the end of a single play is not kept waiting by silence.
        if (!looping)
            QMetaObject::invokeMethod(this, &SoundPlayer::SoundDone, Qt::QueuedConnection);
        return;
    }
    m_looping = looping;
    if (looping && m_file.endsWith(QStringLiteral(".wav"), Qt::CaseInsensitive))
        startEffect();
    else
        startPlayer();
}

void SoundPlayer::startEffect()
{
    // A wave loops without a gap in a sound effect; the media player leaves a pause between rounds.
    releasePlayer();
    m_effect = new QSoundEffect(QMediaDevices::defaultAudioOutput(), this);
    connect(m_effect, &QSoundEffect::statusChanged, this, [this] {
        // A wave the effect cannot read goes to the media player, which reads more kinds.
        if (m_effect->status() == QSoundEffect::Error)
            startPlayer();
    });
    m_effect->setSource(QUrl::fromLocalFile(m_file));
    m_effect->setLoopCount(QSoundEffect::Infinite);
    m_effect->play();
}

void SoundPlayer::startPlayer()
{
    // A fresh player for every round: a player stopped or rewound mid-stream may go on "playing" in
    // silence, and so may its own infinite loops.
    releasePlayer();
    m_player = new QMediaPlayer(this);
    m_output = new QAudioOutput(QMediaDevices::defaultAudioOutput(), m_player);
    m_player->setAudioOutput(m_output);
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus status) {
        if (status != QMediaPlayer::EndOfMedia)
            return;
        if (m_looping)
            QMetaObject::invokeMethod(this, &SoundPlayer::nextRound, Qt::QueuedConnection);
        else
            Q_EMIT SoundDone();
    });
    connect(m_player, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString &errorString) {
                WriteLog(m_procedure + QStringLiteral(" - ") + errorString);
                m_looping = false;
                Q_EMIT SoundDone();
            });
    m_player->setSource(QUrl::fromLocalFile(m_file));
    m_player->play();
}

void SoundPlayer::nextRound()
{
    // Stopped, or another sound opened, while the round ended: nothing to go on with.
    if (m_looping && m_player && m_player->mediaStatus() == QMediaPlayer::EndOfMedia)
        startPlayer();
}

void SoundPlayer::releasePlayer()
{
    if (m_effect) {
        m_effect->disconnect(this);
        m_effect->stop();
        m_effect->deleteLater();
        m_effect = nullptr;
    }
    if (!m_player)
        return;
    m_player->disconnect(this);
    m_player->stop();
    m_player->deleteLater();
    m_player = nullptr;
    m_output = nullptr;
}
