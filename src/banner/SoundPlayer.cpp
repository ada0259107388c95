#include "banner/SoundPlayer.h"

#include "banner/SoundCodes.h"
#include "core/Log.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMediaDevices>
#include <QMediaPlayer>
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
    if (m_player)
        m_player->stop();
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
    return m_programDirectory.isEmpty() ? QCoreApplication::applicationDirPath() : m_programDirectory;
}

void SoundPlayer::setProgramDirectory(const QString &directory)
{
    m_programDirectory = directory;
}

bool SoundPlayer::isPlaying() const
{
    return m_player && m_player->playbackState() == QMediaPlayer::PlayingState;
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
    ensurePlayer();
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (m_output->device() != device)
        m_output->setDevice(device);
    const QUrl source = QUrl::fromLocalFile(m_file);
    if (m_player->source() != source)
        m_player->setSource(source);
    m_player->stop();
    // Looping is ours: the player's own infinite loops may fall silent after the first round.
    m_looping = looping;
    m_player->setLoops(QMediaPlayer::Once);
    m_player->play();
}

void SoundPlayer::ensurePlayer()
{
    if (m_player)
        return;
    m_player = new QMediaPlayer(this);
    m_output = new QAudioOutput(this);
    m_player->setAudioOutput(m_output);
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus status) {
        if (status != QMediaPlayer::EndOfMedia)
            return;
        if (m_looping) {
            m_player->setPosition(0);
            m_player->play();
        } else {
            Q_EMIT SoundDone();
        }
    });
    connect(m_player, &QMediaPlayer::errorOccurred, this,
            [this](QMediaPlayer::Error, const QString &errorString) {
                WriteLog(m_procedure + QStringLiteral(" - ") + errorString);
                m_looping = false;
                Q_EMIT SoundDone();
            });
}
