// Confirmations leave only once the records they confirm are on disk. The store's
// syncs are watched by defining the C library's sync calls here: the executable
// exports them, so the SQLite library reaches these first.
#include "core/Globals.h"
#include "core/Session.h"
#include "core/UserInfos.h"
#include "delivery/MessageIntake.h"
#include "delivery/Replication.h"
#include "store/MessageCodes.h"
#include "support/RecordingFrontend.h"
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

QString record(const QString &id)
{
    DVMessage m;
    m.MsgID = id;
    m.Message = u"Text of "_s + id;
    m.MsgLevel = u"Warning"_s;
    m.CreationDate = m.StartDate = FakeClock::at(2026, 11, 23, 9, 0, 0);
    m.ExpirationDate = FakeClock::at(2026, 12, 1);
    m.UserID = u"author"_s;
    m.Status = StatusActive;
    return m.ToString();
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
    // One sync of the client's store per batch, before any of its confirmations; the temporary
    // store, emptied at every start, is never synced.
    void confirmationsFollowTheSync()
    {
        StoreFixture store;
        QVERIFY(store.opened);
        RecordingFrontend frontend;
        UserInfos user(u"jdoe"_s);
        user.setMachineID(u"ws-7"_s);
        ReplaceUserInfos(user);
        gSession().AdminsLoaded =
            true; // the organisation's list, kept in the temporary store, takes the rows too
        const auto send = [](const QString &frame) {
            events << u"send "_s + frame.section(QChar(1), 0, 0) + u' ' +
                          frame.section(QChar(1), 1).section(QChar(2), 0, 0);
            return true;
        };
        Replication replication{send};
        MessageIntake intake{send, [] { return u"10.0.5.7"_s; }, replication};
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
