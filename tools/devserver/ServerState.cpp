#include "ServerState.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

// Wire ids never hold the field separator, so it can join the three keys.
QString deliveryKey(const QString &msgId, const QString &userId, const QString &machineId)
{
    return msgId % QChar(2) % userId % QChar(2) % machineId;
}

QString dateText(const QDateTime &value)
{
    return value.isValid() ? value.toString(Qt::ISODate) : QString();
}

QDateTime dateOf(const QJsonValue &value)
{
    QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODate);
    // Held like every date of the system: the wall clock, marked as UTC.
    if (date.isValid())
        date.setTimeSpec(Qt::UTC);
    return date;
}

QStringList stringsOf(const QJsonValue &value)
{
    QStringList strings;
    for (const QJsonValue &item : value.toArray())
        strings.append(item.toString());
    return strings;
}

template <typename T, typename F>
QJsonObject objectOf(const QMap<QString, T> &map, F toJson)
{
    QJsonObject object;
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        object.insert(it.key(), toJson(it.value()));
    return object;
}

} // namespace

QList<ServerState::Level> ServerState::defaultLevels()
{
    // Colours are blue-green-red numbers; the reserved levels (99) stay out of the editor.
    return {
        {u"Message"_s, u"Information"_s, u"65280"_s, u"0"_s, u"0"_s, u"False"_s, u"0"_s, QString(),
         u"False"_s, u"0"_s},
        {u"Warning"_s, u"Something needs attention"_s, u"65535"_s, u"0"_s, u"0"_s, u"False"_s, u"11"_s,
         QString(), u"False"_s, u"0"_s},
        {u"Alert"_s, u"Act now"_s, u"255"_s, u"16777215"_s, u"0"_s, u"True"_s, u"8"_s, QString(), u"False"_s,
         u"1"_s},
        {u"Alarm"_s, u"Emergency"_s, u"255"_s, u"65535"_s, u"0"_s, u"True"_s, u"4"_s, QString(), u"False"_s,
         u"2"_s},
        {u"sysKVReply"_s, u"Reply"_s, u"16711680"_s, u"16777215"_s, u"0"_s, u"False"_s, u"1"_s, QString(),
         u"False"_s, u"99"_s},
        {u"sysKVPackage"_s, u"Package"_s, u"8388736"_s, u"16777215"_s, u"0"_s, u"False"_s, u"1"_s, QString(),
         u"False"_s, u"99"_s},
    };
}

bool ServerState::load(const QString &path, QString *error)
{
    m_path = path;
    QFile file(path);
    if (!file.exists()) {
        m_isNew = true;
        return true;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (!document.isObject()) {
        *error =
            parseError.error != QJsonParseError::NoError ? parseError.errorString() : u"not a JSON object"_s;
        return false;
    }
    const QJsonObject root = document.object();
    m_isNew = false;

    m_lastId = root.value("lastId"_L1).toString().toLongLong();
    const QJsonObject userObjects = root.value("users"_L1).toObject();
    for (auto it = userObjects.begin(); it != userObjects.end(); ++it) {
        const QJsonObject o = it.value().toObject();
        users.insert(it.key(), {o.value("name"_L1).toString(), o.value("role"_L1).toInt(),
                                o.value("language"_L1).toInt(), dateOf(o.value("lastLogon"_L1)),
                                o.value("machine"_L1).toString()});
    }
    const QJsonObject machineObjects = root.value("machines"_L1).toObject();
    for (auto it = machineObjects.begin(); it != machineObjects.end(); ++it) {
        const QJsonObject o = it.value().toObject();
        machines.insert(it.key(), {o.value("ip"_L1).toString(), dateOf(o.value("lastLogon"_L1)),
                                   o.value("version"_L1).toString(), o.value("user"_L1).toString(),
                                   o.value("agent"_L1).toString()});
    }
    const QJsonObject groupObjects = root.value("groups"_L1).toObject();
    for (auto it = groupObjects.begin(); it != groupObjects.end(); ++it) {
        const QJsonObject o = it.value().toObject();
        groups.insert(it.key(), {o.value("description"_L1).toString(), dateOf(o.value("created"_L1)),
                                 o.value("creator"_L1).toString(), stringsOf(o.value("members"_L1))});
    }
    for (const QJsonValue &value : root.value("records"_L1).toArray()) {
        const QJsonObject o = value.toObject();
        records.insert(o.value("id"_L1).toString(),
                       {o.value("text"_L1).toString(), o.value("package"_L1).toBool()});
    }
    const QJsonObject templateObjects = root.value("templates"_L1).toObject();
    for (auto it = templateObjects.begin(); it != templateObjects.end(); ++it)
        templates.insert(it.key(), it.value().toString());
    for (const QJsonValue &value : root.value("receipts"_L1).toArray()) {
        const QJsonObject o = value.toObject();
        receipts.append({o.value("id"_L1).toString(), o.value("msg"_L1).toString(),
                         o.value("user"_L1).toString(), o.value("userName"_L1).toString(),
                         o.value("machine"_L1).toString(), o.value("date"_L1).toString(),
                         o.value("author"_L1).toString(), o.value("notify"_L1).toBool(),
                         o.value("confirmed"_L1).toBool()});
    }
    for (const QJsonValue &value : root.value("deliveries"_L1).toArray()) {
        const QStringList keys = stringsOf(value);
        if (keys.size() == 3)
            m_deliveries.insert(deliveryKey(keys[0], keys[1], keys[2]));
    }
    globalPolicies = root.value("globalPolicies"_L1).toString();
    const QJsonObject policyObjects = root.value("userPolicies"_L1).toObject();
    for (auto it = policyObjects.begin(); it != policyObjects.end(); ++it)
        userPolicies.insert(it.key(), it.value().toString());
    serverConfig = root.value("serverConfig"_L1).toString();
    if (root.contains("levels"_L1)) {
        levels.clear();
        for (const QJsonValue &value : root.value("levels"_L1).toArray())
            levels.append(stringsOf(value));
    }
    return true;
}

bool ServerState::save()
{
    QJsonObject root;
    root.insert("lastId"_L1, QString::number(m_lastId));
    root.insert("users"_L1, objectOf(users, [](const User &u) {
                    return QJsonObject{{"name"_L1, u.name},
                                       {"role"_L1, u.role},
                                       {"language"_L1, u.language},
                                       {"lastLogon"_L1, dateText(u.lastLogon)},
                                       {"machine"_L1, u.machineId}};
                }));
    root.insert("machines"_L1, objectOf(machines, [](const Machine &m) {
                    return QJsonObject{{"ip"_L1, m.ip},
                                       {"lastLogon"_L1, dateText(m.lastLogon)},
                                       {"version"_L1, m.version},
                                       {"user"_L1, m.userId},
                                       {"agent"_L1, m.agent}};
                }));
    root.insert("groups"_L1, objectOf(groups, [](const Group &g) {
                    return QJsonObject{{"description"_L1, g.description},
                                       {"created"_L1, dateText(g.creationDate)},
                                       {"creator"_L1, g.creator},
                                       {"members"_L1, QJsonArray::fromStringList(g.members)}};
                }));
    QJsonArray recordArray;
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        recordArray.append(
            QJsonObject{{"id"_L1, it.key()}, {"package"_L1, it->package}, {"text"_L1, it->text}});
    root.insert("records"_L1, recordArray);
    root.insert("templates"_L1, objectOf(templates, [](const QString &text) { return QJsonValue(text); }));
    QJsonArray receiptArray;
    for (const Receipt &r : receipts)
        receiptArray.append(QJsonObject{{"id"_L1, r.receiptId},
                                        {"msg"_L1, r.msgId},
                                        {"user"_L1, r.userId},
                                        {"userName"_L1, r.userName},
                                        {"machine"_L1, r.machineId},
                                        {"date"_L1, r.date},
                                        {"author"_L1, r.authorId},
                                        {"notify"_L1, r.notify},
                                        {"confirmed"_L1, r.confirmed}});
    root.insert("receipts"_L1, receiptArray);
    QJsonArray deliveryArray;
    QStringList sortedDeliveries(m_deliveries.cbegin(), m_deliveries.cend());
    sortedDeliveries.sort();
    for (const QString &key : sortedDeliveries)
        deliveryArray.append(QJsonArray::fromStringList(key.split(QChar(2))));
    root.insert("deliveries"_L1, deliveryArray);
    root.insert("globalPolicies"_L1, globalPolicies);
    root.insert("userPolicies"_L1,
                objectOf(userPolicies, [](const QString &text) { return QJsonValue(text); }));
    root.insert("serverConfig"_L1, serverConfig);
    QJsonArray levelArray;
    for (const Level &level : levels)
        levelArray.append(QJsonArray::fromStringList(level));
    root.insert("levels"_L1, levelArray);

    // Written beside and renamed over the old file, so a crash leaves one whole version.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(root).toJson()) < 0 || !file.commit()) {
        qWarning("korvane-devserver: cannot save the state to %s: %s", qPrintable(m_path),
                 qPrintable(file.errorString()));
        return false;
    }
    m_isNew = false;
    return true;
}

QString ServerState::newId()
{
    // Milliseconds since 1970 when the clock allows, otherwise one past the last id.
    m_lastId = qMax(m_lastId + 1, QDateTime::currentMSecsSinceEpoch());
    return QString::number(m_lastId).rightJustified(14, u'0');
}

void ServerState::recordDelivery(const QString &msgId, const QString &userId, const QString &machineId)
{
    m_deliveries.insert(deliveryKey(msgId, userId, machineId));
}

bool ServerState::delivered(const QString &msgId, const QString &userId, const QString &machineId) const
{
    return m_deliveries.contains(deliveryKey(msgId, userId, machineId));
}

void ServerState::forgetDeliveries(const QString &msgId)
{
    const QString prefix = msgId % QChar(2);
    m_deliveries.removeIf([&prefix](const QString &key) { return key.startsWith(prefix); });
}

QString ServerState::policiesOf(const QString &userId) const
{
    return userPolicies.value(userId, globalPolicies);
}

QStringList ServerState::groupsOf(const QString &userId) const
{
    QStringList names;
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        if (it->members.contains(userId, Qt::CaseInsensitive))
            names.append(it.key());
    }
    return names;
}
