#include "netsvc/NetworkPaths.h"

#include <QTemporaryFile>
#include <QTest>

using NetworkPaths::Mount;

class TestNetworkPaths : public QObject
{
    Q_OBJECT

private:
    static QList<Mount> mounts()
    {
        return {{QStringLiteral("/"), QStringLiteral("ext4"), QStringLiteral("/dev/sda1")},
                {QStringLiteral("/mnt/media"), QStringLiteral("cifs"), QStringLiteral("//SRV/Media")},
                {QStringLiteral("/mnt/deep"), QStringLiteral("cifs"), QStringLiteral("//srv/docs/sub")},
                {QStringLiteral("/home/shared"), QStringLiteral("nfs4"), QStringLiteral("nas:/export/home")}};
    }

private Q_SLOTS:
    void readsMountInfo()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                   "40 22 0:50 / /mnt/my\\040share rw,relatime shared:9 - cifs //srv/My\\040Share rw,vers=3\n"
                   "garbage line\n");
        file.close();
        const QList<Mount> read = NetworkPaths::ReadMounts(file.fileName());
        QCOMPARE(read.size(), 2);
        QCOMPARE(read[1].mountPoint, QStringLiteral("/mnt/my share"));
        QCOMPARE(read[1].fsType, QStringLiteral("cifs"));
        QCOMPARE(read[1].source, QStringLiteral("//srv/My Share"));
        QVERIFY(NetworkPaths::ReadMounts(QStringLiteral("/does/not/exist")).isEmpty());
    }

    void networkPaths_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("network");
        QTest::addColumn<QString>("local");
        QTest::newRow("unc backslashes")
            << QStringLiteral("\\\\srv\\media\\chime.wav") << true << QStringLiteral("/mnt/media/chime.wav");
        QTest::newRow("unc slashes") << QStringLiteral("//srv/media/a/b.wav") << true
                                     << QStringLiteral("/mnt/media/a/b.wav");
        QTest::newRow("smb url") << QStringLiteral("smb://srv/media/x%20y.wav") << true
                                 << QStringLiteral("/mnt/media/x y.wav");
        QTest::newRow("mount of a subfolder")
            << QStringLiteral("\\\\srv\\docs\\sub\\f.pdf") << true << QStringLiteral("/mnt/deep/f.pdf");
        QTest::newRow("outside the mounted subfolder")
            << QStringLiteral("\\\\srv\\docs\\other\\f.pdf") << true << QString();
        QTest::newRow("climbing out of the share")
            << QStringLiteral("\\\\srv\\media\\..\\..\\etc\\passwd") << true << QString();
        QTest::newRow("share not mounted") << QStringLiteral("\\\\other\\share\\f") << true << QString();
        QTest::newRow("on a network mount")
            << QStringLiteral("/home/shared/doc.pdf") << true << QStringLiteral("/home/shared/doc.pdf");
        QTest::newRow("local") << QStringLiteral("/home/me/doc.pdf") << false << QString();
        QTest::newRow("relative") << QStringLiteral("doc.pdf") << false << QString();
        QTest::newRow("server without share") << QStringLiteral("\\\\srv") << false << QString();
    }

    void networkPaths()
    {
        QFETCH(QString, path);
        QFETCH(bool, network);
        QFETCH(QString, local);
        QCOMPARE(NetworkPaths::IsNetworkPath(path, mounts()), network);
        QCOMPARE(NetworkPaths::LocalPathOf(path, mounts()), local);
    }
};

QTEST_GUILESS_MAIN(TestNetworkPaths)
#include "tst_networkpaths.moc"
