// Documents and level sounds on a real network mount: an sshfs mount of a
// folder served by a private sshd on loopback, mounted three times, as an
// export ("root@127.0.0.1:/folder"), as a share ("//filer/media") and as the
// desktop's folder of SMB shares. Without FUSE or root the test is skipped.
#include "authoring/MessageForm.h"
#include "banner/DisplayQueue.h"
#include "banner/frmBanner.h"
#include "core/UserInfos.h"
#include "delivery/Replication.h"
#include "netsvc/NetworkPaths.h"
#include "store/LevelCollection.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"
#include "support/LoopbackDaemon.h"
#include "support/RecordingView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// A private sshd on a free loopback port and the sshfs mounts of its folder.
class SshfsMounts
{
public:
    QString exportDir;  // what the server serves
    QString exportMnt;  // mounted under its own name, "root@127.0.0.1:<exportDir>"
    QString shareMnt;   // mounted as "//filer/media"
    QString filerMnt;   // mounted as "filer:/export", as an nfs export names itself
    QString gvfsMnt;    // mounted as the desktop's folder of shares
    QString localDir;   // on no network mount
    QString exportName; // "root@127.0.0.1:<exportDir>"

    // Empty when mounted, else why it cannot be done here.
    QString start()
    {
        if (geteuid() != 0)
            return u"mounting needs root"_s;
        if (!QFile::exists(u"/dev/fuse"_s))
            return u"no /dev/fuse: this kernel or container offers no FUSE"_s;
        m_sshd = LoopbackDaemon::find(u"sshd"_s);
        m_sshfs = LoopbackDaemon::find(u"sshfs"_s);
        m_fusermount = LoopbackDaemon::find(u"fusermount3"_s);
        if (m_fusermount.isEmpty())
            m_fusermount = LoopbackDaemon::find(u"fusermount"_s);
        if (m_sshd.isEmpty() || m_sshfs.isEmpty() || m_fusermount.isEmpty())
            return u"sshd, sshfs or fusermount is missing (scripts/setup.sh installs them)"_s;
        if (!m_dir.isValid())
            return u"no temporary folder"_s;
        const QString d = m_dir.path();
        exportDir = d + u"/export"_s;
        exportMnt = d + u"/mnt-export"_s;
        shareMnt = d + u"/mnt-share"_s;
        filerMnt = d + u"/mnt-filer"_s;
        gvfsMnt = d + u"/mnt-gvfs"_s;
        localDir = d + u"/local"_s;
        for (const QString &folder : QStringList{exportDir + u"/gvfs/smb-share:server=filer,share=docs"_s,
                                                 exportMnt, shareMnt, filerMnt, gvfsMnt, localDir})
            QDir().mkpath(folder);
        // The throwaway keys: the server's, which the client checks, and the client's.
        for (const QString &key : {u"hostkey"_s, u"userkey"_s})
            if (!m_server.run(u"ssh-keygen"_s,
                              {u"-q"_s, u"-t"_s, u"ed25519"_s, u"-N"_s, QString(), u"-f"_s, d + u'/' + key}))
                return u"ssh-keygen failed: "_s + m_server.error;
        QFile::copy(d + u"/userkey.pub"_s, d + u"/authorized_keys"_s);
        QFile::setPermissions(d + u"/authorized_keys"_s, QFile::ReadOwner | QFile::WriteOwner);
        const quint16 port = LoopbackDaemon::freePort();
        if (port == 0)
            return u"no free loopback port"_s;
        LoopbackDaemon::write(d + u"/sshd_config"_s,
                              u"Port %1\nListenAddress 127.0.0.1\nHostKey %2/hostkey\n"
                              "AuthorizedKeysFile %2/authorized_keys\nPubkeyAuthentication yes\n"
                              "PasswordAuthentication no\nKbdInteractiveAuthentication no\n"
                              "PermitRootLogin prohibit-password\nAllowUsers root\nUsePAM no\n"
                              "StrictModes no\nPidFile none\nSubsystem sftp internal-sftp\n"_s.arg(port)
                                  .arg(d)
                                  .toUtf8());
        // Only a server holding the host key made here is trusted: a port taken by someone else fails.
        LoopbackDaemon::write(d + u"/known_hosts"_s, u"[127.0.0.1]:%1 "_s.arg(port).toUtf8() +
                                                         LoopbackDaemon::read(d + u"/hostkey.pub"_s));
        LoopbackDaemon::write(d + u"/ssh_config"_s, {});
        QDir().mkpath(u"/run/sshd"_s); // the server's privilege separation folder
        if (!m_server.start(m_sshd, {u"-D"_s, u"-e"_s, u"-f"_s, d + u"/sshd_config"_s}, port))
            return u"the private sshd did not start: "_s + m_server.error;
        const QString options = u"port=%1,IdentityFile=%2/userkey,UserKnownHostsFile=%2/known_hosts,"
                                "StrictHostKeyChecking=yes,BatchMode=yes,IdentitiesOnly=yes"_s.arg(port)
                                    .arg(d);
        exportName = u"root@127.0.0.1:"_s + exportDir;
        for (const auto &[source, point, extra] :
             {std::tuple{exportName, exportMnt, QString()},
              std::tuple{exportName, shareMnt, u",fsname=//filer/media"_s},
              std::tuple{exportName, filerMnt, u",fsname=filer:/export"_s},
              std::tuple{QString(exportName + u"/gvfs"_s), gvfsMnt, u",subtype=gvfsd-fuse"_s}}) {
            if (!m_server.run(m_sshfs,
                              {u"-F"_s, d + u"/ssh_config"_s, u"-o"_s, options + extra, source, point}))
                return u"the kernel refused the sshfs mount: "_s + m_server.error;
            m_mounted << point;
        }
        return {};
    }

    ~SshfsMounts()
    {
        for (const QString &point : std::as_const(m_mounted))
            if (!m_server.run(m_fusermount, {u"-u"_s, point}))
                m_server.run(u"umount"_s, {u"-l"_s, point});
    }

private:
    QTemporaryDir m_dir;
    LoopbackDaemon m_server;
    QString m_sshd, m_sshfs, m_fusermount;
    QStringList m_mounted;
};

void writeFile(const QString &file, const QByteArray &bytes)
{
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(out.write(bytes), bytes.size());
}

} // namespace

class TestNetworkMounts : public QObject
{
    Q_OBJECT

public:
    explicit TestNetworkMounts(const SshfsMounts &mounts) : m(mounts) {}

private:
    const SshfsMounts &m;

    static DVMessage message(const QString &id, const QString &levelName)
    {
        DVMessage msg;
        msg.MsgID = id;
        msg.Message = u"Text of "_s + id;
        msg.MsgLevel = levelName;
        msg.UserID = u"alee"_s;
        msg.Status = 1;
        return msg;
    }

private Q_SLOTS:
    // The kernel's mount table is read whole, and every form of a path on the mounts resolves to it.
    void mountsAreSeenAndEveryFormResolves()
    {
        const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts();
        QStringList seen;
        for (const NetworkPaths::Mount &mount : mounts)
            if (mount.mountPoint.startsWith(QFileInfo(m.exportDir).path()))
                seen << mount.mountPoint + u' ' + mount.fsType + u' ' + mount.source;
        seen.sort();
        QCOMPARE(seen, (QStringList{m.exportMnt + u" fuse.sshfs "_s + m.exportName,
                                    m.filerMnt + u" fuse.sshfs filer:/export"_s,
                                    m.gvfsMnt + u" fuse.gvfsd-fuse "_s + m.exportName + u"/gvfs"_s,
                                    m.shareMnt + u" fuse.sshfs //filer/media"_s}));

        const QString gvfsDoc = m.gvfsMnt + u"/smb-share:server=filer,share=docs/report.pdf"_s;
        for (const auto &[path, local] : std::initializer_list<std::pair<QString, QString>>{
                 {m.exportName + u"/a.pdf"_s, m.exportMnt + u"/a.pdf"_s},
                 {u"127.0.0.1:"_s + m.exportDir + u"/sub/../a.pdf"_s, m.exportMnt + u"/a.pdf"_s},
                 {u"//filer/media/a.pdf"_s, m.shareMnt + u"/a.pdf"_s},
                 {u"\\\\FILER\\media\\a.pdf"_s, m.shareMnt + u"/a.pdf"_s},
                 {u"//filer/docs/report.pdf"_s, gvfsDoc},
                 {u"127.0.0.1:"_s + m.exportDir + u"/../a.pdf"_s, QString()},
                 {m.localDir + u"/a.pdf"_s, QString()}}) {
            QCOMPARE(NetworkPaths::LocalPathOf(path, mounts), local);
            QCOMPARE(NetworkPaths::IsNetworkPath(path), !path.startsWith(m.localDir));
        }
        // What other machines open for a path on each mount.
        for (const auto &[path, network] : std::initializer_list<std::pair<QString, QString>>{
                 {m.exportMnt + u"/a.pdf"_s, m.exportName + u"/a.pdf"_s},
                 {m.shareMnt + u"/x/a.pdf"_s, u"//filer/media/x/a.pdf"_s},
                 {gvfsDoc, u"//filer/docs/report.pdf"_s},
                 {m.gvfsMnt + u"/other"_s, QString()},
                 {m.localDir + u"/a.pdf"_s, QString()}}) {
            QString rewritten = path;
            QCOMPARE(NetworkPaths::PathToUNC(rewritten, mounts), !network.isEmpty());
            QCOMPARE(rewritten, network.isEmpty() ? path : network);
        }
    }

    // Sounds on the mount, named in the export and the share form, are copied to the
    // data folder and the banner plays the copy; a local sound is dropped.
    void levelSoundsAreFetchedAndPlayedFromTheCopy()
    {
        AuthoringFixture f;
        QVERIFY(f.opened);
        writeFile(m.exportDir + u"/chime.wav"_s, "RIFF chime");
        writeFile(m.exportDir + u"/gong.wav"_s, "RIFF gong");
        writeFile(m.localDir + u"/beep.wav"_s, "RIFF beep");
        auto level = [](const QString &name, const QString &sound) {
            return QStringList{name,       QString(), u"1"_s, u"2"_s,     u"3"_s,
                               u"False"_s, u"2"_s,    sound,  u"False"_s, u"0"_s}
                .join(QChar(3));
        };
        Replication replication{f.send};
        replication.LevelsReceived(QStringList{level(u"Export"_s, m.exportName + u"/chime.wav"_s),
                                               level(u"Share"_s, u"//filer/media/gong.wav"_s),
                                               level(u"Local"_s, m.localDir + u"/beep.wav"_s)}
                                       .join(QChar(2)));
        const QString data = f.profile.dataHome();
        QCOMPARE(
            f.column(
                ClientDB(),
                u"SELECT SoundType || ' ' || IFNULL(LocalSoundFile, '') FROM Levels ORDER BY LevelName"_s),
            (QStringList{u"2 "_s + data + u"/chime.wav"_s, u"0 "_s, u"2 "_s + data + u"/gong.wav"_s}));
        QCOMPARE(f.profile.readFile(u"data/chime.wav"_s), QByteArray("RIFF chime"));
        QCOMPARE(f.profile.readFile(u"data/gong.wav"_s), QByteArray("RIFF gong"));
        QVERIFY(logText().contains(m.localDir + u"/beep.wav is not in network path"_s));
        QVERIFY(!logText().contains(u"chime.wav is not in network path"_s));

        RecordingView view;
        DisplayQueue queue{view,
                           {[] { return true; }, [](DVMessage &) {}, [](const QString &) { return true; }}};
        queue.AddMessageToDisplay(message(u"A"_s, u"Export"_s));
        queue.cmdOK_Click();
        queue.AddMessageToDisplay(message(u"B"_s, u"Share"_s));
        QCOMPARE(view.playing(), (QStringList{u"play "_s + data + u"/chime.wav once"_s,
                                              u"play "_s + data + u"/gong.wav once"_s}));
    }

    // A document on the mount is taken as a package's link in the form other machines
    // open, and a mandatory one opens at acknowledgement through the mount; a local one is refused.
    void attachmentOnTheMountOpensAtAcknowledgement()
    {
        AuthoringFixture f;
        QVERIFY(f.opened);
        writeFile(m.exportDir + u"/policy.pdf"_s, "%PDF");
        writeFile(m.localDir + u"/policy.pdf"_s, "%PDF");
        MessageForm form{f.context, true};
        QVERIFY(!form.VerifyFile(m.localDir + u"/policy.pdf"_s));
        QCOMPARE(f.captions(), QStringList{u"Wrong location"_s});
        QVERIFY(form.VerifyFile(m.exportMnt + u"/policy.pdf"_s));
        QCOMPARE((f.captions() + QStringList{form.Fields.txtLink}),
                 (QStringList{u"Wrong location"_s, m.exportName + u"/policy.pdf"_s}));

        QVERIFY(ClientDB().exec(
            u"INSERT INTO Levels (LevelName, SoundType, Authority) VALUES ('sysKVPackage', 0, 99)"_s));
        gLevels() = LevelCollection();
        // The desktop's handlers replaced by a recorder, so what would go out as an address shows.
        const QStringList schemes{u"file"_s, u"https"_s, u"nohost"_s, u"c"_s};
        for (const QString &scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, this, "openedByDesktop");
        frmBanner banner{DisplayQueue::Hooks{}};
        DVMessage package = message(u"P"_s, u"sysKVPackage"_s);
        package.ExactTime = true; // mandatory
        // The file on its mount, by its network name and by the export's own name (which reads like an
        // address); an address; an export not mounted here and a drive's letter, both files not found.
        for (const QString &link :
             {form.Fields.txtLink, u"filer:/export/policy.pdf"_s, u"https://intranet/policy.pdf"_s,
              u"nohost:/export/policy.pdf"_s, u"C:/docs/policy.pdf"_s}) {
            package.MsgID = link;
            package.Attachment = link;
            banner.queue().AddMessageToDisplay(package);
            banner.queue().cmdOK_Click();
        }
        for (const QString &scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
        QCOMPARE(m_opened, (QList<QUrl>{QUrl::fromLocalFile(m.exportMnt + u"/policy.pdf"_s),
                                        QUrl::fromLocalFile(m.filerMnt + u"/policy.pdf"_s),
                                        QUrl(u"https://intranet/policy.pdf"_s)}));
        QCOMPARE(f.captions(),
                 (QStringList{u"Wrong location"_s, u"Execute Link Error"_s, u"Execute Link Error"_s}));
    }

public:
    Q_INVOKABLE void openedByDesktop(const QUrl &url) { m_opened << url; }

private:
    QList<QUrl> m_opened;
};

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    return runOverMount<SshfsMounts, TestNetworkMounts>(argc, argv);
}

#include "tst_networkmounts.moc"
