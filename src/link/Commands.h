#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class DVMessage;
class QDateTime;
class ServerConfig;
class UserInfos;

// The payloads of the commands that the client sends: the code, then Chr(1) and
// the data when there is any. SendData adds Chr(0) and the user id. Nothing is
// escaped; values must already be free of the separator characters.
namespace Commands {

// Logon and liveness.
QString USR(const QString &userInfosText, const QString &version);
QString ALL();
QString WDG();

// Requests for a new ID.
QString MID();
QString PID();
QString PTI();
QString STI();
QString RID();
QString RAL();
QString MDU(const QString &msgId);
QString PDU(const QString &msgId);
QString MTP(const QString &msgId);
QString PTP(const QString &msgId);
QString STR(const QString &msgId);

// Directory requests. The requester letter comes back with the end marker
// and tells which form asked: "A", "G", "M", "P" or "L".
QString RUS(QChar requester);
QString RMA(QChar requester);
QString RPI(QChar requester);
QString RAD();
QString ALM();
QString TMP();
QString RRC();

// Messages and packages. MSG, PKG, RPL and RPA carry "1" when the record lives
// beyond this moment (a delivery mode or a repeat), else "0".
QString MSG(const DVMessage &message);
QString PKG(const DVMessage &message);
QString RPA(const DVMessage &reply);
QString RPL(const DVMessage &reply);
QString MUP(const DVMessage &message);
QString PUP(const DVMessage &message);
QString MDE(const QStringList &msgIds);
QString PDE(const QStringList &msgIds);
QString MCA(const QString &msgId);
QString PCA(const QString &msgId);
QString RCP(const DVMessage &message, const UserInfos &reader, const QDateTime &readAt);
QString CMS(const QString &msgId, const QString &machineId);
QString CPK(const QString &msgId, const QString &machineId);
QString CRC(const QStringList &receiptIds);

// Templates and directories.
QString STP(const DVMessage &sharedTemplate);
QString TDE(const QStringList &msgIds);
QString KVG(const QString &groupName, const QString &description, const QDateTime &creationDate,
            const QString &creator, const QString &members);
// Deletes the shared group: the name with every other field empty.
QString KVG(const QString &groupName);
// userIds is the comma-separated text as the person typed it.
QString ADM(const QString &userIds, qint16 authority);
QString MAD(const QStringList &machineIds);
QString USD(const QStringList &userIds);

// Configuration.
QString GPR();
QString UPR(const QString &userId);
QString GPU(const QString &policiesText);
QString UPU(const QString &userId, const QString &policiesText);
QString SCR();
QString SCU(const ServerConfig &config);

// The levels of the editor, each row its ten fields as text in column order:
// LevelName, Description, BackColor, ForeColor, ShadowColor, DrawShadow,
// SoundType, SoundFile, Looping, Authority.
QString LVL(const QList<QStringList> &levelRows);

// A Boolean as the data of commands and level rows spells it: "True" or "False".
QString BoolText(bool value);

} // namespace Commands
