#include "link/Commands.h"

#include "core/UserInfos.h"
#include "link/ServerConfig.h"
#include "store/DVMessage.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

constexpr QChar dataStart(1);
constexpr QChar fieldSeparator(2);
constexpr QChar rowSeparator(3);
constexpr QChar idSeparator(u',');

QString command(QLatin1String code, const QString &data)
{
    return code % dataStart % data;
}

QString command(QLatin1String code, const QStringList &fields)
{
    return command(code, fields.join(fieldSeparator));
}

QString persist(const DVMessage &message)
{
    return message.MsgDelivery != 0 || message.RepeatValue != 0 ? u"1"_s : u"0"_s;
}

QString expiration(const DVMessage &message)
{
    return DateText::DateToText(message.ExpirationDate);
}

QString recordCommand(QLatin1String code, const DVMessage &message)
{
    return command(code, {message.MsgID, expiration(message), message.ToString(), persist(message)});
}

QString replyCommand(QLatin1String code, const DVMessage &reply)
{
    return command(code, {reply.MsgID, expiration(reply), reply.ToString(), persist(reply), reply.Target});
}

QString updateCommand(QLatin1String code, const DVMessage &message)
{
    return command(code, {message.MsgID, expiration(message), message.ToString()});
}

QString idList(QLatin1String code, const QStringList &ids)
{
    return command(code, ids.join(idSeparator));
}

} // namespace

namespace Commands {

QString USR(const QString &userInfosText, const QString &version)
{
    return command("USR"_L1, {userInfosText, version});
}

QString ALL()
{
    return u"ALL"_s;
}

QString WDG()
{
    return u"WDG"_s;
}

QString MID()
{
    return u"MID"_s;
}

QString PID()
{
    return u"PID"_s;
}

QString PTI()
{
    return u"PTI"_s;
}

QString STI()
{
    return u"STI"_s;
}

QString RID()
{
    return u"RID"_s;
}

QString RAL()
{
    return u"RAL"_s;
}

QString MDU(const QString &msgId)
{
    return command("MDU"_L1, msgId);
}

QString PDU(const QString &msgId)
{
    return command("PDU"_L1, msgId);
}

QString MTP(const QString &msgId)
{
    return command("MTP"_L1, msgId);
}

QString PTP(const QString &msgId)
{
    return command("PTP"_L1, msgId);
}

QString STR(const QString &msgId)
{
    return command("STR"_L1, msgId);
}

QString RUS(QChar requester)
{
    return command("RUS"_L1, QString(requester));
}

QString RMA(QChar requester)
{
    return command("RMA"_L1, QString(requester));
}

QString RPI(QChar requester)
{
    return command("RPI"_L1, QString(requester));
}

QString RAD()
{
    return u"RAD"_s;
}

QString ALM()
{
    return u"ALM"_s;
}

QString TMP()
{
    return u"TMP"_s;
}

QString RRC()
{
    return u"RRC"_s;
}

QString MSG(const DVMessage &message)
{
    return recordCommand("MSG"_L1, message);
}

QString PKG(const DVMessage &message)
{
    return recordCommand("PKG"_L1, message);
}

QString RPA(const DVMessage &reply)
{
    return replyCommand("RPA"_L1, reply);
}

QString RPL(const DVMessage &reply)
{
    return replyCommand("RPL"_L1, reply);
}

QString MUP(const DVMessage &message)
{
    return updateCommand("MUP"_L1, message);
}

QString PUP(const DVMessage &message)
{
    return updateCommand("PUP"_L1, message);
}

QString MDE(const QStringList &msgIds)
{
    return idList("MDE"_L1, msgIds);
}

QString PDE(const QStringList &msgIds)
{
    return idList("PDE"_L1, msgIds);
}

QString MCA(const QString &msgId)
{
    return command("MCA"_L1, msgId);
}

QString PCA(const QString &msgId)
{
    return command("PCA"_L1, msgId);
}

QString RCP(const DVMessage &message, const UserInfos &reader, const QDateTime &readAt)
{
    return command("RCP"_L1, {message.MsgID, reader.UserID(), reader.UserName, reader.MachineID(),
                              DateText::DateToText(readAt), message.UserID, BoolText(message.Notify)});
}

QString CMS(const QString &msgId, const QString &machineId)
{
    return command("CMS"_L1, {msgId, machineId});
}

QString CPK(const QString &msgId, const QString &machineId)
{
    return command("CPK"_L1, {msgId, machineId});
}

QString CRC(const QStringList &receiptIds)
{
    // Each ID is followed by the separator, the last one included.
    QString data;
    for (const QString &id : receiptIds)
        data += id % fieldSeparator;
    return command("CRC"_L1, data);
}

QString STP(const DVMessage &sharedTemplate)
{
    return command("STP"_L1, {sharedTemplate.MsgID, sharedTemplate.ToString()});
}

QString TDE(const QStringList &msgIds)
{
    return idList("TDE"_L1, msgIds);
}

QString KVG(const QString &groupName, const QString &description, const QDateTime &creationDate,
            const QString &creator, const QString &members)
{
    return command("KVG"_L1, {groupName, description, DateText::DateToText(creationDate), creator, members});
}

QString KVG(const QString &groupName)
{
    return command("KVG"_L1, {groupName, QString(), QString(), QString(), QString()});
}

QString ADM(const QString &userIds, qint16 authority)
{
    return command("ADM"_L1, {userIds, QString::number(authority)});
}

// The directory deletes send only the focused row today; more than one would
// be joined by commas like the other ID lists.
QString MAD(const QStringList &machineIds)
{
    return idList("MAD"_L1, machineIds);
}

QString USD(const QStringList &userIds)
{
    return idList("USD"_L1, userIds);
}

QString GPR()
{
    return u"GPR"_s;
}

QString UPR(const QString &userId)
{
    return command("UPR"_L1, userId);
}

QString GPU(const QString &policiesText)
{
    return command("GPU"_L1, policiesText);
}

QString UPU(const QString &userId, const QString &policiesText)
{
    return command("UPU"_L1, {userId, policiesText});
}

QString SCR()
{
    return u"SCR"_s;
}

QString SCU(const ServerConfig &config)
{
    return command("SCU"_L1, config.ToString());
}

QString LVL(const QList<QStringList> &levelRows)
{
    QStringList rows;
    rows.reserve(levelRows.size());
    for (const QStringList &row : levelRows)
        rows.append(row.join(fieldSeparator));
    // Rows are closed by Chr(3) but the last one is cut off: a plain join.
    return command("LVL"_L1, rows.join(rowSeparator));
}

QString BoolText(bool value)
{
    return value ? u"True"_s : u"False"_s;
}

} // namespace Commands
