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
#include <QHash>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

const QString Module = QStringLiteral("DBFunctions:");

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
    // Never destroyed: the SQL driver's statics may be gone before ours would be.
    static Database *database = new Database(QStringLiteral("ClientDB"));
    return *database;
}

Database &TempDB()
{
    static Database *database = new Database(QStringLiteral("TempDB"));
    return *database;
}

Filter Filter::equals(const QString &column, const QVariant &value)
{
    return {column + QStringLiteral(" = ?"), {value}};
}

QString StoredDate(const QDateTime &value)
{
    // Written by hand: the general formatter costs more than the row it goes into.
    const QDateTime shown = value.isValid() ? value : DateText::ZeroDate();
    const QDate date = shown.date();
    const QTime time = shown.time();
    char16_t text[19];
    auto put = [&text](int at, int number, int width) {
        for (int i = width - 1; i >= 0; --i, number /= 10)
            text[at + i] = char16_t(u'0' + number % 10);
    };
    put(0, qBound(0, date.year(), 9999), 4);
    text[4] = u'-';
    put(5, date.month(), 2);
    text[7] = u'-';
    put(8, date.day(), 2);
    text[10] = u' ';
    put(11, time.hour(), 2);
    text[13] = u':';
    put(14, time.minute(), 2);
    text[16] = u':';
    put(17, time.second(), 2);
    return QString::fromUtf16(text, 19);
}

QDateTime DateFromStore(const QVariant &value)
{
    // Read by hand, as it is written: "yyyy-MM-dd HH:mm:ss".
    const QString text = value.toString();
    if (text.size() != 19)
        return DateText::ZeroDate();
    const QChar *c = text.constData();
    auto number = [c](int at, int width) {
        int n = 0;
        for (int i = at; i < at + width; ++i) {
            if (!c[i].isDigit())
                return -1;
            n = n * 10 + c[i].digitValue();
        }
        return n;
    };
    const QDate date(number(0, 4), number(5, 2), number(8, 2));
    const QTime time(number(11, 2), number(14, 2), number(17, 2));
    if (!date.isValid() || !time.isValid())
        return DateText::ZeroDate();
    return QDateTime(date, time, Qt::UTC);
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
    // Temp.db starts empty at every run: nothing in it needs to outlive a crash, so it is never synced.
    if (temp.open(tempFile))
        temp.exec(QStringLiteral("PRAGMA synchronous=OFF"));

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
    // One statement: a new row goes in; an existing one is left alone, or
    // overwritten when asked to. Its text is made once per table and mode.
    const QVariantList values = messageValues(msg);
    static QHash<QString, QString> statements;
    const QString key = tableName + (overwrite ? QLatin1Char('+') : QLatin1Char('-'));
    QString &sql = statements[key];
    if (sql.isEmpty()) {
        sql = QStringLiteral("INSERT INTO ") + tableName + QStringLiteral(" (") + messageColumnList() +
              QStringLiteral(") VALUES (") + placeholders(values.size()) +
              QStringLiteral(") ON CONFLICT (MsgID) DO ");
        if (overwrite) {
            QStringList sets;
            for (const QString &column : Schema::MessageColumns().mid(1))
                sets << column + QStringLiteral(" = excluded.") + column;
            sql += QStringLiteral("UPDATE SET ") + sets.join(QStringLiteral(", "));
        } else {
            sql += QStringLiteral("NOTHING");
        }
    }
    if (!database.exec(sql, values)) {
        logFailure(operation, database.lastError());
        return false;
    }
    if (!overwrite && database.changes() == 0)
        return false;

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

namespace {

// The message layout's columns, found once for a query rather than once a field.
struct MessageColumns
{
    enum Field {
        MsgID,
        RefID,
        InitID,
        Subject,
        Message,
        MsgLevel,
        MsgDelivery,
        Attachment,
        AllowReply,
        ReceiptRequired,
        CreationDate,
        ModificationDate,
        StartDate,
        ExpirationDate,
        RepeatValue,
        RepeatStep,
        UserID,
        UserName,
        MachineID,
        Target,
        Status,
        Notify,
        ExactTime,
        MsgAction,
        NextRunDate,
        Fields
    };
    int at[Fields];

    explicit MessageColumns(const QSqlRecord &record)
    {
        static const char16_t *const names[Fields] = {
            u"MsgID",      u"RefID",           u"InitID",       u"Subject",
            u"Message",    u"MsgLevel",        u"MsgDelivery",  u"Attachment",
            u"AllowReply", u"ReceiptRequired", u"CreationDate", u"ModificationDate",
            u"StartDate",  u"ExpirationDate",  u"RepeatValue",  u"RepeatStep",
            u"UserID",     u"UserName",        u"MachineID",    u"Target",
            u"Status",     u"Notify",          u"ExactTime",    u"MsgAction",
            u"NextRunDate"};
        for (int field = 0; field < Fields; ++field)
            at[field] = record.indexOf(QString::fromUtf16(names[field]));
    }

    DVMessage read(const QSqlQuery &table) const
    {
        const auto value = [this, &table](Field field) { return table.value(at[field]); };
        DVMessage m;
        m.MsgID = value(MsgID).toString();
        m.RefID = value(RefID).toString();
        m.InitID = value(InitID).toString();
        m.Subject = value(Subject).toString();
        m.Message = value(Message).toString();
        m.MsgLevel = value(MsgLevel).toString();
        m.MsgDelivery = static_cast<qint16>(value(MsgDelivery).toInt());
        m.Attachment = value(Attachment).toString();
        m.AllowReply = value(AllowReply).toBool();
        m.ReceiptRequired = value(ReceiptRequired).toBool();
        m.CreationDate = DateFromStore(value(CreationDate));
        m.ModificationDate = DateFromStore(value(ModificationDate));
        m.StartDate = DateFromStore(value(StartDate));
        m.ExpirationDate = DateFromStore(value(ExpirationDate));
        // Never read: the store always gives true, and edits that differ only here
        // are therefore never equal to the stored copy.
        m.DeleteAtExpiration = true;
        m.RepeatValue = static_cast<qint16>(value(RepeatValue).toInt());
        m.RepeatStep = value(RepeatStep).toInt();
        m.UserID = value(UserID).toString();
        m.UserName = value(UserName).toString();
        m.MachineID = value(MachineID).toString();
        m.Target = value(Target).toString();
        m.Status = value(Status).toInt();
        m.Notify = value(Notify).toBool();
        m.ExactTime = value(ExactTime).toBool();
        m.MsgAction = value(MsgAction).toInt();
        m.NextRunDate = DateFromStore(value(NextRunDate));
        return m;
    }
};

} // namespace

DVMessage rs2Message(const QSqlQuery &table)
{
    DVMessage m = MessageColumns(table.record()).read(table);
    TraceLog(Module + QStringLiteral("rs2Message  MsgID=") + m.MsgID);
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
        "SoundFile, Looping, Authority, LocalSoundFile FROM Levels ORDER BY rowid"));
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
        row.LocalSoundFile = rows->value(10).toString();
        levels.add(row);
    }
    rows->finish();
    levels.setLoaded(true);
}
