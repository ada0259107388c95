#include "link/Policies.h"

#include <QStringList>

#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr QChar itemEnd(u';');

struct FlagKey
{
    QLatin1String key;
    bool Policies::*field;
};

// In the order of the text form. Each key's presence means the opposite of the
// field's default.
const FlagKey leadingFlags[] = {
    {"MSGS"_L1, &Policies::CanSendMessages},         {"RPTG"_L1, &Policies::CanCreateRepeating},
    {"NOTE"_L1, &Policies::CanRequestNotification},  {"NTDG"_L1, &Policies::UseDomainGroups},
    {"KVGG"_L1, &Policies::UseKorvanGroups},         {"EXIT"_L1, &Policies::CanExitClient},
    {"DSPO"_L1, &Policies::CanModifyDisplayOptions}, {"ADMN"_L1, &Policies::CanAdminister},
};

const FlagKey trailingFlags[] = {
    {"LINK"_L1, &Policies::CanLinkDocument},
    {"SEND"_L1, &Policies::CanSendToAll},
    {"BRDC"_L1, &Policies::CanBroadcast},
};

// The value of an item, or nothing when it has no "="; text after a second "="
// is not part of it.
std::optional<QString> valueOf(const QString &item)
{
    const QStringList parts = item.split(u'=');
    if (parts.size() < 2)
        return std::nullopt;
    return parts.at(1);
}

// A malformed or out-of-range number loses only itself: the field keeps its default.
void readInt16(const QString &item, qint16 &field)
{
    const std::optional<QString> value = valueOf(item);
    if (!value)
        return;
    const qint64 number = ReadLeadingNumber(*value);
    if (number >= std::numeric_limits<qint16>::min() && number <= std::numeric_limits<qint16>::max())
        field = qint16(number);
}

} // namespace

qint64 ReadLeadingNumber(QStringView text)
{
    constexpr qint64 saturation = qint64(1) << 40;
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text.at(i) == u'-' || text.at(i) == u'+')) {
        negative = text.at(i) == u'-';
        ++i;
    }
    qint64 value = 0;
    for (; i < text.size() && text.at(i) >= u'0' && text.at(i) <= u'9'; ++i)
        value = qMin(value * 10 + (text.at(i).unicode() - u'0'), saturation);
    return negative ? -value : value;
}

void Policies::ResetDefaultValues()
{
    *this = Policies();
}

void Policies::SetFullRights()
{
    const Policies defaults;
    for (const FlagKey &flag : leadingFlags)
        this->*flag.field = true;
    Lifetime = defaults.Lifetime;
    DeniedExtensions = defaults.DeniedExtensions;
    CanLinkDocument = true;
    CanSendToAll = true;
    CanBroadcast = true;
}

void Policies::ToObject(const QString &text)
{
    if (text.size() < 4)
        return;
    ResetDefaultValues();

    const Policies defaults;
    const auto flip = [&](const auto &flags, QStringView key) {
        for (const FlagKey &flag : flags) {
            if (key == flag.key) {
                this->*flag.field = !(defaults.*flag.field);
                return true;
            }
        }
        return false;
    };

    const QStringList items = text.split(itemEnd);
    for (const QString &item : items) {
        const QStringView key = QStringView(item).left(4);
        if (flip(leadingFlags, key) || flip(trailingFlags, key))
            continue;

        if (key == "LFTM"_L1) {
            readInt16(item, Lifetime);
        } else if (key == "RCON"_L1) {
            readInt16(item, Reconnect);
        } else if (key == "DEXT"_L1) {
            if (const std::optional<QString> value = valueOf(item))
                DeniedExtensions = *value;
        }
        // "CCDB" is a key of the server's that the client has no use for;
        // it and anything unknown are passed over.
    }
}

QString Policies::ToString() const
{
    const Policies defaults;
    QString text;
    const auto writeFlags = [&](const auto &flags) {
        for (const FlagKey &flag : flags) {
            if (this->*flag.field != defaults.*flag.field)
                text += flag.key % itemEnd;
        }
    };

    writeFlags(leadingFlags);
    if (Lifetime != defaults.Lifetime)
        text += "LFTM="_L1 % QString::number(Lifetime) % itemEnd;
    if (DeniedExtensions != defaults.DeniedExtensions)
        text += "DEXT="_L1 % DeniedExtensions % itemEnd;
    writeFlags(trailingFlags);
    if (Reconnect != defaults.Reconnect)
        text += "RCON="_L1 % QString::number(Reconnect) % itemEnd;
    return text;
}

namespace {
std::optional<Policies> policies;
} // namespace

Policies &gPolicies()
{
    if (!policies)
        policies.emplace();
    return *policies;
}

void ResetPolicies()
{
    policies.reset();
}
