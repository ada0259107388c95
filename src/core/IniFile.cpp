#include "core/IniFile.h"

#include "core/Frontend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

QStringList readLines(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // Settings files are small; a hostile one is cut rather than read whole,
    // and a small one costs no more than its size.
    const QByteArray data = file.read(qMin<qint64>(file.size(), 1 << 20));
    return QString::fromUtf8(data).split(QLatin1Char('\n'));
}

bool isSectionLine(const QString &trimmed)
{
    return trimmed.startsWith(QLatin1Char('[')) && trimmed.endsWith(QLatin1Char(']'));
}

bool sectionIs(const QString &trimmed, const QString &section)
{
    return trimmed.mid(1, trimmed.size() - 2).trimmed().compare(section, Qt::CaseInsensitive) == 0;
}

// Returns the key of a "key=value" line, or an empty string for anything else.
QString keyOf(const QString &line)
{
    const qsizetype eq = line.indexOf(QLatin1Char('='));
    if (eq <= 0)
        return {};
    const QString trimmed = line.trimmed();
    if (trimmed.startsWith(QLatin1Char(';')) || trimmed.startsWith(QLatin1Char('#')))
        return {};
    return line.left(eq).trimmed();
}

QString valueOf(const QString &line)
{
    QString value = line.mid(line.indexOf(QLatin1Char('=')) + 1).trimmed();
    if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
        value = value.mid(1, value.size() - 2);
    return value;
}

// Puts key=value in its section: in place of the key's line, else after the
// section's last line, else in a new section at the end.
void setLine(QStringList &lines, const QString &section, const QString &key, const QString &value)
{
    const QString entry = key + QLatin1Char('=') + value;
    qsizetype sectionAt = -1;
    qsizetype lastInSection = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString trimmed = lines[i].trimmed();
        if (isSectionLine(trimmed)) {
            if (sectionAt >= 0)
                break;
            if (sectionIs(trimmed, section))
                sectionAt = lastInSection = i;
            continue;
        }
        if (sectionAt < 0)
            continue;
        if (!trimmed.isEmpty())
            lastInSection = i;
        if (keyOf(lines[i]).compare(key, Qt::CaseInsensitive) == 0) {
            lines[i] = entry;
            return;
        }
    }
    if (sectionAt < 0) {
        if (!lines.isEmpty() && !lines.last().trimmed().isEmpty())
            lines.append(QString());
        lines.append(QLatin1Char('[') + section + QLatin1Char(']'));
        lines.append(entry);
    } else {
        lines.insert(lastInSection + 1, entry);
    }
}

} // namespace

bool IniFile::registered() const
{
    if (!m_section.isEmpty() && !m_fileName.isEmpty())
        return true;
    if (Frontend *frontend = Frontend::current())
        frontend->MessageBoxShow(QStringLiteral("[Section] and FileName Not Registered in Private.Ini!"),
                                 QStringLiteral("IniFile Logic Error"), IconExclamation, ButtonsOk);
    return false;
}

bool IniFile::fileExists() const
{
    return QFileInfo::exists(m_fileName) ||
           (!m_fallbackFileName.isEmpty() && QFileInfo::exists(m_fallbackFileName));
}

IniFile::Snapshot::Snapshot(const IniFile &ini) : m_ini(ini)
{
    m_ini.m_snapshot.emplace(readLines(ini.m_fileName), ini.m_fallbackFileName.isEmpty()
                                                            ? QStringList()
                                                            : readLines(ini.m_fallbackFileName));
}

IniFile::Snapshot::~Snapshot()
{
    m_ini.m_snapshot.reset();
}

QStringList IniFile::linesOf(const QString &fileName) const
{
    if (m_snapshot)
        return fileName == m_fileName ? m_snapshot->first : m_snapshot->second;
    return readLines(fileName);
}

std::optional<QString> IniFile::lookup(const QString &fileName, const QString &key) const
{
    bool inSection = false;
    for (QString line : linesOf(fileName)) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString trimmed = line.trimmed();
        if (isSectionLine(trimmed)) {
            inSection = sectionIs(trimmed, m_section);
            continue;
        }
        if (inSection && keyOf(line).compare(key, Qt::CaseInsensitive) == 0)
            return valueOf(line);
    }
    return std::nullopt;
}

QString IniFile::readString(const QString &key, const QString &defaultValue) const
{
    if (!registered())
        return {};
    std::optional<QString> value = lookup(m_fileName, key);
    if (!value && !m_fallbackFileName.isEmpty())
        value = lookup(m_fallbackFileName, key);
    return value.value_or(defaultValue).left(BufferLength);
}

bool IniFile::unreadable() const
{
    QFile file(m_fileName);
    return file.exists() && !file.open(QIODevice::ReadOnly);
}

qint64 IniFile::readInt(const QString &key, qint64 defaultValue, bool *wellFormed) const
{
    if (wellFormed)
        *wellFormed = true;
    if (!registered())
        return 0;
    std::optional<QString> value = lookup(m_fileName, key);
    if (!value && !m_fallbackFileName.isEmpty())
        value = lookup(m_fallbackFileName, key);
    if (!value)
        return defaultValue;
    const QString text = value->trimmed();
    qsizetype end = 0;
    if (end < text.size() && (text[end] == QLatin1Char('-') || text[end] == QLatin1Char('+')))
        ++end;
    while (end < text.size() && text[end].isDigit() && end < 19)
        ++end;
    bool ok = false;
    const qint64 number = text.left(end).toLongLong(&ok);
    if (wellFormed)
        *wellFormed = ok && end == text.size();
    return ok ? number : 0;
}

bool IniFile::writeString(const QString &key, const QString &value) const
{
    return writeValues({{key, value}});
}

bool IniFile::writeValues(const QList<Entry> &entries) const
{
    if (!registered())
        return false;
    QStringList lines = readLines(m_fileName);
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    for (const Entry &e : entries)
        setLine(lines, m_section, e.key, e.value);

    QDir().mkpath(QFileInfo(m_fileName).absolutePath());
    QSaveFile file(m_fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write((lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8());
    return file.commit();
}

bool IniFile::writeInt(const QString &key, qint64 value) const
{
    return writeString(key, QString::number(value));
}
