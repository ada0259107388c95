// Saves messages into a Client.db in a loop and says each id once its save
// returned true, until it is killed. The crash test reads what it said.
#include "core/Globals.h"
#include "store/DBFunctions.h"
#include "store/MessageCodes.h"

#include <QCoreApplication>
#include <QDateTime>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3)
        return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QString prefix = QString::fromLocal8Bit(argv[2]);
    gProcess().AppDataPath = folder;
    if (!InitializeDB(folder))
        return 1;
    for (int i = 0;; ++i) {
        DVMessage m;
        m.MsgID = prefix + QString::number(i);
        m.Subject = QStringLiteral("crash test");
        m.Message = QString(500, QLatin1Char('x'));
        m.Status = StatusActive;
        m.CreationDate = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);
        m.ExpirationDate = QDateTime(QDate(2099, 1, 1), QTime(0, 0), Qt::UTC);
        if (SaveMessage(ClientDB(), QStringLiteral("Inbox"), m, false, false)) {
            std::printf("%s\n", qPrintable(m.MsgID));
            std::fflush(stdout);
        }
    }
}
