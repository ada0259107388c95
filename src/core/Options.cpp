#include "core/Options.h"

#include "core/OptionKeys.h"

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
        const QString name = key.key;
        if (const auto *text = std::get_if<QString>(&key.readDefault)) {
            setOptionValue(*this, key, m_ini.readString(name, *text));
            continue;
        }
        bool wellFormed = true;
        const qint64 value = m_ini.readInt(name, std::get<qint64>(key.readDefault), &wellFormed);
        if (!wellFormed)
            m_problems << QStringLiteral("Options:ReadOptions - \"") + name +
                              QStringLiteral("\" is not a number; ") + QString::number(value) +
                              QStringLiteral(" is used");
        setOptionValue(*this, key, value);
    }
}

void Options::SaveOptions() const
{
    // One rewrite of the file for all keys: a save cut short leaves the old file whole.
    QList<IniFile::Entry> entries;
    for (const OptionKey &key : optionKeys()) {
        if (!key.saved)
            continue;
        const OptionValue value = optionValue(*this, key);
        entries.append({key.key, std::holds_alternative<QString>(value)
                                     ? std::get<QString>(value)
                                     : QString::number(std::get<qint64>(value))});
    }
    m_ini.writeValues(entries);
}

void Options::SaveConnectionSettings() const
{
    m_ini.writeValues(
        {{QStringLiteral("Host"), Server}, {QStringLiteral("ClientPort"), QString::number(ClientPort)}});
}

void Options::SaveUpdLocation(const QString &location) const
{
    m_ini.writeString(QStringLiteral("ClientUpdatePath"), location);
}

void Options::ResetToDefault()
{
    for (const OptionKey &key : optionKeys())
        if (key.resetDefault)
            setOptionValue(*this, key, *key.resetDefault);
}
