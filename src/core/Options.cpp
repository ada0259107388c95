#include "core/Options.h"

#include "core/OptionKeys.h"

namespace {

// The line a key of the table makes, compared on saving with what its read default gives.
IniFile::Entry entryOf(const Options &options, const OptionKey &key)
{
    const OptionValue value = optionValue(options, key);
    return {key.key,
            std::holds_alternative<QString>(value) ? std::get<QString>(value)
                                                   : QString::number(std::get<qint64>(value)),
            key.readDefault};
}

} // namespace

Options::Options()
{
    for (const OptionKey &key : optionKeys())
        setOptionValue(*this, key, key.resetDefault.value_or(key.readDefault));
}

void Options::setIniPath(const QString &userFile, const QString &deployedDefaults)
{
    m_ini.setSection(QStringLiteral("Options"));
    m_ini.setFileName(userFile);
    m_ini.setFallbackFileName(deployedDefaults);
}

void Options::ReadOptions()
{
    m_problems.clear();
    if (m_ini.unreadable())
        m_problems << QStringLiteral("Options:ReadOptions - ") + m_ini.fileName() +
                          QStringLiteral(" cannot be read; the defaults are used");
    if (!m_ini.fileExists()) {
        ResetToDefault();
        return;
    }
    const IniFile::Snapshot snapshot(m_ini);
    for (const OptionKey &key : optionKeys()) {
        bool wellFormed = true;
        const OptionValue value = read(key, &wellFormed);
        if (!wellFormed)
            m_problems << QStringLiteral("Options:ReadOptions - \"") + key.key +
                              QStringLiteral("\" is not a number; ") +
                              QString::number(std::get<qint64>(value)) + QStringLiteral(" is used");
        setOptionValue(*this, key, value);
    }
}

OptionValue Options::read(const OptionKey &key, bool *wellFormed) const
{
    if (const auto *text = std::get_if<QString>(&key.readDefault))
        return m_ini.readString(key.key, *text);
    return m_ini.readInt(key.key, std::get<qint64>(key.readDefault), wellFormed);
}

void Options::SaveOptions() const
{
    // One rewrite of the file for all keys: a save cut short leaves the old file whole.
    QList<IniFile::Entry> entries;
    for (const OptionKey &key : optionKeys())
        if (key.saved)
            entries.append(entryOf(*this, key));
    m_ini.writeValues(entries);
}

void Options::SaveConnectionSettings() const
{
    QList<IniFile::Entry> entries;
    for (const OptionKey &key : optionKeys())
        if (key.key == QLatin1StringView("Host") || key.key == QLatin1StringView("ClientPort"))
            entries.append(entryOf(*this, key));
    m_ini.writeValues(entries);
}

void Options::SaveUpdLocation(const QString &location) const
{
    m_ini.writeString(QStringLiteral("ClientUpdatePath"), location);
}

void Options::ResetToDefault()
{
    const IniFile::Snapshot snapshot(m_ini);
    for (const OptionKey &key : optionKeys())
        if (key.resetDefault)
            setOptionValue(*this, key, isLocked(key.key) ? read(key) : *key.resetDefault);
}
