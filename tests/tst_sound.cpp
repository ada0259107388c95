#include "banner/Audio.h"
#include "banner/SoundCodes.h"
#include "banner/SoundPlayer.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/Options.h"
#include "support/TempProfile.h"

#include <QAudioDevice>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMediaDevices>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <memory>

class TestSound : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempProfile> m_profile;

    static QString mediaDir() { return QStringLiteral(KORVANE_MEDIA_DIR); }
    static QString programDir() { return QFileInfo(mediaDir()).absolutePath(); }
    static bool hasAudioDevice() { return !QMediaDevices::defaultAudioOutput().isNull(); }

    // Log lines without the time stamp that WriteLog puts in front.
    static QStringList logLines()
    {
        QFile file(LogFile::path());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList result;
        const QStringList raw = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        for (const QString &line : raw) {
            const qsizetype stamp = line.indexOf(QStringLiteral(" -- "));
            if (!line.isEmpty())
                result << (stamp < 0 ? line : line.mid(stamp + 4));
        }
        return result;
    }

    static QByteArray readAll(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void init()
    {
        m_profile = std::make_unique<TempProfile>();
        gProcess().AppDataPath = m_profile->dataHome();
        gOptions().Trace = true;
    }

    void cleanup() { m_profile.reset(); }

    void codeTable_data()
    {
        QTest::addColumn<qint16>("code");
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("builtIn");
        const QString own = QStringLiteral("\\\\server\\share\\Alarm.wav");
        QTest::newRow("0 keeps the file") << qint16(0) << own << false;
        QTest::newRow("2 keeps the file") << qint16(2) << own << false;
        for (qint16 code = SoundCodes::FirstBuiltIn; code <= SoundCodes::LastBuiltIn; ++code)
            QTest::addRow("built-in %d", code) << code << own << true;
        QTest::newRow("12 keeps the file") << qint16(12) << own << false;
        QTest::newRow("negative keeps the file") << qint16(-1) << own << false;
    }

    void codeTable()
    {
        QFETCH(qint16, code);
        QFETCH(QString, file);
        QFETCH(bool, builtIn);
        SoundPlayer player;
        player.setProgramDirectory(programDir());
        const QString resolved = player.ResolveFile(code, file);
        if (!builtIn) {
            QCOMPARE(resolved, file);
            return;
        }
        // The table and the generated files must agree on every name.
        QCOMPARE(QFileInfo(resolved).absolutePath(), QFileInfo(mediaDir()).absoluteFilePath());
        QVERIFY2(QFileInfo(resolved).isFile(), qPrintable(resolved));
    }

    void missingFileIsLoggedAndSilent_data()
    {
        QTest::addColumn<qint16>("code");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("logged");
        QTest::newRow("lost file of one's own") << qint16(2) << QStringLiteral("/nonexistent/Lost.wav")
                                                << QStringLiteral("/nonexistent/Lost.wav");
        QTest::newRow("code 12 with no name") << qint16(12) << QString() << QString();
        QTest::newRow("network path never mounted") << qint16(2) << QStringLiteral("\\\\server\\share\\a.wav")
                                                    << QStringLiteral("\\\\server\\share\\a.wav");
        QTest::newRow("folder, not a file")
            << qint16(2) << QStringLiteral("<dir>") << QStringLiteral("<dir>");
        QTest::newRow("built-in missing beside the program")
            << qint16(5) << QString() << QStringLiteral("<dir>/Media/Choir.wav");
    }

    void missingFileIsLoggedAndSilent()
    {
        QFETCH(qint16, code);
        QFETCH(QString, file);
        QFETCH(QString, logged);
        const QString dir = m_profile->path();
        file.replace(QStringLiteral("<dir>"), dir);
        logged.replace(QStringLiteral("<dir>"), dir);

        SoundPlayer player;
        player.setProgramDirectory(dir);
        QSignalSpy done(&player, &SoundPlayer::SoundDone);
        player.PlayFile(code, file, true);
        QCoreApplication::processEvents();

        const QStringList expected = {QStringLiteral("frmBanner:PlayFile"),
                                      QStringLiteral("frmBanner:PlayFile - Sound File ") + logged +
                                          QStringLiteral(" does not exists")};
        QCOMPARE(logLines(), expected);
        QCOMPARE(player.loadedFile(), QString());
        QVERIFY(!player.isPlaying());
        QCOMPARE(done.count(), 0);
    }

    void existingFilePlaysFromWhereItLies_data()
    {
        QTest::addColumn<qint16>("code");
        QTest::addColumn<bool>("ownFile");
        QTest::newRow("own file") << qint16(2) << true;
        QTest::newRow("built-in") << qint16(11) << false;
    }

    void existingFilePlaysFromWhereItLies()
    {
        QFETCH(qint16, code);
        QFETCH(bool, ownFile);
        const QString own = m_profile->path() + QStringLiteral("/My Sounds/ding dong.wav");
        m_profile->writeFile(QStringLiteral("My Sounds/ding dong.wav"),
                             readAll(mediaDir() + QStringLiteral("/Update.wav")));
        const QString expected = ownFile ? own : mediaDir() + QStringLiteral("/Update.wav");
        const QStringList before = QDir(m_profile->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

        SoundPlayer player;
        player.setProgramDirectory(programDir());
        player.Initialise();
        QSignalSpy done(&player, &SoundPlayer::SoundDone);
        player.PlayFile(code, ownFile ? own : QString(), false);

        QCOMPARE(QFileInfo(player.loadedFile()).canonicalFilePath(), QFileInfo(expected).canonicalFilePath());
        QCOMPARE(QDir(m_profile->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
        QCOMPARE(QDir(m_profile->dataHome()).entryList({QStringLiteral("*.wav")}, QDir::Files),
                 QStringList());
        // Played once, the sound ends whether or not a device is there to hear it.
        QVERIFY(done.wait(15000));
        QTRY_VERIFY(!player.isPlaying());
        QVERIFY(!logLines().join(QLatin1Char('\n')).contains(QStringLiteral("does not exists")));
    }

    void beepIsTheDesktopBell_data()
    {
        QTest::addColumn<QString>("theme");
        QTest::newRow("sound theme installed") << QStringLiteral("share/sounds/freedesktop/stereo/bell.oga");
        QTest::newRow("no sound theme") << QString();
    }

    void beepIsTheDesktopBell()
    {
        QFETCH(QString, theme);
        const QByteArray savedDirs = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", m_profile->path().toUtf8() + "/share");
        if (!theme.isEmpty())
            m_profile->writeFile(theme, readAll(mediaDir() + QStringLiteral("/Update.wav")));
        const QString bell = theme.isEmpty() ? QString(mediaDir() + QStringLiteral("/Bell.wav"))
                                             : QString(m_profile->path() + QLatin1Char('/') + theme);

        SoundPlayer player;
        player.setProgramDirectory(programDir());
        player.Initialise();
        QSignalSpy done(&player, &SoundPlayer::SoundDone);
        player.Beep();
        qputenv("XDG_DATA_DIRS", savedDirs);
        // Played through the player like any level sound, to its end.
        QCOMPARE(QFileInfo(player.loadedFile()).canonicalFilePath(), QFileInfo(bell).canonicalFilePath());
        QVERIFY(done.wait(15000));
        QVERIFY(!logLines().join(QLatin1Char('\n')).contains(QStringLiteral("does not exists")));
    }

    void loopingRunsUntilStop()
    {
        SoundPlayer player;
        QSignalSpy done(&player, &SoundPlayer::SoundDone);
        // Nothing open and nothing playing: stopping does no harm.
        player.Stop();
        player.Stop();
        QVERIFY(!player.isPlaying());

        QVERIFY(player.Open(mediaDir() + QStringLiteral("/Buzzer.wav")));
        player.PlayLooping();
        if (hasAudioDevice()) {
            QTRY_VERIFY(player.isPlaying());
            player.Stop();
            QTRY_VERIFY(!player.isPlaying());
        } else {
            // Silent without a device, said once however often it is asked.
            player.PlayLooping();
            player.Initialise();
            QVERIFY(!player.isPlaying());
            QCOMPARE(logLines().count(
                         QStringLiteral("frmBanner:PlayFile - No audio output device; sounds are silent")),
                     1);
        }
        QCoreApplication::processEvents();
        QCOMPARE(done.count(), 0);

        // A lost file takes the place of the last one, so nothing old is played.
        QVERIFY(!player.Open(mediaDir() + QStringLiteral("/Missing.wav")));
        player.PlayOnce();
        QVERIFY(!player.isPlaying());
        QCOMPARE(player.loadedFile(), QString());
    }

    void generatedSounds_data()
    {
        QTest::addColumn<QString>("path");
        for (qint16 code = SoundCodes::FirstBuiltIn; code <= SoundCodes::LastBuiltIn; ++code)
            QTest::newRow(qPrintable(SoundCodes::BuiltInFile(code)))
                << QDir(programDir()).filePath(SoundCodes::BuiltInFile(code));
        QTest::newRow("bell") << QDir(programDir()).filePath(SoundCodes::BuiltInBell());
    }

    void generatedSounds()
    {
        QFETCH(QString, path);
        const QByteArray bytes = readAll(path);
        QVERIFY2(bytes.size() > 44, qPrintable(path));
        const auto u16 = [&](qsizetype at) { return qFromLittleEndian<quint16>(bytes.constData() + at); };
        const auto u32 = [&](qsizetype at) { return qFromLittleEndian<quint32>(bytes.constData() + at); };
        QCOMPARE(bytes.left(4), QByteArray("RIFF"));
        QCOMPARE(qsizetype(u32(4)), bytes.size() - 8);
        QCOMPARE(bytes.mid(8, 4), QByteArray("WAVE"));

        qsizetype data = -1;
        quint32 dataSize = 0;
        bool sawFormat = false;
        for (qsizetype at = 12; at + 8 <= bytes.size();) {
            const QByteArray id = bytes.mid(at, 4);
            const quint32 size = u32(at + 4);
            QVERIFY(at + 8 + qsizetype(size) <= bytes.size());
            if (id == "fmt ") {
                QVERIFY(size >= 16);
                QCOMPARE(u16(at + 8), quint16(1));      // PCM
                QCOMPARE(u16(at + 10), quint16(1));     // mono
                QCOMPARE(u32(at + 12), quint32(22050)); // sample rate
                QCOMPARE(u32(at + 16), quint32(44100)); // bytes per second
                QCOMPARE(u16(at + 20), quint16(2));     // block size
                QCOMPARE(u16(at + 22), quint16(16));    // bits
                sawFormat = true;
            } else if (id == "data") {
                data = at + 8;
                dataSize = size;
            }
            at += 8 + size + (size & 1);
        }
        QVERIFY(sawFormat);
        QVERIFY(data > 0);
        QCOMPARE(dataSize % 2, quint32(0));
        const double seconds = dataSize / 44100.0;
        QVERIFY2(seconds >= 0.5 && seconds <= 2.0, qPrintable(QString::number(seconds)));

        int peak = 0;
        const qsizetype count = dataSize / 2;
        for (qsizetype i = 0; i < count; ++i)
            peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(bytes.constData() + data + 2 * i))));
        // Loud enough to hear, short of clipping, and no click at either end.
        QVERIFY2(peak > 8000 && peak < 32767, qPrintable(QString::number(peak)));
        QVERIFY(qAbs(qFromLittleEndian<qint16>(bytes.constData() + data)) < 500);
        QVERIFY(qAbs(qFromLittleEndian<qint16>(bytes.constData() + data + 2 * (count - 1))) < 500);
    }

    void generatedSoundsDiffer()
    {
        QList<QByteArray> sounds;
        for (qint16 code = SoundCodes::FirstBuiltIn; code <= SoundCodes::LastBuiltIn; ++code)
            sounds << readAll(QDir(programDir()).filePath(SoundCodes::BuiltInFile(code))).mid(44);
        for (qsizetype a = 0; a < sounds.size(); ++a)
            for (qsizetype b = a + 1; b < sounds.size(); ++b)
                QVERIFY2(sounds[a] != sounds[b],
                         qPrintable(QString::number(a) + QStringLiteral(" and ") + QString::number(b)));
    }

    void audioForgetsFilesAndLoops_data()
    {
        QTest::addColumn<qint32>("type");
        QTest::addColumn<bool>("keepsFile");
        QTest::newRow("none") << 0 << false;
        QTest::newRow("beep") << 1 << false;
        QTest::newRow("own file") << 2 << true;
        QTest::newRow("built-in code") << 3 << false;
        QTest::newRow("negative") << -2 << false;
    }

    void audioForgetsFilesAndLoops()
    {
        QFETCH(qint32, type);
        QFETCH(bool, keepsFile);
        Audio audio;
        QCOMPARE(audio.SoundType(), 1);
        const QString file = m_profile->path() + QStringLiteral("/gone.wav");
        audio.setWaveFile(file);
        audio.setSoundType(type);
        QCOMPARE(audio.WaveFile(), keepsFile ? file : QString());
        // A lost file, a beep without a display and an unknown type are all quietly survived.
        audio.StartSound();

        QVERIFY(!audio.IsLooping());
        audio.StopSound();
        audio.LoopResSound();
        audio.LoopResSound();
        QVERIFY(audio.IsLooping());
        audio.StopSound();
        QVERIFY(!audio.IsLooping());
    }
};

QTEST_MAIN(TestSound)
#include "tst_sound.moc"
