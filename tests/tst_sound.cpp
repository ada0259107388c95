#include "banner/Audio.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "support/LogText.h"
#include "support/TempProfile.h"
#include "ui/SoundCodes.h"
#include "ui/SoundPlayer.h"

#include <QAudioDevice>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QSoundEffect>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

class TestSound : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempProfile> m_profile;

    static QString mediaDir() { return QStringLiteral(KORVANE_MEDIA_DIR); }
    static QString programDir() { return QFileInfo(mediaDir()).absolutePath(); }

private Q_SLOTS:
    void init()
    {
        m_profile = std::make_unique<TempProfile>();
        gProcess().AppDataPath = m_profile->dataHome();
        gOptions().Trace = true;
    }

    void cleanup() { m_profile.reset(); }

    void builtInFilesLoopingAndLostFiles()
    {
        SoundPlayer player;
        player.setProgramDirectory(programDir());
        for (qint16 code = SoundCodes::FirstBuiltIn; code <= SoundCodes::LastBuiltIn; ++code)
            QVERIFY2(QFileInfo(player.ResolveFile(code, QString())).isFile(),
                     qPrintable(QString::number(code)));
        const QString own = u"/srv/Alarm.wav"_s;
        QCOMPARE(player.ResolveFile(2, own), own);
        QCOMPARE(player.ResolveFile(SoundCodes::LastBuiltIn + 1, own), own);

        // Looping runs until stopped; stopping with nothing open does no harm.
        QSignalSpy done(&player, &SoundPlayer::SoundDone);
        player.Stop();
        QVERIFY(player.Open(mediaDir() + u"/Buzzer.wav"_s));
        player.PlayLooping();
        if (!QMediaDevices::defaultAudioOutput().isNull()) {
            QTRY_VERIFY(player.isPlaying());
            // Looped again and again then stopped, it keeps no sound effect behind.
            player.PlayLooping();
            player.PlayLooping();
            player.Stop();
            QTRY_VERIFY(!player.isPlaying());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(player.findChildren<QSoundEffect *>().size(), 0);
        } else {
            // Silent without a device, said once however often it is asked.
            player.PlayLooping();
            player.Initialise();
            QVERIFY(!player.isPlaying());
            QCOMPARE(logText().count(u"No audio output device; sounds are silent"_s), 1);
        }
        QCoreApplication::processEvents();
        QCOMPARE(done.count(), 0);

        // A lost file takes the place of the last one, so nothing old is played.
        QVERIFY(!player.Open(mediaDir() + u"/Missing.wav"_s));
        player.PlayOnce();
        QVERIFY(!player.isPlaying());
        QCOMPARE(player.loadedFile(), QString());

        // A lost file of one's own, a folder, and a built-in missing beside the program: logged, and silent.
        const QString dir = m_profile->path();
        for (const auto &[code, file, logged] :
             {std::tuple{qint16(2), u"/nonexistent/Lost.wav"_s, u"/nonexistent/Lost.wav"_s},
              std::tuple{qint16(2), dir, dir},
              std::tuple{qint16(5), QString(), QString(dir + u"/Media/Choir.wav"_s)}}) {
            SoundPlayer lost;
            lost.setProgramDirectory(dir);
            QSignalSpy silent(&lost, &SoundPlayer::SoundDone);
            lost.PlayFile(code, file, true);
            QCoreApplication::processEvents();
            QVERIFY2(
                logText().contains(u"frmBanner:PlayFile - Sound File "_s + logged + u" does not exists"_s),
                qPrintable(logText()));
            QCOMPARE(lost.loadedFile(), QString());
            QVERIFY(!lost.isPlaying());
            QCOMPARE(silent.count(), 0);
        }
    }

    // Played where it lies, no copy made, and to its end whether or not a device is there to
    // hear it: a file of one's own, a built-in, the bell without and then with a desktop sound theme.
    void playsOnceFromWhereItLies()
    {
        const QByteArray savedDirs = qgetenv("XDG_DATA_DIRS");
        const auto restore = qScopeGuard([&savedDirs] { qputenv("XDG_DATA_DIRS", savedDirs); });
        qputenv("XDG_DATA_DIRS", m_profile->path().toUtf8() + "/share");
        QFile wav(mediaDir() + u"/Update.wav"_s);
        QVERIFY(wav.open(QIODevice::ReadOnly));
        const QByteArray sound = wav.readAll();
        const QString own = m_profile->path() + u"/My Sounds/ding dong.wav"_s;
        m_profile->writeFile(u"My Sounds/ding dong.wav"_s, sound);
        const QString theme = u"share/sounds/freedesktop/stereo/bell.oga"_s;
        for (const auto &[code, themed, expected] :
             {std::tuple(qint16(2), false, own),
              std::tuple(qint16(11), false, QString(mediaDir() + u"/Update.wav"_s)),
              std::tuple(qint16(1), false, QString(mediaDir() + u"/Bell.wav"_s)),
              std::tuple(qint16(1), true, QString(m_profile->path() + u'/' + theme))}) {
            if (themed)
                m_profile->writeFile(theme, sound);
            SoundPlayer player;
            player.setProgramDirectory(programDir());
            player.Initialise();
            QSignalSpy done(&player, &SoundPlayer::SoundDone);
            if (code == 1)
                player.Beep();
            else
                player.PlayFile(code, code == 2 ? own : QString(), false);
            QCOMPARE(QFileInfo(player.loadedFile()).canonicalFilePath(),
                     QFileInfo(expected).canonicalFilePath());
            QCOMPARE(QDir(m_profile->dataHome()).entryList({u"*.wav"_s}, QDir::Files), QStringList());
            QVERIFY(done.wait(15000));
            QTRY_VERIFY(!player.isPlaying());
        }
        QVERIFY(!logText().contains(u"does not exists"_s));
    }

    // Only a file of one's own keeps its path, and only it is played; a lost file and a beep without a
    // display are quietly survived.
    void audioForgetsFilesAndLoops()
    {
        const QString gone = m_profile->path() + u"/gone.wav"_s, own = m_profile->path() + u"/own.wav"_s;
        QVERIFY(QFile::copy(mediaDir() + u"/Update.wav"_s, own));
        for (qint32 type : {1, 2, 3})
            for (const QString &file : {gone, own}) {
                Audio audio;
                audio.setWaveFile(file);
                audio.setSoundType(type);
                QCOMPARE(audio.WaveFile(), type == 2 ? file : QString());
                audio.StartSound();
                QCOMPARE(audio.PlayedFile() == own, type == 2 && file == own);
                QVERIFY(!audio.IsLooping());
                audio.LoopResSound();
                audio.LoopResSound();
                QVERIFY(audio.IsLooping());
                audio.StopSound();
                QVERIFY(!audio.IsLooping());
            }
    }
};

QTEST_MAIN(TestSound)
#include "tst_sound.moc"
