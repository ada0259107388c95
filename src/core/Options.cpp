#include "core/Options.h"

#include <limits>

namespace {

qint16 toInt16(qint64 value)
{
    // An out-of-range number is as bad as no number.
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        return 0;
    return static_cast<qint16>(value);
}

qint32 toInt32(qint64 value)
{
    if (value < std::numeric_limits<qint32>::min() || value > std::numeric_limits<qint32>::max())
        return 0;
    return static_cast<qint32>(value);
}

} // namespace

void Options::setIniPath(const QString &userFile, const QString &deployedDefaults)
{
    m_ini.setSection(QStringLiteral("Options"));
    m_ini.setFileName(userFile);
    m_ini.setFallbackFileName(deployedDefaults);
}

qint64 Options::readNumber(const QString &key, qint64 defaultValue)
{
    bool wellFormed = true;
    const qint64 value = m_ini.readInt(key, defaultValue, &wellFormed);
    if (!wellFormed)
        m_problems << QStringLiteral("Options:ReadOptions - \"") + key +
                          QStringLiteral("\" is not a number; ") + QString::number(value) +
                          QStringLiteral(" is used");
    return value;
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
    Language = toInt16(readNumber(QStringLiteral("Language"), 0));
    // The crossing of these two keys is deliberate: the file format and the
    // options form depend on it.
    RefreshRate = toInt32(readNumber(QStringLiteral("Speed"), 100));
    RefreshSteps = toInt32(readNumber(QStringLiteral("Refresh Rate"), 1));
    Font.Name = m_ini.readString(QStringLiteral("FontName"), QStringLiteral("Arial"));
    Font.Bold = readNumber(QStringLiteral("FontBold"), 1) != 0;
    Font.Italic = readNumber(QStringLiteral("FontItalic"), 0) != 0;
    Font.Size = toInt32(readNumber(QStringLiteral("FontSize"), 12));
    HorizontalPosition = toInt32(readNumber(QStringLiteral("Horizontal position"), 0));
    VerticalPosition = toInt32(readNumber(QStringLiteral("Vertical position"), 0));
    Server = m_ini.readString(QStringLiteral("Host"), QString());
    ClientPort = toInt32(readNumber(QStringLiteral("ClientPort"), DefaultClientPort));
    Trace = readNumber(QStringLiteral("Trace"), 0) != 0;
    ReconnectDelay = toInt32(readNumber(QStringLiteral("ReconnectDelay"), 15));
    WatchdogDelay = toInt32(readNumber(QStringLiteral("WatchdogDelay"), 45));
    WatchdogFrequency = toInt32(readNumber(QStringLiteral("WatchdogFrequency"), 10));
    DateTimeFormat = m_ini.readString(QStringLiteral("DateTimeFormat"), QString());
}

void Options::SaveOptions() const
{
    m_ini.writeInt(QStringLiteral("Language"), Language);
    m_ini.writeInt(QStringLiteral("Speed"), RefreshRate);
    m_ini.writeInt(QStringLiteral("Refresh Rate"), RefreshSteps);
    m_ini.writeString(QStringLiteral("FontName"), Font.Name);
    m_ini.writeInt(QStringLiteral("FontBold"), Font.Bold ? 1 : 0);
    m_ini.writeInt(QStringLiteral("FontItalic"), Font.Italic ? 1 : 0);
    m_ini.writeInt(QStringLiteral("FontSize"), Font.Size);
    m_ini.writeInt(QStringLiteral("Horizontal position"), HorizontalPosition);
    m_ini.writeInt(QStringLiteral("Vertical position"), VerticalPosition);
    m_ini.writeString(QStringLiteral("Host"), Server);
    m_ini.writeInt(QStringLiteral("ClientPort"), ClientPort);
    m_ini.writeInt(QStringLiteral("Trace"), Trace ? 1 : 0);
    m_ini.writeInt(QStringLiteral("ReconnectDelay"), ReconnectDelay);
    m_ini.writeInt(QStringLiteral("WatchdogDelay"), WatchdogDelay);
    m_ini.writeInt(QStringLiteral("WatchdogFrequency"), WatchdogFrequency);
}

void Options::SaveConnectionSettings() const
{
    m_ini.writeString(QStringLiteral("Host"), Server);
    m_ini.writeInt(QStringLiteral("ClientPort"), ClientPort);
}

void Options::SaveUpdLocation(const QString &location) const
{
    m_ini.writeString(QStringLiteral("ClientUpdatePath"), location);
}

void Options::ResetToDefault()
{
    Language = 0;
    RefreshRate = 100;
    RefreshSteps = 1;
    // Not bold, unlike a file that lacks the key: the two defaults differ on purpose.
    Font = FontSpec{};
    Trace = false;
    ReconnectDelay = 15;
    WatchdogDelay = 45;
    WatchdogFrequency = 10;
}
