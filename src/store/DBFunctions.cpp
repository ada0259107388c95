#include "store/DBFunctions.h"

#include "core/Clock.h"
#include "core/Log.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/LevelCollection.h"
#include "store/Schema.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

const QString Module = QStringLiteral("DBFunctions:");
const QString StoredFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

void logFailure(const QString &operation, const QString &error)
{
    WriteLog(Module + operation + QStringLiteral(" - ") + error);
}

// Table names come from the code, never from the wire; this keeps it so.
bool validTable(const QString &tableName)
{
    static const QRegularExpression name(QStringLiteral("^[A-Za-z]+$"));
    return name.match(tableName).hasMatch();
}

QString messageColumnList()
{
    return Schema::MessageColumns().join(QStringLiteral(", "));
}

QVariantList messageValues(const DVMessage &m)
{
    return {m.MsgID,
            m.RefID,
            m.InitID,
            m.Subject,
            m.Message,
            m.MsgLevel,
            m.MsgDelivery,
            m.Attachment,
            int(m.AllowReply),
            int(m.ReceiptRequired),
            StoredDate(m.CreationDate),
            StoredDate(m.ModificationDate),
            StoredDate(m.StartDate),
            StoredDate(m.ExpirationDate),
            int(m.DeleteAtExpiration),
            m.RepeatValue,
            m.RepeatStep,
            m.UserID,
            m.UserName,
            m.MachineID,
            m.Status,
            int(m.ExactTime),
            int(m.Notify),
            m.Target,
            m.MsgAction,
            StoredDate(DateText::TruncateToMinute(m.NextRunDate))};
}

QString placeholders(qsizetype count)
{
    QStringList marks;
    for (qsizetype i = 0; i < count; ++i)
        marks << QStringLiteral("?");
    return marks.join(QStringLiteral(", "));
}

// A seek on the key: is there a row whose column holds the value?
bool seek(Database &database, const QString &tableName, const QString &column, const QString &value, bool &ok)
{
    QSqlQuery *found = database.query(QStringLiteral("SELECT 1 FROM ") + tableName +
                                          QStringLiteral(" WHERE ") + column + QStringLiteral(" = ?"),
                                      {value});
    ok = found != nullptr;
    const bool result = found && found->next();
    if (found)
        found->finish();
    return result;
}

QString joinColumn(QSqlQuery *rows)
{
    QStringList values;
    while (rows && rows->next())
        values << rows->value(0).toString();
    if (rows)
        rows->finish();
    return values.join(QLatin1Char(','));
}

void copyColumns(RowArray &rows, QSqlQuery &table, const QStringList &columns)
{
    while (table.next()) {
        QVariantList row;
        row.reserve(columns.size());
        for (const QString &column : columns)
            row << table.value(column);
        rows << row;
    }
}

} // namespace

// The handles live to the end of the process; they are closed while the
// application still stands, before the SQL driver's own statics go.
static void closeDatabases()
{
    ClientDB().close();
    TempDB().close();
}

Database &ClientDB()
{
    static const bool cleanup = [] {
        qAddPostRoutine(closeDatabases);
        return true;
    }();
    Q_UNUSED(cleanup);
    static Database database(QStringLiteral("ClientDB"));
    return database;
}

Database &TempDB()
{
    static Database database(QStringLiteral("TempDB"));
    return database;
}

Filter Filter::equals(const QString &column, const QVariant &value)
{
    return {column + QStringLiteral(" = ?"), {value}};
}

QString StoredDate(const QDateTime &value)
{
    return (value.isValid() ? value : DateText::ZeroDate()).toString(StoredFormat);
}

QDateTime DateFromStore(const QVariant &value)
{
    QDateTime date = QDateTime::fromString(value.toString(), StoredFormat);
    if (!date.isValid())
        return DateText::ZeroDate();
    date.setTimeSpec(Qt::UTC);
    return date;
}

bool InitializeDB(const QString &path)
{
    TraceLog(Module + QStringLiteral("InitializeDB"));
    Database &client = ClientDB();
    Database &temp = TempDB();
    const QString clientFile = QDir(path).filePath(QStringLiteral("Client.db"));
    const QString tempFile = QDir(path).filePath(QStringLiteral("Temp.db"));

    // A damaged Client.db is reported and left exactly as it is.
    const bool clientOpen = client.open(clientFile);
    const QString clientError = client.lastError();

    temp.close();
    for (const QString &suffix : {QString(), QStringLiteral("-wal"), QStringLiteral("-shm")})
        QFile::remove(tempFile + suffix);
    temp.open(tempFile);

    if (!clientOpen) {
        logFailure(QStringLiteral("InitializeDB"), clientError);
        return false;
    }
    if (!Schema::CreateTables(client)) {
        logFailure(QStringLiteral("InitializeDB"), client.lastError());
        return false;
    }
    PurgeInboxExpired(QStringLiteral("Inbox"));
    if (!temp.isOpen() || !Schema::CreateTempTables(temp)) {
        logFailure(QStringLiteral("InitializeDB"), temp.lastError());
        return false;
    }
    // What stood in the banner's queue when the client stopped is picked up again.
    if (!client.exec(QStringLiteral("UPDATE Inbox SET MsgAction = 0 WHERE MsgAction = 1"))) {
        logFailure(QStringLiteral("InitializeDB"), client.lastError());
        return false;
    }
    return true;
}

void PurgeInboxExpired(const QString &tableName)
{
    TraceLog(Module + QStringLiteral("PurgeInboxExpired"));
    Database &client = ClientDB();
    if (!validTable(tableName))
        return;
    // Strictly earlier than the present minute: a row that expires now stays.
    const QString now = StoredDate(DateText::TruncateToMinute(Clock::now()));
    Transaction batch(client);
    if (!client.exec(QStringLiteral("DELETE FROM ") + tableName + QStringLiteral(" WHERE ExpirationDate < ?"),
                     {now}) ||
        !batch.commit())
        logFailure(QStringLiteral("PurgeInboxExpired"), client.lastError());
}

void DeleteRows(Database &database, const QString &tableName, const Filter &filter)
{
    TraceLog(Module + QStringLiteral("DeleteRows  Table=") + tableName);
    if (!validTable(tableName))
        return;
    QString sql = QStringLiteral("DELETE FROM ") + tableName;
    if (!filter.isEmpty())
        sql += QStringLiteral(" WHERE ") + filter.where;
    if (!database.exec(sql, filter.values))
        logFailure(QStringLiteral("DeleteRows"), database.lastError());
}

bool SaveMessage(Database &database, const QString &tableName, const DVMessage &msg, bool overwrite,
                 bool skipHistory)
{
    TraceLog(Module + QStringLiteral("SaveMessage  MsgID=") + msg.MsgID);
    const QString operation = QStringLiteral("SaveMessage");
    if (!validTable(tableName)) {
        logFailure(operation, tableName + QStringLiteral(" is no table"));
        return false;
    }
    bool ok = false;
    const bool found = seek(database, tableName, QStringLiteral("MsgID"), msg.MsgID, ok);
    if (!ok) {
        logFailure(operation, database.lastError());
        return false;
    }
    if (found && !overwrite)
        return false;

    const QVariantList values = messageValues(msg);
    bool stored = false;
    if (!found) {
        stored = database.exec(QStringLiteral("INSERT INTO ") + tableName + QStringLiteral(" (") +
                                   messageColumnList() + QStringLiteral(") VALUES (") +
                                   placeholders(values.size()) + QLatin1Char(')'),
                               values);
    } else {
        QStringList sets;
        for (const QString &column : Schema::MessageColumns().mid(1))
            sets << column + QStringLiteral(" = ?");
        QVariantList updated = values.mid(1);
        updated << msg.MsgID;
        stored = database.exec(QStringLiteral("UPDATE ") + tableName + QStringLiteral(" SET ") +
                                   sets.join(QStringLiteral(", ")) + QStringLiteral(" WHERE MsgID = ?"),
                               updated);
    }
    if (!stored) {
        logFailure(operation, database.lastError());
        return false;
    }

    if (skipHistory || (tableName != QLatin1String("Inbox") && tableName != QLatin1String("Outbox")))
        return true;
    // The digest is made once; an edit leaves it as it was.
    if (!database.exec(
            QStringLiteral("INSERT OR IGNORE INTO History (MsgID, RefID, InitID, Message, Attachment, "
                           "CreationDate, UserID, UserName, MachineID, Mailbox) "
                           "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
            {msg.MsgID, msg.RefID, msg.InitID, msg.Message, msg.Attachment, StoredDate(msg.CreationDate),
             msg.UserID, msg.UserName, msg.MachineID, tableName == QLatin1String("Outbox") ? 1 : 0})) {
        logFailure(operation, database.lastError());
        return false;
    }
    return true;
}

DVMessage rs2Message(const QSqlQuery &table)
{
    DVMessage m;
    m.MsgID = table.value(QStringLiteral("MsgID")).toString();
    TraceLog(Module + QStringLiteral("rs2Message  MsgID=") + m.MsgID);
    m.RefID = table.value(QStringLiteral("RefID")).toString();
    m.InitID = table.value(QStringLiteral("InitID")).toString();
    m.Subject = table.value(QStringLiteral("Subject")).toString();
    m.Message = table.value(QStringLiteral("Message")).toString();
    m.MsgLevel = table.value(QStringLiteral("MsgLevel")).toString();
    m.MsgDelivery = static_cast<qint16>(table.value(QStringLiteral("MsgDelivery")).toInt());
    m.Attachment = table.value(QStringLiteral("Attachment")).toString();
    m.AllowReply = table.value(QStringLiteral("AllowReply")).toBool();
    m.ReceiptRequired = table.value(QStringLiteral("ReceiptRequired")).toBool();
    m.CreationDate = DateFromStore(table.value(QStringLiteral("CreationDate")));
    m.ModificationDate = DateFromStore(table.value(QStringLiteral("ModificationDate")));
    m.StartDate = DateFromStore(table.value(QStringLiteral("StartDate")));
    m.ExpirationDate = DateFromStore(table.value(QStringLiteral("ExpirationDate")));
    // Never read: the store always gives true, and edits that differ only here
    // are therefore never equal to the stored copy.
    m.DeleteAtExpiration = true;
    m.RepeatValue = static_cast<qint16>(table.value(QStringLiteral("RepeatValue")).toInt());
    m.RepeatStep = table.value(QStringLiteral("RepeatStep")).toInt();
    m.UserID = table.value(QStringLiteral("UserID")).toString();
    m.UserName = table.value(QStringLiteral("UserName")).toString();
    m.MachineID = table.value(QStringLiteral("MachineID")).toString();
    m.Target = table.value(QStringLiteral("Target")).toString();
    m.Status = table.value(QStringLiteral("Status")).toInt();
    m.Notify = table.value(QStringLiteral("Notify")).toBool();
    m.ExactTime = table.value(QStringLiteral("ExactTime")).toBool();
    m.MsgAction = table.value(QStringLiteral("MsgAction")).toInt();
    m.NextRunDate = DateFromStore(table.value(QStringLiteral("NextRunDate")));
    return m;
}

DVMessage GetMessage(Database &database, const QString &tableName, const QString &msgID)
{
    TraceLog(Module + QStringLiteral("GetMessage  MsgID=") + msgID);
    if (!validTable(tableName))
        return DVMessage();
    QSqlQuery *row = database.query(
        QStringLiteral("SELECT * FROM ") + tableName + QStringLiteral(" WHERE MsgID = ?"), {msgID});
    if (!row) {
        logFailure(QStringLiteral("GetMessage"), database.lastError());
        return DVMessage();
    }
    DVMessage m = row->next() ? rs2Message(*row) : DVMessage();
    row->finish();
    return m;
}

bool ChangeMessageStatus(Database &database, const QString &msgID, qint32 status, const QString &tableName)
{
    TraceLog(Module + QStringLiteral("ChangeMessageStatus  MsgID=") + msgID + QStringLiteral(", Status=") +
             QString::number(status));
    if (!validTable(tableName) || !database.exec(QStringLiteral("UPDATE ") + tableName +
                                                     QStringLiteral(" SET Status = ? WHERE MsgID = ?"),
                                                 {status, msgID})) {
        logFailure(QStringLiteral("ChangeMessageStatus"), database.lastError());
        return false;
    }
    return true;
}

void UpdateStatus(Database &database, const QString &tableName, qint32 status, const QString &msgID)
{
    TraceLog(Module + QStringLiteral("UpdateStatus  MsgID=") + msgID + QStringLiteral(", Status=") +
             QString::number(status));
    if (!validTable(tableName) || !database.exec(QStringLiteral("UPDATE ") + tableName +
                                                     QStringLiteral(" SET Status = ? WHERE MsgID = ?"),
                                                 {status, msgID}))
        logFailure(QStringLiteral("UpdateStatus"), database.lastError());
}

void DeleteMessage(Database &database, const QString &tableName, const QString &msgID)
{
    TraceLog(Module + QStringLiteral("DeleteMessage  MsgID=") + msgID);
    DeleteRows(database, tableName, Filter::equals(QStringLiteral("MsgID"), msgID));
}

void DeleteMachine(Database &database, const QString &tableName, const QString &machineID)
{
    TraceLog(Module + QStringLiteral("DeleteMachine  MachineID=") + machineID);
    DeleteRows(database, tableName, Filter::equals(QStringLiteral("MachineID"), machineID));
}

void DeleteUser(Database &database, const QString &tableName, const QString &userID)
{
    TraceLog(Module + QStringLiteral("DeleteUser  UserID=") + userID);
    DeleteRows(database, tableName, Filter::equals(QStringLiteral("UserID"), userID));
}

bool MessageExist(Database &database, const QString &tableName, const QString &msgID)
{
    TraceLog(Module + QStringLiteral("MessageExist  MsgID=") + msgID);
    bool ok = false;
    const bool found = validTable(tableName) && seek(database, tableName, QStringLiteral("MsgID"), msgID, ok);
    if (!ok)
        logFailure(QStringLiteral("MessageExist"), database.lastError());
    return found;
}

bool GroupExist(Database &database, const QString &tableName, const QString &groupName)
{
    TraceLog(Module + QStringLiteral("GroupExist  GroupName=") + groupName);
    bool ok = false;
    const bool found =
        validTable(tableName) && seek(database, tableName, QStringLiteral("GroupName"), groupName, ok);
    if (!ok)
        logFailure(QStringLiteral("GroupExist"), database.lastError());
    return found;
}

QString ResolveMyGroup(const QString &groupName)
{
    TraceLog(Module + QStringLiteral("ResolveMyGroup  GroupName=") + groupName);
    Database &client = ClientDB();
    QSqlQuery *rows = client.query(
        QStringLiteral("SELECT UserID FROM MyGroupUsers WHERE GroupName = ? ORDER BY rowid"), {groupName});
    if (!rows)
        logFailure(QStringLiteral("ResolveMyGroup"), client.lastError());
    const QString members = joinColumn(rows);
    // A name that is no personal group stands for itself.
    return members.isEmpty() ? groupName : members;
}

QString GetGroupMembers(const QString &groupName, bool myGroups)
{
    TraceLog(Module + QStringLiteral("GetGroupMembers  Group=") + groupName + QStringLiteral(", MyGroups=") +
             (myGroups ? QStringLiteral("True") : QStringLiteral("False")));
    Database &database = myGroups ? ClientDB() : TempDB();
    QSqlQuery *rows =
        database.query(QStringLiteral("SELECT UserID FROM ") +
                           (myGroups ? QStringLiteral("MyGroupUsers") : QStringLiteral("KorvaneGroupUsers")) +
                           QStringLiteral(" WHERE GroupName = ? ORDER BY rowid"),
                       {groupName});
    if (!rows)
        logFailure(QStringLiteral("GetGroupMembers"), database.lastError());
    return joinColumn(rows);
}

void groups2array(RowArray &rows, QSqlQuery &table)
{
    TraceLog(Module + QStringLiteral("groups2array"));
    copyColumns(rows, table,
                {QStringLiteral("GroupName"), QStringLiteral("Description"), QStringLiteral("CreationDate"),
                 QStringLiteral("Creator")});
}

void users2array(RowArray &rows, QSqlQuery &table)
{
    TraceLog(Module + QStringLiteral("users2array"));
    copyColumns(rows, table,
                {QStringLiteral("UserID"), QStringLiteral("UserName"), QStringLiteral("LastLogon"),
                 QStringLiteral("MachineID"), QStringLiteral("Connected"), QStringLiteral("Language")});
}

void machines2array(RowArray &rows, QSqlQuery &table)
{
    TraceLog(Module + QStringLiteral("machines2array"));
    copyColumns(rows, table,
                {QStringLiteral("MachineID"), QStringLiteral("MachineIP"), QStringLiteral("LastLogon"),
                 QStringLiteral("Version"), QStringLiteral("UserID"), QStringLiteral("Connected"),
                 QStringLiteral("Agent")});
}

void rs2array(RowArray &rows, QSqlQuery &table)
{
    TraceLog(Module + QStringLiteral("rs2array"));
    // The record's order without MsgAction: Notify, ExactTime, then NextRunDate.
    copyColumns(rows, table, {QStringLiteral("MsgID"),
                              QStringLiteral("RefID"),
                              QStringLiteral("InitID"),
                              QStringLiteral("Subject"),
                              QStringLiteral("Message"),
                              QStringLiteral("MsgLevel"),
                              QStringLiteral("MsgDelivery"),
                              QStringLiteral("Attachment"),
                              QStringLiteral("AllowReply"),
                              QStringLiteral("ReceiptRequired"),
                              QStringLiteral("CreationDate"),
                              QStringLiteral("ModificationDate"),
                              QStringLiteral("StartDate"),
                              QStringLiteral("ExpirationDate"),
                              QStringLiteral("DeleteAtExpiration"),
                              QStringLiteral("RepeatValue"),
                              QStringLiteral("RepeatStep"),
                              QStringLiteral("UserID"),
                              QStringLiteral("UserName"),
                              QStringLiteral("MachineID"),
                              QStringLiteral("Target"),
                              QStringLiteral("Status"),
                              QStringLiteral("Notify"),
                              QStringLiteral("ExactTime"),
                              QStringLiteral("NextRunDate")});
}

void GetLevels()
{
    TraceLog(Module + QStringLiteral("GetLevels"));
    LevelCollection &levels = gLevels();
    Database &client = ClientDB();
    QSqlQuery *rows = client.query(QStringLiteral(
        "SELECT LevelName, Description, BackColor, ForeColor, ShadowColor, DrawShadow, SoundType, "
        "SoundFile, Looping, Authority FROM Levels ORDER BY rowid"));
    if (!rows) {
        logFailure(QStringLiteral("GetLevels"), client.lastError());
        return;
    }
    levels.clear();
    while (rows->next()) {
        level row;
        row.LevelName = rows->value(0).toString();
        row.Description = rows->value(1).toString();
        row.BackColor = rows->value(2).toDouble();
        row.ForeColor = rows->value(3).toDouble();
        row.ShadowColor = rows->value(4).toDouble();
        row.DrawShadow = rows->value(5).toBool();
        row.SoundType = static_cast<qint16>(rows->value(6).toInt());
        row.SoundFile = rows->value(7).toString();
        row.Looping = rows->value(8).toBool();
        row.Authority = static_cast<qint16>(rows->value(9).toInt());
        levels.add(row);
    }
    rows->finish();
    levels.setLoaded(true);
}
