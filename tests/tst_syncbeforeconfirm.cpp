// Confirmations leave only once the records they confirm are on disk. The sync calls defined here
// are exported by the executable, so the SQLite library reaches them first and the test sees them.
#include "core/Globals.h"
#include "core/Session.h"
#include "delivery/MessageIntake.h"
#include "delivery/Replication.h"
#include "support/FakeServer.h"
#include "support/StoreFixture.h"

#include <QFileInfo>
#include <QTest>

#include <dlfcn.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QStringList events; // "sync <file>" and "send <code> <id>", in the order they happened

template <typename Call>
int watched(const char *name, int fd)
{
    events << u"sync "_s +
                  QFileInfo(QFile::symLinkTarget(u"/proc/self/fd/"_s + QString::number(fd))).fileName();
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name))(fd);
}

} // namespace

extern "C" int fsync(int fd)
{
    return watched<int (*)(int)>("fsync", fd);
}

extern "C" int fdatasync(int fd)
{
    return watched<int (*)(int)>("fdatasync", fd);
}

class TestSyncBeforeConfirm : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // One sync of the client's store per batch, before its confirmations; the temporary one, emptied at
    // every start, is never synced.
    void confirmationsFollowTheSync()
    {
        StoreFixture store;
        QVERIFY(store.opened);
        RecordingFrontend frontend;
        // The organisation's list, kept in the temporary store, takes the rows too.
        gSession().AdminsLoaded = true;
        const auto send = [](const QString &frame) {
            events << u"send "_s + frame.section(QChar(1), 0, 0) + u' ' +
                          frame.section(QChar(1), 1).section(QChar(2), 0, 0);
            return true;
        };
        Replication replication{send};
        MessageIntake intake{send, [] { return u"10.0.5.7"_s; }, replication};
        const auto record = [](const QString &id) { return FakeServer::record(id, id, u"Text of "_s + id); };
        events.clear();
        intake.MessageReceived(record(u"A"_s) + QChar(2) + record(u"B"_s), false);
        intake.PackageReceived(record(u"P"_s), false);
        // A header and the frames of one commit may take two syncs in a row: they count as one.
        events.erase(std::unique(events.begin(), events.end()), events.end());
        QCOMPARE(events, (QStringList{u"sync Client.db-wal"_s, u"send CMS A"_s, u"send CMS B"_s,
                                      u"sync Client.db-wal"_s, u"send CPK P"_s}));
        QCOMPARE((std::pair{StoreFixture::count(ClientDB(), u"SELECT count(*) FROM Inbox"_s),
                            StoreFixture::count(TempDB(), u"SELECT count(*) FROM Outbox"_s)}),
                 (std::pair{2, 2}));
    }
};

QTEST_GUILESS_MAIN(TestSyncBeforeConfirm)
#include "tst_syncbeforeconfirm.moc"
