#include "store/Schema.h"

#include "store/Database.h"

namespace {

struct Column
{
    const char16_t *name;
    const char16_t *type; // TEXT, INTEGER or REAL; dates are ISO text, flags 0 or 1
    bool required;
};

const Column MessageLayout[] = {
    {u"MsgID", u"TEXT", true},
    {u"RefID", u"TEXT", false},
    {u"InitID", u"TEXT", false},
    {u"Subject", u"TEXT", false},
    {u"Message", u"TEXT", false},
    {u"MsgLevel", u"TEXT", false},
    {u"MsgDelivery", u"INTEGER", false},
    {u"Attachment", u"TEXT", false},
    {u"AllowReply", u"INTEGER", false},
    {u"ReceiptRequired", u"INTEGER", false},
    {u"CreationDate", u"TEXT", false},
    {u"ModificationDate", u"TEXT", false},
    {u"StartDate", u"TEXT", false},
    {u"ExpirationDate", u"TEXT", false},
    {u"DeleteAtExpiration", u"INTEGER", false},
    {u"RepeatValue", u"INTEGER", false},
    {u"RepeatStep", u"INTEGER", false},
    {u"UserID", u"TEXT", false},
    {u"UserName", u"TEXT", false},
    {u"MachineID", u"TEXT", false},
    {u"Status", u"INTEGER", false},
    {u"ExactTime", u"INTEGER", false},
    {u"Notify", u"INTEGER", false},
    {u"Target", u"TEXT", false},
    {u"MsgAction", u"INTEGER", false},
    {u"NextRunDate", u"TEXT", false},
};

const Column HistoryLayout[] = {
    {u"MsgID", u"TEXT", true},       {u"RefID", u"TEXT", false},      {u"InitID", u"TEXT", false},
    {u"Message", u"TEXT", false},    {u"Attachment", u"TEXT", false}, {u"CreationDate", u"TEXT", false},
    {u"UserID", u"TEXT", false},     {u"UserName", u"TEXT", false},   {u"MachineID", u"TEXT", false},
    {u"Mailbox", u"INTEGER", false},
};

const Column ReceiptLayout[] = {
    {u"ReceiptID", u"TEXT", true}, {u"MsgID", u"TEXT", true},      {u"UserID", u"TEXT", false},
    {u"UserName", u"TEXT", false}, {u"MachineID", u"TEXT", false}, {u"ReceiptDate", u"TEXT", false},
};

const Column GroupLayout[] = {
    {u"GroupName", u"TEXT", true},
    {u"Description", u"TEXT", false},
    {u"CreationDate", u"TEXT", false},
    {u"Creator", u"TEXT", false},
};

const Column GroupUserLayout[] = {{u"GroupName", u"TEXT", true}, {u"UserID", u"TEXT", true}};

const Column LevelLayout[] = {
    {u"LevelName", u"TEXT", true},     {u"Description", u"TEXT", false},  {u"BackColor", u"REAL", false},
    {u"ForeColor", u"REAL", false},    {u"ShadowColor", u"REAL", false},  {u"DrawShadow", u"INTEGER", false},
    {u"SoundType", u"INTEGER", false}, {u"SoundFile", u"TEXT", false},    {u"LocalSoundFile", u"TEXT", false},
    {u"Looping", u"INTEGER", false},   {u"Authority", u"INTEGER", false}, {u"ToSend", u"INTEGER", false},
};

const Column GroupsIBelongToLayout[] = {{u"GroupName", u"TEXT", true}, {u"GroupType", u"TEXT", false}};
const Column DomainGroupLayout[] = {{u"GroupName", u"TEXT", true}, {u"Description", u"TEXT", false}};

const Column UserLayout[] = {
    {u"UserID", u"TEXT", true},     {u"UserName", u"TEXT", false},     {u"LastLogon", u"TEXT", false},
    {u"MachineID", u"TEXT", false}, {u"Connected", u"INTEGER", false}, {u"Language", u"INTEGER", false},
};

const Column MachineLayout[] = {
    {u"MachineID", u"TEXT", true}, {u"MachineIP", u"TEXT", false}, {u"LastLogon", u"TEXT", false},
    {u"Version", u"TEXT", false},  {u"UserID", u"TEXT", false},    {u"Connected", u"INTEGER", false},
    {u"Agent", u"TEXT", false},
};

const Column AdministratorLayout[] = {{u"UserID", u"TEXT", true}, {u"Authority", u"INTEGER", false}};

template <std::size_t N>
QString createTable(const QString &table, const Column (&columns)[N], const QString &key,
                    const QString &leftOut = QString())
{
    QStringList parts;
    for (const Column &column : columns) {
        const QString name = QString::fromUtf16(column.name);
        if (name == leftOut)
            continue;
        const QString type = QString::fromUtf16(column.type);
        // A required field may not be empty either.
        QString constraint;
        if (column.required)
            constraint = type == QLatin1String("TEXT")
                             ? QStringLiteral(" NOT NULL CHECK (length(%1) > 0)").arg(name)
                             : QStringLiteral(" NOT NULL");
        parts << name + QLatin1Char(' ') + type + constraint;
    }
    parts << QStringLiteral("PRIMARY KEY (") + key + QLatin1Char(')');
    return QStringLiteral("CREATE TABLE IF NOT EXISTS ") + table + QStringLiteral(" (") +
           parts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

// A delete on one table takes the matching rows of others with it.
QString cascade(const QString &name, const QString &table, const QStringList &deletes)
{
    return QStringLiteral("CREATE TRIGGER IF NOT EXISTS ") + name + QStringLiteral(" AFTER DELETE ON ") +
           table + QStringLiteral(" BEGIN ") + deletes.join(QLatin1Char(' ')) + QStringLiteral(" END");
}

bool runAll(Database &database, const QStringList &statements)
{
    for (const QString &sql : statements)
        if (!database.exec(sql))
            return false;
    return true;
}

QStringList clientTables()
{
    const QString msgID = QStringLiteral("MsgID");
    return {
        createTable(QStringLiteral("Inbox"), MessageLayout, msgID),
        createTable(QStringLiteral("Outbox"), MessageLayout, msgID),
        createTable(QStringLiteral("History"), HistoryLayout, msgID),
        createTable(QStringLiteral("Receipt"), ReceiptLayout, QStringLiteral("ReceiptID, MsgID")),
        createTable(QStringLiteral("MyTemplates"), MessageLayout, msgID),
        createTable(QStringLiteral("OutPkg"), MessageLayout, msgID),
        createTable(QStringLiteral("InPkg"), MessageLayout, msgID),
        createTable(QStringLiteral("MyGroups"), GroupLayout, QStringLiteral("GroupName")),
        createTable(QStringLiteral("MyGroupUsers"), GroupUserLayout, QStringLiteral("GroupName, UserID")),
        createTable(QStringLiteral("Levels"), LevelLayout, QStringLiteral("LevelName")),
        cascade(QStringLiteral("InboxOnDelete"), QStringLiteral("Inbox"),
                {QStringLiteral("DELETE FROM History WHERE MsgID = OLD.MsgID;")}),
        cascade(QStringLiteral("OutboxOnDelete"), QStringLiteral("Outbox"),
                {QStringLiteral("DELETE FROM Receipt WHERE MsgID = OLD.MsgID;"),
                 QStringLiteral("DELETE FROM History WHERE MsgID = OLD.MsgID;")}),
        cascade(QStringLiteral("OutPkgOnDelete"), QStringLiteral("OutPkg"),
                {QStringLiteral("DELETE FROM Receipt WHERE MsgID = OLD.MsgID;")}),
        cascade(QStringLiteral("MyGroupsOnDeleteUsers"), QStringLiteral("MyGroups"),
                {QStringLiteral("DELETE FROM MyGroupUsers WHERE GroupName = OLD.GroupName;")}),
    };
}

// What the minute scans and the cascades look up besides the keys.
QStringList scanIndexes()
{
    QStringList statements;
    for (const char16_t *table : {u"Inbox", u"InPkg", u"Outbox", u"OutPkg"}) {
        const QString name = QString::fromUtf16(table);
        statements
            << QStringLiteral("CREATE INDEX IF NOT EXISTS %1_Action ON %1 (MsgAction, Status, NextRunDate)")
                   .arg(name)
            << QStringLiteral("CREATE INDEX IF NOT EXISTS %1_Expiration ON %1 (ExpirationDate)").arg(name)
            << QStringLiteral("CREATE INDEX IF NOT EXISTS %1_NextRun ON %1 (NextRunDate)").arg(name);
    }
    statements << QStringLiteral("CREATE INDEX IF NOT EXISTS Receipt_MsgID ON Receipt (MsgID)");
    return statements;
}

} // namespace

const QStringList &Schema::MessageColumns()
{
    static const QStringList columns = [] {
        QStringList names;
        for (const Column &column : MessageLayout)
            names << QString::fromUtf16(column.name);
        return names;
    }();
    return columns;
}

bool Schema::CreateTables(Database &client)
{
    int version = client.userVersion();
    {
        Transaction transaction(client);
        if (!runAll(client, clientTables()))
            return false;
        if (version < 1 && !client.setUserVersion(1))
            return false;
        if (!transaction.commit())
            return false;
        version = qMax(version, 1);
    }
    if (version < 2) {
        Transaction transaction(client);
        if (!runAll(client, scanIndexes()) || !client.setUserVersion(2) || !transaction.commit())
            return false;
    }
    return true;
}

bool Schema::CreateTempTables(Database &temp)
{
    const QString msgID = QStringLiteral("MsgID");
    const QString groupName = QStringLiteral("GroupName");
    Transaction transaction(temp);
    const bool made = runAll(
        temp,
        {
            createTable(QStringLiteral("Outbox"), MessageLayout, msgID),
            createTable(QStringLiteral("SharedTemplates"), MessageLayout, msgID),
            createTable(QStringLiteral("Receipt"), ReceiptLayout, QStringLiteral("ReceiptID, MsgID")),
            createTable(QStringLiteral("GroupsIBelongTo"), GroupsIBelongToLayout, groupName),
            createTable(QStringLiteral("DomainGroups"), DomainGroupLayout, groupName),
            createTable(QStringLiteral("KorvaneGroups"), GroupLayout, groupName),
            createTable(QStringLiteral("KorvaneGroupUsers"), GroupUserLayout,
                        QStringLiteral("GroupName, UserID")),
            createTable(QStringLiteral("Users"), UserLayout, QStringLiteral("UserID")),
            createTable(QStringLiteral("Machines"), MachineLayout, QStringLiteral("MachineID")),
            createTable(QStringLiteral("Administrators"), AdministratorLayout, QStringLiteral("UserID")),
            createTable(QStringLiteral("Levels"), LevelLayout, QStringLiteral("LevelName"),
                        QStringLiteral("LocalSoundFile")),
            cascade(QStringLiteral("OutboxOnDelete"), QStringLiteral("Outbox"),
                    {QStringLiteral("DELETE FROM Receipt WHERE MsgID = OLD.MsgID;")}),
            cascade(QStringLiteral("KorvaneGroupsOnDelete"), QStringLiteral("KorvaneGroups"),
                    {QStringLiteral("DELETE FROM KorvaneGroupUsers WHERE GroupName = OLD.GroupName;"),
                     QStringLiteral("DELETE FROM GroupsIBelongTo WHERE GroupName = OLD.GroupName;")}),
            QStringLiteral("CREATE INDEX IF NOT EXISTS Receipt_MsgID ON Receipt (MsgID)"),
        });
    return made && transaction.commit();
}
