// Documents and level sounds on a real kernel CIFS mount: a private smbd on a loopback port serves a
// folder as "//127.0.0.1/media", mounted with mount.cifs. Where the kernel has no CIFS client, or the
// test is not root, it is skipped (exit 77) with the reason.
#include "authoring/MessageForm.h"
#include "banner/DisplayQueue.h"
#include "banner/frmBanner.h"
#include "delivery/Replication.h"
#include "netsvc/NetworkPaths.h"
#include "store/LevelCollection.h"
#include "support/AuthoringFixture.h"
#include "support/LoopbackDaemon.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Share = u"//127.0.0.1/media"_s;

// The private smbd and the kernel's mount of its one share.
class CifsMount
{
    QTemporaryDir m_dir; // first: the folders below are named in it
    LoopbackDaemon m_smbd;
    bool m_mounted = false;

public:
    const QString d = m_dir.path();
    const QString exportDir = d + u"/export"_s; // what smbd serves
    const QString mountPoint = d + u"/mnt"_s;
    const QString localDir = d + u"/local"_s; // on no network mount

    // Empty when mounted, else why it cannot be done here.
    QString start()
    {
        if (geteuid() != 0)
            return u"mounting needs root"_s;
        const QString modules = u"/lib/modules/"_s + QSysInfo::kernelVersion();
        const QByteArray known = LoopbackDaemon::read(u"/proc/filesystems"_s) +
                                 LoopbackDaemon::read(modules + u"/modules.dep"_s) +
                                 LoopbackDaemon::read(modules + u"/modules.builtin"_s);
        if (!known.contains("\tcifs\n") && !known.contains("\tsmb3\n") && !known.contains("/cifs.ko"))
            return u"this kernel has no CIFS client: not in /proc/filesystems and no cifs module under "_s +
                   modules;
        const QString smbd = LoopbackDaemon::find(u"smbd"_s),
                      smbpasswd = LoopbackDaemon::find(u"smbpasswd"_s);
        if (smbd.isEmpty() || smbpasswd.isEmpty() || LoopbackDaemon::find(u"mount.cifs"_s).isEmpty())
            return u"smbd, smbpasswd or mount.cifs is missing (scripts/setup.sh installs them)"_s;
        if (!m_dir.isValid())
            return u"no temporary folder"_s;
        for (const QString &folder :
             QStringList{exportDir, mountPoint, localDir, d + u"/private"_s, d + u"/state"_s})
            QDir().mkpath(folder);
        const quint16 port = LoopbackDaemon::freePort();
        if (port == 0)
            return u"no free loopback port"_s;
        // Every folder smbd writes is the test's own, so nothing of the machine's samba is read or changed.
        LoopbackDaemon::write(
            d + u"/smb.conf"_s,
            u"[global]\nserver role = standalone server\ninterfaces = 127.0.0.1\n"
            "bind interfaces only = yes\ndisable netbios = yes\nload printers = no\n"
            "printcap name = /dev/null\ndisable spoolss = yes\nserver min protocol = SMB2_10\n"
            "smb ports = %2\nlock directory = %1/state\nstate directory = %1/state\n"
            "cache directory = %1/state\npid directory = %1/state\nncalrpc dir = %1/state\n"
            "private dir = %1/private\npassdb backend = tdbsam:%1/private/passdb.tdb\n"
            "log file = %1/smbd.log\n[media]\npath = %3\nread only = no\n"_s
                .arg(d, QString::number(port), exportDir)
                .toUtf8());
        // A throwaway password, handed over in a file only root reads, never on a command line.
        const QByteArray password = QByteArray::number(quint64(QDateTime::currentMSecsSinceEpoch()), 36);
        if (!m_smbd.run(smbpasswd, {u"-c"_s, d + u"/smb.conf"_s, u"-s"_s, u"-a"_s, u"root"_s},
                        password + '\n' + password + '\n'))
            return u"smbpasswd failed: "_s + m_smbd.error;
        LoopbackDaemon::write(d + u"/credentials"_s, "username=root\npassword=" + password + '\n');
        QFile::setPermissions(d + u"/credentials"_s, QFile::ReadOwner | QFile::WriteOwner);
        if (!m_smbd.start(
                smbd, {u"-F"_s, u"--no-process-group"_s, u"--debug-stdout"_s, u"-s"_s, d + u"/smb.conf"_s},
                port))
            return u"the private smbd did not start: "_s + m_smbd.error;
        if (!m_smbd.run(u"mount"_s, {u"-t"_s, u"cifs"_s, Share, mountPoint, u"-o"_s,
                                     u"port=%1,credentials=%2/credentials,vers=3.0"_s.arg(port).arg(d)}))
            return u"the kernel refused the CIFS mount: "_s + m_smbd.error;
        m_mounted = true;
        // The share mounted is the one served here, not whatever else answered on that port.
        LoopbackDaemon::write(exportDir + u"/marker"_s, d.toUtf8());
        if (LoopbackDaemon::read(mountPoint + u"/marker"_s) != d.toUtf8())
            return u"the mounted share is not the one served here"_s;
        return {};
    }

    ~CifsMount()
    {
        if (m_mounted && !m_smbd.run(u"umount"_s, {mountPoint}))
            m_smbd.run(u"umount"_s, {u"-l"_s, mountPoint});
        m_smbd.stop();
    }
};

} // namespace

class TestCifsMount : public QObject
{
    Q_OBJECT

public:
    explicit TestCifsMount(const CifsMount &mount) : m(mount) {}
    Q_INVOKABLE void openedByDesktop(const QUrl &url) { m_opened << url; }

private:
    const CifsMount &m;
    QList<QUrl> m_opened;

private Q_SLOTS:
    // The kernel's own cifs entry is seen, and a path on the share resolves to the mount and back (the
    // other spellings of a share's path are tst_networkpaths' matter).
    void shareIsSeenAndResolves()
    {
        const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts();
        QStringList seen;
        for (const NetworkPaths::Mount &mount : mounts)
            if (mount.mountPoint == m.mountPoint)
                seen << mount.fsType + u' ' + mount.source;
        QCOMPARE(seen, QStringList{u"cifs "_s + Share});
        QCOMPARE(NetworkPaths::LocalPathOf(Share + u"/sub/a.pdf"_s, mounts), m.mountPoint + u"/sub/a.pdf"_s);
        QString onMount = m.mountPoint + u"/x/a.pdf"_s, local = m.localDir + u"/a.pdf"_s;
        QVERIFY(NetworkPaths::PathToUNC(onMount, mounts) && !NetworkPaths::PathToUNC(local, mounts));
        QCOMPARE(onMount, Share + u"/x/a.pdf"_s);
    }

    // A level's sound on the share is copied to the data folder; a document on it becomes a link other
    // machines open and opens at acknowledgement through the mount; a local one is refused.
    void soundAndDocumentThroughTheShare()
    {
        AuthoringFixture f;
        QVERIFY(f.opened);
        LoopbackDaemon::write(m.exportDir + u"/chime.wav"_s, "RIFF chime");
        LoopbackDaemon::write(m.exportDir + u"/policy.pdf"_s, "%PDF");
        LoopbackDaemon::write(m.localDir + u"/policy.pdf"_s, "%PDF");
        Replication{f.send}.LevelsReceived(
            QString(u"Share||1|2|3|False|2|"_s + Share + u"/chime.wav|False|0"_s).replace(u'|', QChar(3)));
        const QString copy = f.profile.dataHome() + u"/chime.wav"_s;
        QCOMPARE(f.column(ClientDB(), u"SELECT LocalSoundFile FROM Levels WHERE LevelName = 'Share'"_s),
                 QStringList{copy});
        QCOMPARE(f.profile.readFile(u"data/chime.wav"_s), QByteArray("RIFF chime"));

        MessageForm form{f.context, true};
        QVERIFY(!form.VerifyFile(m.localDir + u"/policy.pdf"_s));
        QVERIFY(form.VerifyFile(m.mountPoint + u"/policy.pdf"_s));
        QCOMPARE(form.Fields.txtLink, Share + u"/policy.pdf"_s);
        QCOMPARE(f.captions(), QStringList{u"Wrong location"_s});
        QVERIFY(ClientDB().exec(
            u"INSERT INTO Levels (LevelName, SoundType, Authority) VALUES ('sysKVPackage', 0, 99)"_s));
        gLevels() = LevelCollection();
        QDesktopServices::setUrlHandler(u"file"_s, this, "openedByDesktop");
        frmBanner banner{DisplayQueue::Hooks{}};
        DVMessage package;
        package.MsgID = u"P"_s;
        package.MsgLevel = u"sysKVPackage"_s;
        package.ExactTime = true; // a mandatory document opens at acknowledgement
        package.Attachment = form.Fields.txtLink;
        banner.queue().AddMessageToDisplay(package);
        banner.queue().cmdOK_Click();
        QDesktopServices::unsetUrlHandler(u"file"_s);
        QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(m.mountPoint + u"/policy.pdf"_s)});
    }
};

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    return runOverMount<CifsMount, TestCifsMount>(argc, argv);
}

#include "tst_cifsmount.moc"
