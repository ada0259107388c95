#include "link/ServerConfig.h"

#include "link/Policies.h"

#include <QStringList>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr QChar itemEnd(u';');

// A number that does not fit leaves the field as it was.
void readInt32(QStringView value, qint32 &field)
{
    const qint64 number = ReadLeadingNumber(value);
    if (number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max())
        field = qint32(number);
}

} // namespace

void ServerConfig::ResetDefaultValues()
{
    *this = ServerConfig();
}

void ServerConfig::ToObject(const QString &text)
{
    ResetDefaultValues();
    if (text.size() < 4)
        return;

    const QStringList items = text.split(itemEnd);
    for (const QString &item : items) {
        const QStringView key = QStringView(item).left(4);
        // The value is all that follows the first "=", so a path may hold one.
        const qsizetype equals = item.indexOf(u'=');
        const QStringView value = equals < 0 ? QStringView() : QStringView(item).mid(equals + 1);

        if (key == "PORT"_L1)
            readInt32(value, ClientPort);
        else if (key == "UDPP"_L1)
            readInt32(value, UDPPort);
        else if (key == "CLOC"_L1)
            ClientUpgradeLocation = value.toString();
        else if (key == "TRCE"_L1)
            Trace = true;
        else if (key == "GENE"_L1)
            GenEnabled = true;
        else if (key == "GENP"_L1)
            readInt32(value, GenPort);
    }
}

QString ServerConfig::ToString() const
{
    QString text =
        "PORT="_L1 % QString::number(ClientPort) % itemEnd % "UDPP="_L1 % QString::number(UDPPort) % itemEnd;
    if (!ClientUpgradeLocation.isEmpty())
        text += "CLOC="_L1 % ClientUpgradeLocation % itemEnd;
    if (Trace)
        text += "TRCE;"_L1;
    if (GenEnabled) {
        text += "GENE;"_L1;
        // The server takes a missing port for its default.
        if (GenPort != ServerConfig().GenPort)
            text += "GENP="_L1 % QString::number(GenPort) % itemEnd;
    }
    return text;
}
