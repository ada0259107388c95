#pragma once

#include "ClientLink.h"

#include <QString>
#include <QStringList>

// The wire's separators, codes and small readers that every handler of the server shares.
namespace DevWire {

using namespace Qt::StringLiterals;

constexpr QChar dataStart(1);
constexpr QChar fieldSeparator(2);
constexpr QChar rowSeparator(3);

constexpr int Administrator = 3;
constexpr int StatusCancelled = 0;
constexpr int StatusActive = 1;
constexpr int StatusDeleted = 3;
constexpr int StatusResubmitted = 5;

inline QStringList fieldsOf(const QString &data, qsizetype count)
{
    QStringList fields = data.split(fieldSeparator);
    while (fields.size() < count)
        fields.append(QString());
    return fields;
}

// Comma lists as the client types them: blanks around an item are not part of it.
inline QStringList idsOf(const QString &data)
{
    QStringList ids;
    for (const QString &id : data.split(u','))
        if (!id.trimmed().isEmpty())
            ids.append(id.trimmed());
    return ids;
}

inline QString boolText(bool value)
{
    return value ? u"True"_s : u"False"_s;
}

inline bool readBool(const QString &text)
{
    const QString t = text.trimmed();
    return t.compare("True"_L1, Qt::CaseInsensitive) == 0 || t == "1"_L1 || t == "-1"_L1;
}

// Who a log line is about: the user, when known, and the address.
inline QByteArray peer(const ClientLink &link)
{
    return (link.userId.isEmpty() ? link.address.toString() : link.userId % u'@' % link.address.toString())
        .toUtf8();
}

} // namespace DevWire
