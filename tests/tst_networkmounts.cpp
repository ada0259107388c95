// Documents and level sounds on a real network mount: a folder mounted with sshfs (which talks to a
// local sftp-server in place of ssh) as an export, as a share and as the desktop's folder of SMB shares.
#include "authoring/MessageForm.h"
#include "banner/DisplayQueue.h"
#include "banner/frmBanner.h"
#include "delivery/Replication.h"
#include "netsvc/NetworkPaths.h"
#include "store/LevelCollection.h"
#include "support/AuthoringFixture.h"
#include "support/LogText.h"
#include "support/LoopbackDaemon.h"

#include <QApplication>
#include <QCursor>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// The sshfs mounts of one folder. sshfs runs sftp-server itself in place of ssh: no server, port or key
// stands between the test and the folder it wrote.
class SshfsMounts
{
    QTemporaryDir m_dir; // first: the folders below are named in it
    LoopbackDaemon m_tools;
    QString m_fusermount;
    QStringList m_mounted;

public:
    const QString d = m_dir.path();
    const QString exportDir = d + u"/export"_s;                  // what is mounted
    const QString exportName = u"root@127.0.0.1:"_s + exportDir; // its name, and the source of exportMnt
    const QString exportMnt = d + u"/mnt-export"_s;
    const QString shareMnt = d + u"/mnt-share"_s; // mounted as "//filer/media"
    const QString filerMnt = d + u"/mnt-filer"_s; // mounted as "filer:/export", as an nfs export names itself
    const QString gvfsMnt = d + u"/mnt-gvfs"_s;   // mounted as the desktop's folder of shares
    const QString localDir = d + u"/local"_s;     // on no network mount

    // Empty when mounted, else why it cannot be done here.
    QString start()
    {
        if (geteuid() != 0)
            return u"mounting needs root"_s;
        if (!QFile::exists(u"/dev/fuse"_s))
            return u"no /dev/fuse: this kernel or container offers no FUSE"_s;
        // The mounts live in this run's own namespace: a run killed midway leaves none behind to
        // answer for the same shares in the next.
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return u"no private mount namespace: "_s + QString::fromLocal8Bit(strerror(errno));
        const QString sshfs = LoopbackDaemon::find(u"sshfs"_s);
        m_fusermount = LoopbackDaemon::find(u"fusermount3"_s);
        if (m_fusermount.isEmpty())
            m_fusermount = LoopbackDaemon::find(u"fusermount"_s);
        QString server;
        for (const QString &path : {u"/usr/lib/openssh/sftp-server"_s, u"/usr/libexec/openssh/sftp-server"_s,
                                    u"/usr/lib/ssh/sftp-server"_s})
            if (server.isEmpty() && QFile::exists(path))
                server = path;
        if (sshfs.isEmpty() || m_fusermount.isEmpty() || server.isEmpty())
            return u"sshfs, fusermount or sftp-server is missing (scripts/setup.sh installs them)"_s;
        if (!m_dir.isValid())
            return u"no temporary folder"_s;
        for (const QString &folder : {QString(exportDir + u"/gvfs/smb-share:server=filer,share=docs"_s),
                                      exportMnt, shareMnt, filerMnt, gvfsMnt, localDir})
            QDir().mkpath(folder);
        for (const auto &[source, point, extra] :
             {std::tuple{exportName, exportMnt, QString()},
              std::tuple{exportName, shareMnt, u",fsname=//filer/media"_s},
              std::tuple{exportName, filerMnt, u",fsname=filer:/export"_s},
              std::tuple{QString(exportName + u"/gvfs"_s), gvfsMnt, u",subtype=gvfsd-fuse"_s}}) {
            if (!m_tools.run(sshfs, {u"-o"_s, u"ssh_command=sh -c "_s + server + extra, source, point}))
                return u"the kernel refused the sshfs mount: "_s + m_tools.error;
            m_mounted << point;
        }
        return {};
    }

    ~SshfsMounts()
    {
        for (const QString &point : std::as_const(m_mounted))
            if (!m_tools.run(m_fusermount, {u"-u"_s, point}))
                m_tools.run(u"umount"_s, {u"-l"_s, point});
    }
};

} // namespace

class TestNetworkMounts : public QObject
{
    Q_OBJECT

public:
    explicit TestNetworkMounts(const SshfsMounts &mounts) : m(mounts) {}
    // What the desktop was asked to open, and whether the pointer said "wait" meanwhile.
    Q_INVOKABLE void openedByDesktop(const QUrl &url)
    {
        const QCursor *cursor = QGuiApplication::overrideCursor();
        m_opened << url;
        m_waiting << (cursor && cursor->shape() == Qt::WaitCursor);
    }

private:
    const SshfsMounts &m;
    QList<QUrl> m_opened;
    QList<bool> m_waiting;

private Q_SLOTS:
    // The kernel's mount table is read whole, each mount with its type and source.
    void mountsAreSeen()
    {
        const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts();
        QStringList seen;
        for (const NetworkPaths::Mount &mount : mounts)
            if (mount.mountPoint.startsWith(m.d))
                seen << mount.mountPoint + u' ' + mount.fsType + u' ' + mount.source;
        seen.sort();
        QCOMPARE(seen, (QStringList{m.exportMnt + u" fuse.sshfs "_s + m.exportName,
                                    m.filerMnt + u" fuse.sshfs filer:/export"_s,
                                    m.gvfsMnt + u" fuse.gvfsd-fuse "_s + m.exportName + u"/gvfs"_s,
                                    m.shareMnt + u" fuse.sshfs //filer/media"_s}));

        // Asked without a table, the kernel's is read: a path on a mount is a network path, a local one not.
        QVERIFY(NetworkPaths::IsNetworkPath(m.exportMnt + u"/a.pdf"_s) &&
                !NetworkPaths::IsNetworkPath(m.localDir + u"/a.pdf"_s));
    }

    // Sounds on the mount, in the export and the share form, are copied to the data folder (which the
    // banner plays from); a local one is dropped. A document on the mount becomes a package's link in the
    // form other machines open and opens at acknowledgement through the mount; a local one is refused.
    void soundsAndDocumentsOnTheMount()
    {
        AuthoringFixture f;
        QVERIFY(f.opened);
        for (const auto &[file, bytes] : std::initializer_list<std::pair<QString, QByteArray>>{
                 {m.exportDir + u"/chime.wav"_s, "RIFF chime"},
                 {m.exportDir + u"/gong.wav"_s, "RIFF gong"},
                 {m.localDir + u"/beep.wav"_s, "RIFF beep"},
                 {m.exportDir + u"/policy.pdf"_s, "%PDF"},
                 {m.localDir + u"/policy.pdf"_s, "%PDF"}})
            LoopbackDaemon::write(file, bytes);
        const auto level = [](const QString &name, const QString &sound) {
            return QString(name + u"||1|2|3|False|2|"_s + sound + u"|False|0"_s).replace(u'|', QChar(3));
        };
        Replication{f.send}.LevelsReceived(QStringList{level(u"Export"_s, m.exportName + u"/chime.wav"_s),
                                                       level(u"Share"_s, u"//filer/media/gong.wav"_s),
                                                       level(u"Local"_s, m.localDir + u"/beep.wav"_s)}
                                               .join(QChar(2)));
        const QString data = f.profile.dataHome();
        QCOMPARE(
            f.column(
                ClientDB(),
                u"SELECT SoundType || ' ' || IFNULL(LocalSoundFile, '') FROM Levels ORDER BY LevelName"_s),
            (QStringList{u"2 "_s + data + u"/chime.wav"_s, u"0 "_s, u"2 "_s + data + u"/gong.wav"_s}));
        QCOMPARE((QList<QByteArray>{f.profile.readFile(u"data/chime.wav"_s),
                                    f.profile.readFile(u"data/gong.wav"_s)}),
                 (QList<QByteArray>{"RIFF chime", "RIFF gong"}));
        QVERIFY(logText().contains(m.localDir + u"/beep.wav is not in network path"_s));
        QVERIFY(!logText().contains(u"chime.wav is not in network path"_s));

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
        DVMessage package;
        package.MsgLevel = u"sysKVPackage"_s;
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
        // Files wait with the pointer saying so, until the desktop has them; addresses do not.
        QCOMPARE(m_waiting, (QList<bool>{true, true, false}));
        QVERIFY(!QGuiApplication::overrideCursor());
        QStringList boxes;
        for (const RecordingFrontend::Question &box : f.frontend.questions)
            boxes << box.caption + u' ' + box.text;
        QCOMPARE(
            boxes.mid(1),
            (QStringList{u"Execute Link Error The specified file was not found:\nnohost:/export/policy.pdf"_s,
                         u"Execute Link Error The specified file was not found:\nC:/docs/policy.pdf"_s}));
    }
};

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    return runOverMount<SshfsMounts, TestNetworkMounts>(argc, argv);
}

#include "tst_networkmounts.moc"
