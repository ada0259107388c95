#include "core/OptionKeys.h"

#include "core/Options.h"

#include <array>
#include <limits>
#include <type_traits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 number(qint64 value)
{
    return value;
}

// The crossing of "Speed" and "Refresh Rate" is deliberate: the file format and
// the options form depend on it. A file without "FontBold" gives a bold font,
// while a reset gives a plain one: the two defaults differ on purpose.
const std::array<OptionKey, 17> keys = {{
    {"Language"_L1, &Options::Language, number(0), number(0)},
    {"Speed"_L1, &Options::RefreshRate, number(100), number(100)},
    {"Refresh Rate"_L1, &Options::RefreshSteps, number(1), number(1)},
    {"FontName"_L1, &FontSpec::Name, u"Arial"_s, u"Arial"_s},
    {"FontBold"_L1, &FontSpec::Bold, number(1), number(0)},
    {"FontItalic"_L1, &FontSpec::Italic, number(0), number(0)},
    {"FontSize"_L1, &FontSpec::Size, number(12), number(12)},
    {"Horizontal position"_L1, &Options::HorizontalPosition, number(0), std::nullopt},
    {"Vertical position"_L1, &Options::VerticalPosition, number(0), std::nullopt},
    {"Host"_L1, &Options::Server, QString(), std::nullopt},
    {"ClientPort"_L1, &Options::ClientPort, number(Options::DefaultClientPort), std::nullopt},
    {"Trace"_L1, &Options::Trace, number(0), number(0)},
    {"ReconnectDelay"_L1, &Options::ReconnectDelay, number(15), number(15)},
    {"WatchdogDelay"_L1, &Options::WatchdogDelay, number(45), number(45)},
    {"WatchdogFrequency"_L1, &Options::WatchdogFrequency, number(10), number(10)},
    // How dates travel on the wire: set by a site to match its server, never saved by the client.
    {"DateTimeFormat"_L1, &Options::DateTimeFormat, QString(), std::nullopt, false},
    // Who may give UDP orders ("server", or anyone when empty): an administrator's choice, never saved.
    {"UdpOrdersFrom"_L1, &Options::UdpOrdersFrom, QString(), std::nullopt, false},
}};

template <typename T>
T narrowed(qint64 value)
{
    // An out-of-range number is as bad as no number.
    if (value < std::numeric_limits<T>::min() || value > std::numeric_limits<T>::max())
        return 0;
    return static_cast<T>(value);
}

template <typename Owner>
Owner &ownerOf(Options &options)
{
    if constexpr (std::is_same_v<Owner, FontSpec>)
        return options.Font;
    else
        return options;
}

template <typename Owner>
const Owner &ownerOf(const Options &options)
{
    if constexpr (std::is_same_v<Owner, FontSpec>)
        return options.Font;
    else
        return options;
}

template <typename>
struct MemberOf;
template <typename T, typename Owner>
struct MemberOf<T Owner::*>
{
    using type = T;
    using owner = Owner;
};

} // namespace

std::span<const OptionKey> optionKeys()
{
    return keys;
}

OptionValue optionValue(const Options &options, const OptionKey &key)
{
    return std::visit(
        [&](auto member) -> OptionValue {
            using Member = MemberOf<decltype(member)>;
            const auto &value = ownerOf<typename Member::owner>(options).*member;
            if constexpr (std::is_same_v<typename Member::type, QString>)
                return value;
            else
                return qint64(value);
        },
        key.field);
}

void setOptionValue(Options &options, const OptionKey &key, const OptionValue &value)
{
    std::visit(
        [&](auto member) {
            using Member = MemberOf<decltype(member)>;
            using T = typename Member::type;
            auto &field = ownerOf<typename Member::owner>(options).*member;
            if constexpr (std::is_same_v<T, QString>) {
                field = std::holds_alternative<QString>(value) ? std::get<QString>(value) : QString();
            } else {
                const qint64 n = std::holds_alternative<qint64>(value) ? std::get<qint64>(value) : 0;
                if constexpr (std::is_same_v<T, bool>)
                    field = n != 0;
                else
                    field = narrowed<T>(n);
            }
        },
        key.field);
}
