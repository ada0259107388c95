#include "netsvc/JoinedDomain.h"
#include "netsvc/NetworkPaths.h"
#include "netsvc/SambaShares.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;

using NetworkPaths::Mount;

class TestNetworkPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsMountInfo()
    {
        // Garbage is passed over line by line; what makes sense around it still counts.
        static const char binary[] = "- - - - - - - - -\n\0\xff\xfe 1 2\n";
        QTemporaryFile file;
        QVERIFY(file.open() &&
                file.write(
                    "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                    "40 22 0:50 / /mnt/my\\040share rw,relatime shared:9 - cifs //srv/My\\040Share rw\n"
                    "garbage line\n" +
                    QByteArray(binary, sizeof binary - 1) +
                    "1 2 3 / relative rw - nfs a:/b rw\n3 4 5 / /cut rw - nfs\n" + QByteArray(100000, 'x') +
                    "\n9 8 0:7 / /srv/nas\\ rw,relatime - nfs4 nas:/export\\01 rw") > 0 &&
                file.flush());
        QStringList read;
        for (const Mount &m : NetworkPaths::ReadMounts(file.fileName()))
            read << m.mountPoint + u'|' + m.fsType + u'|' + m.source;
        QCOMPARE(read, (QStringList{u"/|ext4|/dev/sda1"_s, u"/mnt/my share|cifs|//srv/My Share"_s,
                                    u"/srv/nas\\|nfs4|nas:/export\\01"_s}));
        QVERIFY(NetworkPaths::ReadMounts(u"/does/not/exist"_s).isEmpty());

        // The kernel's own table says it is empty; it is read to its end all the same.
        QVERIFY(QFileInfo(u"/proc/self/mountinfo"_s).size() == 0);
        const QList<Mount> system = NetworkPaths::ReadMounts();
        QVERIFY(std::any_of(system.cbegin(), system.cend(),
                            [](const Mount &m) { return m.mountPoint == u"/"_s; }));
    }

    // A share's path opens through its mount; a path on a network mount becomes what other machines open.
    void networkPaths()
    {
        const QList<Mount> mounts{{u"/"_s, u"ext4"_s, u"/dev/sda1"_s},
                                  {u"/mnt/media"_s, u"cifs"_s, u"//SRV/Media"_s},
                                  {u"/mnt/deep"_s, u"cifs"_s, u"//srv/docs/sub"_s},
                                  {u"/home/shared"_s, u"nfs4"_s, u"nas:/export/home"_s},
                                  // A file system of this machine whose source only reads like an export.
                                  {u"/mnt/archive"_s, u"fuse.archivemount"_s, u"backup:/archive"_s}};
        // The path, whether it is a network path, where it is read here, what other machines open
        // (empty: the path as it is).
        for (const auto &[path, network, local, unc] :
             std::initializer_list<std::tuple<QString, bool, QString, QString>>{
                 {u"\\\\srv\\media\\chime.wav"_s, true, u"/mnt/media/chime.wav"_s, {}},
                 {u"//srv/media/a/b.wav"_s, true, u"/mnt/media/a/b.wav"_s, {}},
                 {u"smb://srv/media/x%20y.wav"_s, true, u"/mnt/media/x y.wav"_s, {}},
                 {u"\\\\srv\\docs\\sub\\f.pdf"_s, true, u"/mnt/deep/f.pdf"_s, {}}, // mount of a subfolder
                 {u"\\\\srv\\docs\\other\\f.pdf"_s, true, {}, {}},                 // outside it
                 {u"\\\\srv\\media\\..\\..\\etc\\passwd"_s, true, {}, {}},         // climbing out
                 {u"\\\\other\\share\\f"_s, true, {}, {}},                         // share not mounted
                 {u"/home/me/doc.pdf"_s, false, {}, {}},
                 {u"/mnt/archive/doc.pdf"_s, false, {}, {}}, // local, source like an export
                 {u"doc.pdf"_s, false, {}, {}},
                 {u"\\\\srv"_s, false, {}, {}}, // server without share
                 {u"/home/shared/a/doc.pdf"_s, true, u"/home/shared/a/doc.pdf"_s,
                  u"nas:/export/home/a/doc.pdf"_s},
                 {u"/mnt/deep/f.pdf"_s, true, u"/mnt/deep/f.pdf"_s, u"//srv/docs/sub/f.pdf"_s},
                 {u"/mnt/media"_s, true, u"/mnt/media"_s, u"//SRV/Media"_s},
                 {u"nas:/export/home/a/doc.pdf"_s, true, u"/home/shared/a/doc.pdf"_s, {}},
                 {u"ann@NAS:/export/home/./b.wav"_s, true, u"/home/shared/b.wav"_s, {}},
                 {u"nas:/export/other/c.pdf"_s, true, {}, {}},           // export not mounted
                 {u"nas:/export/home/../../etc/passwd"_s, true, {}, {}}, // climbing out
                 {u"C:/docs/a.pdf"_s, false, {}, {}},
                 {u"http://srv/a.pdf"_s, false, {}, {}},
                 {u"file:/home/me/a.pdf"_s, false, {}, {}}}) {
            QVERIFY2(NetworkPaths::IsNetworkPath(path, mounts) == network, qPrintable(path));
            QCOMPARE(NetworkPaths::LocalPathOf(path, mounts), local);
            QString rewritten = path;
            QCOMPARE(NetworkPaths::PathToUNC(rewritten, mounts), network);
            QCOMPARE(rewritten, unc.isEmpty() ? path : unc);
        }
    }

    // The desktop mounts each share in a folder named after it, all under one mount.
    void desktopMountsOfShares()
    {
        QTemporaryDir gvfs;
        QVERIFY(QDir(gvfs.path()).mkpath(u"smb-share:server=filer,share=my%20docs,user=ann/q4"_s));
        QVERIFY(QDir(gvfs.path()).mkpath(u"sftp:host=filer/home"_s));
        const QList<Mount> mounts{{u"/"_s, u"ext4"_s, u"/dev/sda1"_s},
                                  {gvfs.path(), u"fuse.gvfsd-fuse"_s, u"gvfsd-fuse"_s}};
        const QString doc = gvfs.path() + u"/smb-share:server=filer,share=my%20docs,user=ann/q4/a.pdf"_s;
        QString path = doc;
        QVERIFY(NetworkPaths::IsNetworkPath(path, mounts));
        QVERIFY(NetworkPaths::PathToUNC(path, mounts));
        QCOMPARE(path, u"//filer/my docs/q4/a.pdf"_s);
        QCOMPARE(NetworkPaths::LocalPathOf(u"\\\\FILER\\My Docs\\q4\\a.pdf"_s, mounts), doc);
        QCOMPARE(NetworkPaths::LocalPathOf(u"//filer/other/a.pdf"_s, mounts), QString());
        // Other kinds of desktop mount are no share, nor is a folder that names a server without a
        // share, a share without a server, or a name holding a backslash (a separator to Windows).
        for (const QString &folder :
             {u"sftp:host=filer/home"_s, u"smb-share:server=filer,user=ann"_s, u"smb-share:share=docs"_s,
              u"smb-share:server=filer,share=a%5Cb"_s, u"smb-share:server=fi%5Cler,share=docs"_s}) {
            QVERIFY(QDir(gvfs.path()).mkpath(folder + u"/q4"_s));
            QVERIFY2(!NetworkPaths::IsNetworkPath(gvfs.path() + u'/' + folder + u"/q4"_s, mounts),
                     qPrintable(folder));
        }
    }

    // A folder this machine shares through Samba: the deepest share names a path under it.
    void sambaShares()
    {
        const QByteArray conf = "[global]\n  netbios name = FILES\n  workgroup = OPS\n"
                                "[docs]\n  path = /srv/docs/\n"
                                "[q4]\n  path = /srv/docs/q4\n"
                                "[homes]\n  path = /home\n"
                                "[printers]\n  path = /var/spool/samba\n"
                                "[laser]\n  path = /var/spool/laser\n  printable = yes\n"
                                "[old]\n  path = /srv/old\n  available = no\n"
                                "[relative]\n  path = srv\n";
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(conf) == conf.size() && file.flush());
        SambaShares::UseConfig(file.fileName());
        QStringList names;
        for (const SambaShares::Share &share : SambaShares::Read().shares)
            names << share.name + u'=' + share.path;
        QCOMPARE(names, (QStringList{u"docs=/srv/docs"_s, u"q4=/srv/docs/q4"_s}));
        for (const auto &[path, unc] : {std::pair{u"/srv/docs/a.pdf"_s, u"//FILES/docs/a.pdf"_s},
                                        {u"/srv/docs/q4/report.exe"_s, u"//FILES/q4/report.exe"_s},
                                        {u"/srv/docs"_s, u"//FILES/docs"_s},
                                        {u"/srv/docsother/a.pdf"_s, QString()},
                                        {u"/srv/old/a.pdf"_s, QString()}}) {
            QString rewritten = path;
            QCOMPARE(NetworkPaths::PathToUNC(rewritten), !unc.isEmpty());
            QCOMPARE(rewritten, unc.isEmpty() ? path : unc);
        }
        SambaShares::UseConfig(QString());
    }

    // The domain the machine joined, as the service that joined it wrote it down.
    void joinedDomain()
    {
        using JoinedDomain::FromSamba, JoinedDomain::FromSssd;
        for (const auto &[sssd, domain] :
             {std::pair{"[sssd]\ndomains = corp.example, lab.example\n[domain/other.example]\n",
                        "corp.example"},
              {"[sssd]\nservices = nss\n[nss]\n[domain/ad.example]\nid_provider = ad\n", "ad.example"},
              {"[sssd]\ndomains =\n", ""}})
            QCOMPARE(FromSssd(QString::fromLatin1(sssd)), QString::fromLatin1(domain));
        for (const auto &[samba, domain] :
             {std::pair{"[global]\n security = ADS\n realm = CORP.EXAMPLE\n workgroup = CORP\n",
                        "CORP.EXAMPLE"},
              {"[global]\nsecurity = ads\nworkgroup = CORP\n", "CORP"},
              {"[global]\nsecurity = user\nrealm = CORP.EXAMPLE\nworkgroup = HOME\n", ""},
              {"[homes]\nsecurity = ads\nrealm = CORP.EXAMPLE\n", ""}})
            QCOMPARE(FromSamba(QString::fromLatin1(samba)), QString::fromLatin1(domain));
    }
};

QTEST_GUILESS_MAIN(TestNetworkPaths)
#include "tst_networkpaths.moc"
