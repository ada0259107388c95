#pragma once

#include "store/DVMessage.h"

#include <QList>
#include <QString>
#include <QVariant>

class Database;
class QSqlQuery;

// The two databases of the run: Client.db keeps what must survive a restart,
// Temp.db is the console's scratch copy and is made anew at every start.
Database &ClientDB();
Database &TempDB();

// A row selection: SQL over column names with "?" for each value. Values are
// always bound, never spliced, so any character in them is stored intact.
struct Filter
{
    QString where;
    QVariantList values;

    bool isEmpty() const { return where.isEmpty(); }
    static Filter equals(const QString &column, const QVariant &value);
};

// How a date stands in the store: ISO text that sorts as it compares; the zero
// date is the earliest of all.
QString StoredDate(const QDateTime &value);
QDateTime DateFromStore(const QVariant &value);

bool InitializeDB(const QString &path);
void PurgeInboxExpired(const QString &tableName);
void DeleteRows(Database &database, const QString &tableName, const Filter &filter);

bool SaveMessage(Database &database, const QString &tableName, const DVMessage &msg, bool overwrite,
                 bool skipHistory);
DVMessage GetMessage(Database &database, const QString &tableName, const QString &msgID);
DVMessage rs2Message(const QSqlQuery &table);
bool ChangeMessageStatus(Database &database, const QString &msgID, qint32 status, const QString &tableName);
void UpdateStatus(Database &database, const QString &tableName, qint32 status, const QString &msgID);
void DeleteMessage(Database &database, const QString &tableName, const QString &msgID);
void DeleteMachine(Database &database, const QString &tableName, const QString &machineID);
void DeleteUser(Database &database, const QString &tableName, const QString &userID);
bool MessageExist(Database &database, const QString &tableName, const QString &msgID);
bool GroupExist(Database &database, const QString &tableName, const QString &groupName);
// The comma-joined members of a personal group, or the name itself when it has none.
QString ResolveMyGroup(const QString &groupName);
QString GetGroupMembers(const QString &groupName, bool myGroups);

// Rows for the console's grids, one list of values per row.
using RowArray = QList<QVariantList>;
void groups2array(RowArray &rows, QSqlQuery &table);
void users2array(RowArray &rows, QSqlQuery &table);
void machines2array(RowArray &rows, QSqlQuery &table);
void rs2array(RowArray &rows, QSqlQuery &table);

// Reloads the process-wide levels from Client.db, in table order.
void GetLevels();
