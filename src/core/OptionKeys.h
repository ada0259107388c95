#pragma once

#include <QLatin1StringView>
#include <QString>

#include <optional>
#include <span>
#include <variant>

class Options;
struct FontSpec;

// Where a setting lives in memory: a field of Options or of its font.
using OptionField = std::variant<qint16 Options::*, qint32 Options::*, bool Options::*, QString Options::*,
                                 QString FontSpec::*, bool FontSpec::*, int FontSpec::*>;

// What the file holds for a value: a text, or a number (a flag as 1 or 0).
using OptionValue = std::variant<qint64, QString>;

// One key of section "Options": reading, saving and resetting all come from this.
struct OptionKey
{
    QLatin1StringView key;
    OptionField field;
    // What a file without the key gives.
    OptionValue readDefault;
    // What ResetToDefault sets; none where the reset leaves the value alone.
    std::optional<OptionValue> resetDefault;
    // SaveOptions writes it (some keys are read only, one is written only elsewhere).
    bool saved = true;
};

// Every key in the order of the file.
std::span<const OptionKey> optionKeys();

// The value of a key in a set of options, and the way back.
OptionValue optionValue(const Options &options, const OptionKey &key);
void setOptionValue(Options &options, const OptionKey &key, const OptionValue &value);
