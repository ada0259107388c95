#include "delivery/Replication.h"

#include "core/Failure.h"
#include "core/Frontend.h"
#include "core/Globals.h"
#include "core/Log.h"
#include "core/UserInfos.h"
#include "delivery/BooleanText.h"
#include "link/CommandDispatcher.h"
#include "link/Commands.h"
#include "netsvc/NetworkPaths.h"
#include "store/DBFunctions.h"
#include "store/Database.h"
#include "store/DateText.h"
#include "store/MessageCodes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString Form = QStringLiteral("frmKorvanClient:");

// The open list, whichever it is, reads the row anew from its own table.
void recordChanged(Frontend *frontend, const QString &msgID)
{
    if (frontend && gProcess().CurrentList != 0)
        frontend->RecordChanged(msgID);
}

enum class Kind { Text, Date, Bool, Number };

struct ListColumn
{
    const char16_t *name;
    Kind kind;
};

QVariant converted(const QString &text, Kind kind)
{
    switch (kind) {
    case Kind::Date:
        return StoredDate(DateText::TextToDate(text));
    case Kind::Bool:
        return int(IsTrueText(text));
    case Kind::Number:
        return text.trimmed().toLongLong();
    case Kind::Text:
        break;
    }
    return text;
}

// A list of records parted by Chr(3), fields by Chr(2), into one table of Temp.db.
void storeList(const QString &handler, const QString &countText, const QString &table,
               std::initializer_list<ListColumn> columns, const QString &payload)
{
    TraceLog(Form + handler);
    // An empty text splits into one empty record; it holds nothing.
    const QStringList records = payload.split(QChar(3), Qt::SkipEmptyParts);
    TraceLog(QString::number(records.size()) + countText);
    QStringList names, marks;
    for (const ListColumn &column : columns) {
        names << QString::fromUtf16(column.name);
        marks << QStringLiteral("?");
    }
    const QString sql = QStringLiteral("INSERT INTO ") + table + QStringLiteral(" (") +
                        names.join(QStringLiteral(", ")) + QStringLiteral(") VALUES (") +
                        marks.join(QStringLiteral(", ")) + QLatin1Char(')');
    Database &temp = TempDB();
    for (const QString &record : records) {
        const QStringList fields = record.split(QChar(2));
        QVariantList values;
        int i = 0;
        for (const ListColumn &column : columns)
            values << converted(fields.value(i++), column.kind);
        // A failing record ends the handler; what was posted stays.
        if (!temp.exec(sql, values)) {
            WriteLog(Form + handler + QStringLiteral(" - ") + temp.lastError());
            return;
        }
    }
}

// The file name of a level's sound in the data folder: the last piece of its
// path, which can never name anything outside that folder.
QString soundFileName(const QString &soundFile)
{
    QString name = soundFile;
    name.replace(QLatin1Char('\\'), QLatin1Char('/'));
    name = name.section(QLatin1Char('/'), -1);
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") ||
        name.contains(QChar(0)))
        return {};
    return name;
}

} // namespace

void Replication::MessagesDeleted(const QString &list)
{
    TraceLog(Form + QStringLiteral("MessagesDeleted"));
    Frontend *frontend = Frontend::current();
    for (const QString &id : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (frontend)
            frontend->DeleteMessageFromDisplay(id);
        DeleteMessage(ClientDB(), QStringLiteral("Inbox"), id);
        if (gSession().AllMessagesLoaded)
            DeleteMessage(TempDB(), QStringLiteral("Outbox"), id);
        // The author's copy stays, as deleted, for the list of deleted messages.
        ChangeMessageStatus(ClientDB(), id, StatusDeleted, QStringLiteral("Outbox"));
        recordChanged(frontend, id);
    }
}

void Replication::PackagesDeleted(const QString &list)
{
    TraceLog(Form + QStringLiteral("PackagesDeleted"));
    Frontend *frontend = Frontend::current();
    for (const QString &id : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (frontend)
            frontend->DeleteMessageFromDisplay(id);
        DeleteMessage(ClientDB(), QStringLiteral("InPkg"), id);
        ChangeMessageStatus(ClientDB(), id, StatusDeleted, QStringLiteral("OutPkg"));
        recordChanged(frontend, id);
    }
}

void Replication::MessageStatusChanged(const QString &data, Failure &failure)
{
    const QStringList parts = CommandDispatcher::Parts(data, 2, failure);
    // Without an ID there is nothing to change and nothing to confirm.
    if (failure.isSet() || parts[1].isEmpty())
        return;
    const qint32 status = parts[0].trimmed().toInt();
    const QString &id = parts[1];
    UpdateStatus(ClientDB(), QStringLiteral("Inbox"), status, id);
    const bool allLoaded = gSession().AllMessagesLoaded;
    if (allLoaded)
        UpdateStatus(TempDB(), QStringLiteral("Outbox"), status, id);
    Frontend *frontend = Frontend::current();
    if (parts[0] == QLatin1String("3")) {
        if (frontend)
            frontend->DeleteMessageFromDisplay(id);
        DeleteMessage(ClientDB(), QStringLiteral("Inbox"), id);
        if (allLoaded)
            DeleteMessage(TempDB(), QStringLiteral("Outbox"), id);
    } else if (parts[0] == QLatin1String("0") && frontend) {
        frontend->DeleteMessageFromDisplay(id);
    }
    recordChanged(frontend, id);
    // Confirmed once the store has done its work.
    m_sendData(Commands::CMS(id, gUserInfos().MachineID()));
}

void Replication::PackageStatusChanged(const QString &data, Failure &failure)
{
    const QStringList parts = CommandDispatcher::Parts(data, 2, failure);
    if (failure.isSet() || parts[1].isEmpty())
        return;
    const qint32 status = parts[0].trimmed().toInt();
    const QString &id = parts[1];
    UpdateStatus(ClientDB(), QStringLiteral("InPkg"), status, id);
    // Temp.db has no OutPkg: this update fails and is logged, as it always has.
    if (gUserInfos().IsPackager())
        UpdateStatus(TempDB(), QStringLiteral("OutPkg"), status, id);
    Frontend *frontend = Frontend::current();
    if (parts[0] == QLatin1String("3")) {
        if (frontend)
            frontend->DeleteMessageFromDisplay(id);
        DeleteMessage(ClientDB(), QStringLiteral("InPkg"), id);
    } else if (parts[0] == QLatin1String("0") && frontend) {
        frontend->DeleteMessageFromDisplay(id);
    }
    recordChanged(frontend, id);
    m_sendData(Commands::CPK(id, gUserInfos().MachineID()));
}

void Replication::UserGroupsReceived(const QString &payload)
{
    if (payload.isEmpty())
        return;
    TraceLog(Form + QStringLiteral("UserGroupsReceived"));
    Database &temp = TempDB();
    for (const QString &name : payload.split(QChar(2), Qt::SkipEmptyParts)) {
        // The seek takes the name as received and the row is stored lowered, so a
        // second list with capitals fails on the key; that ends the handler.
        if (GroupExist(temp, QStringLiteral("GroupsIBelongTo"), name))
            continue;
        if (!temp.exec(QStringLiteral("INSERT INTO GroupsIBelongTo (GroupName, GroupType) VALUES (?, 'E')"),
                       {name.toLower()})) {
            WriteLog(Form + QStringLiteral("UserGroupsReceived - ") + temp.lastError());
            return;
        }
    }
}

void Replication::LevelsReceived(const QString &payload)
{
    TraceLog(QStringLiteral("Deleting existing levels\t"));
    DeleteRows(ClientDB(), QStringLiteral("Levels"), Filter{});
    StoreLevels(payload);
    GetLevels();
}

void Replication::StoreLevels(const QString &payload)
{
    TraceLog(Form + QStringLiteral("StoreLevels"));
    Database &client = ClientDB();
    const QList<NetworkPaths::Mount> mounts = NetworkPaths::ReadMounts();
    for (const QString &record : payload.split(QChar(2), Qt::SkipEmptyParts)) {
        QStringList fields = record.split(QChar(3));
        while (fields.size() < 10)
            fields << QString();
        QString localFile;
        if (fields[6].trimmed() == QLatin1String("2")) {
            const QString &soundFile = fields[7];
            const QString name = soundFileName(soundFile);
            if (!name.isEmpty())
                localFile = QDir(gProcess().AppDataPath).filePath(name);
            const bool network = NetworkPaths::IsNetworkPath(soundFile, mounts);
            if (!localFile.isEmpty() && !QFileInfo::exists(localFile) && network) {
                const QString source = NetworkPaths::LocalPathOf(soundFile, mounts);
                if (!source.isEmpty())
                    QFile::copy(source, localFile);
            }
            if (localFile.isEmpty() || !QFileInfo::exists(localFile)) {
                if (!network)
                    WriteLog(Form + QStringLiteral("StoreLevels - ") + soundFile +
                             QStringLiteral(" is not in network path"));
                // No file, no sound: the level falls back to silence.
                localFile.clear();
                fields[6] = QStringLiteral("0");
            }
        }
        if (!client.exec(
                QStringLiteral("INSERT INTO Levels (LevelName, Description, BackColor, ForeColor, "
                               "ShadowColor, DrawShadow, SoundType, SoundFile, LocalSoundFile, Looping, "
                               "Authority) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
                {fields[0], fields[1], fields[2].trimmed().toDouble(), fields[3].trimmed().toDouble(),
                 fields[4].trimmed().toDouble(), int(IsTrueText(fields[5])), fields[6].trimmed().toInt(),
                 fields[7], localFile, int(IsTrueText(fields[8])), fields[9].trimmed().toInt()})) {
            WriteLog(Form + QStringLiteral("StoreLevels - ") + client.lastError());
            return;
        }
    }
}

void Replication::GroupsReceived(const QString &payload)
{
    storeList(QStringLiteral("GroupsReceived"), QStringLiteral(" Korvane groups to process"),
              QStringLiteral("KorvaneGroups"),
              {{u"GroupName", Kind::Text},
               {u"Description", Kind::Text},
               {u"CreationDate", Kind::Date},
               {u"Creator", Kind::Text}},
              payload);
}

void Replication::UsersGroupReceived(const QString &payload)
{
    storeList(QStringLiteral("UsersGroupReceived"), QStringLiteral(" Korvane group users to process"),
              QStringLiteral("KorvaneGroupUsers"), {{u"GroupName", Kind::Text}, {u"UserID", Kind::Text}},
              payload);
}

void Replication::UsersReceived(const QString &payload)
{
    // " computers to process" here too: the log has always said so.
    storeList(QStringLiteral("UsersReceived"), QStringLiteral(" computers to process"),
              QStringLiteral("Users"),
              {{u"UserID", Kind::Text},
               {u"UserName", Kind::Text},
               {u"LastLogon", Kind::Date},
               {u"MachineID", Kind::Text},
               {u"Connected", Kind::Bool},
               {u"Language", Kind::Number}},
              payload);
}

void Replication::MachinesReceived(const QString &payload)
{
    storeList(QStringLiteral("MachinesReceived"), QStringLiteral(" computers to process"),
              QStringLiteral("Machines"),
              {{u"MachineID", Kind::Text},
               {u"MachineIP", Kind::Text},
               {u"LastLogon", Kind::Date},
               {u"Version", Kind::Text},
               {u"UserID", Kind::Text},
               {u"Connected", Kind::Bool},
               {u"Agent", Kind::Text}},
              payload);
}

void Replication::StoreAdministrator(const QString &data, Failure &failure)
{
    const QStringList parts = CommandDispatcher::Parts(data, 2, failure);
    if (failure.isSet() || parts[0].isEmpty())
        return;
    TraceLog(Form + QStringLiteral("StoreAdministrator"));
    Database &temp = TempDB();
    if (!temp.exec(QStringLiteral("INSERT INTO Administrators (UserID, Authority) VALUES (?, ?)"),
                   {parts[0], parts[1].trimmed().toInt()}))
        WriteLog(Form + QStringLiteral("StoreAdministrator - ") + temp.lastError());
}

void Replication::TemplateReceived(const QString &payload)
{
    TraceLog(Form + QStringLiteral("TemplateReceived"));
    DVMessage msg;
    msg.ToObject(payload);
    if (msg.MsgID.isEmpty())
        return;
    if (!SaveMessage(TempDB(), QStringLiteral("SharedTemplates"), msg, false, false))
        WriteLog(QStringLiteral("MessageReceived: Unable to save shared template #") + msg.MsgID);
}

void Replication::TemplatesReceived(const QString &payload)
{
    TraceLog(Form + QStringLiteral("TemplatesReceived"));
    for (const QString &record : payload.split(QChar(2), Qt::SkipEmptyParts)) {
        DVMessage msg;
        msg.ToObject(record);
        if (msg.MsgID.isEmpty())
            continue;
        if (!SaveMessage(TempDB(), QStringLiteral("SharedTemplates"), msg, false, false))
            WriteLog(Form + QStringLiteral("TemplatesReceived - Unable to save shared template #") +
                     msg.MsgID);
    }
}
