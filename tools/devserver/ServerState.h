#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

// Everything the development server knows, kept in one JSON file that is
// rewritten whole after each change so that a restart loses nothing.
class ServerState
{
public:
    struct User
    {
        QString name;
        int role = 0;
        int language = 0;
        QDateTime lastLogon;
        QString machineId;
    };

    struct Machine
    {
        QString ip;
        QDateTime lastLogon;
        QString version;
        QString userId;
        QString agent;
    };

    struct Group
    {
        QString description;
        QDateTime creationDate;
        QString creator;
        QStringList members;
    };

    // A message or package as its text form, which the server never reshapes.
    struct Record
    {
        QString text;
        bool package = false;
    };

    struct Receipt
    {
        QString receiptId;
        QString msgId;
        QString userId;
        QString userName;
        QString machineId;
        QString date;
        QString authorId;
        bool notify = false;
        bool confirmed = false;
    };

    // Ten fields in column order: LevelName, Description, BackColor, ForeColor,
    // ShadowColor, DrawShadow, SoundType, SoundFile, Looping, Authority.
    using Level = QStringList;

    QMap<QString, User> users;
    QMap<QString, Machine> machines;
    QMap<QString, Group> groups;
    QMap<QString, Record> records;
    QMap<QString, QString> templates;
    QList<Receipt> receipts;
    QString globalPolicies;
    QMap<QString, QString> userPolicies;
    QString serverConfig;
    QList<Level> levels = defaultLevels();

    static QList<Level> defaultLevels();

    // False with a reason when the file exists but cannot be read; a missing
    // file is a new state and sets isNew.
    bool load(const QString &path, QString *error);
    bool save();
    bool isNew() const { return m_isNew; }
    QString path() const { return m_path; }

    // Fourteen digits, unique for this state even across restarts and clock steps.
    QString newId();

    void recordDelivery(const QString &msgId, const QString &userId, const QString &machineId);
    bool delivered(const QString &msgId, const QString &userId, const QString &machineId) const;
    // A reposted message is due again on every machine.
    void forgetDeliveries(const QString &msgId);

    // The policies that apply to the user: his own when he has some, else the global ones.
    QString policiesOf(const QString &userId) const;
    // The shared groups whose members include the user.
    QStringList groupsOf(const QString &userId) const;

private:
    QString m_path;
    bool m_isNew = false;
    qint64 m_lastId = 0;
    QSet<QString> m_deliveries;
};
