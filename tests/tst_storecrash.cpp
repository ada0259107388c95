// A process killed in the middle of its saves loses none that it reported.
#include "core/Globals.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "support/TempProfile.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QTest>

#include <csignal>

class TestStoreCrash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedSaverLosesNothingItReported()
    {
        TempProfile profile;
        const QString folder = profile.dataHome();
        QStringList reported;
        auto *random = QRandomGenerator::global();
        for (int round = 0; round < 8; ++round) {
            QProcess child;
            child.start(QStringLiteral(KORVANE_STORE_CHILD), {folder, QStringLiteral("R%1-").arg(round)});
            QVERIFY(child.waitForStarted(10000));
            // Let it save a random number of rows, then kill it without warning.
            const int target = 1 + int(random->bounded(400));
            QByteArray output;
            while (output.count('\n') < target && child.state() == QProcess::Running) {
                child.waitForReadyRead(5000);
                output += child.readAllStandardOutput();
            }
            ::kill(static_cast<pid_t>(child.processId()), SIGKILL);
            QVERIFY(child.waitForFinished(10000));
            output += child.readAllStandardOutput();
            for (const QByteArray &line : output.split('\n'))
                if (!line.isEmpty())
                    reported << QString::fromLatin1(line);
        }

        gProcess().AppDataPath = folder;
        QVERIFY(InitializeDB(folder));
        QSqlQuery *check = ClientDB().query(QStringLiteral("PRAGMA integrity_check"));
        QVERIFY(check && check->next());
        QCOMPARE(check->value(0).toString(), QStringLiteral("ok"));
        check->finish();
        for (const QString &id : reported)
            QVERIFY2(MessageExist(ClientDB(), QStringLiteral("Inbox"), id), qPrintable(id));
        QVERIFY(reported.size() >= 8);
        ClientDB().close();
        TempDB().close();
    }
};

QTEST_GUILESS_MAIN(TestStoreCrash)
#include "tst_storecrash.moc"
