#include "core/IniFile.h"

#include "core/Frontend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

const QLatin1StringView LockMarker("[$i]");

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

bool sameName(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// Cuts a trailing lock marker off a key or a section line, and tells whether it was there.
bool cutMarker(QString &text)
{
    if (!text.endsWith(LockMarker, Qt::CaseInsensitive))
        return false;
    text.chop(LockMarker.size());
    text = text.trimmed();
    return true;
}

// The name of a section line, "[Name]" maybe followed by the lock marker; nothing for other lines.
std::optional<QString> sectionOf(const QString &line, bool *marked = nullptr)
{
    QString header = line.trimmed();
    if (!isSectionLine(header))
        return std::nullopt;
    QString unmarked = header;
    // A section called "[$i]" alone is a name, not a marker.
    const bool cut = cutMarker(unmarked) && isSectionLine(unmarked);
    if (cut)
        header = unmarked;
    if (marked)
        *marked = cut;
    return header.mid(1, header.size() - 2).trimmed();
}

// Returns the key of a "key=value" line without its lock marker, or an empty string for anything else.
QString keyOf(const QString &line, bool *marked = nullptr)
{
    if (marked)
        *marked = false;
    const qsizetype eq = line.indexOf(QLatin1Char('='));
    if (eq <= 0)
        return {};
    const QString trimmed = line.trimmed();
    if (trimmed.startsWith(QLatin1Char(';')) || trimmed.startsWith(QLatin1Char('#')))
        return {};
    QString key = line.left(eq).trimmed();
    const bool cut = cutMarker(key);
    if (marked)
        *marked = cut;
    return key;
}

QString valueOf(const QString &line)
{
    QString value = line.mid(line.indexOf(QLatin1Char('=')) + 1).trimmed();
    if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
        value = value.mid(1, value.size() - 2);
    return value;
}

// Leading digits count; see IniFile::readInt.
qint64 leadingNumber(const QString &value, bool *wellFormed = nullptr)
{
    const QString text = value.trimmed();
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

// What one file says of a key of a section.
struct Found
{
    std::optional<QString> value;
    // The key or its section carries the lock marker; only the machine's file heeds it.
    bool locked = false;
};

Found find(const QStringList &lines, const QString &section, const QString &key)
{
    Found found;
    std::optional<QString> lockedValue;
    bool inSection = false;
    for (QString line : lines) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        bool marked = false;
        if (const std::optional<QString> name = sectionOf(line, &marked)) {
            inSection = sameName(*name, section);
            found.locked = found.locked || (inSection && marked);
            continue;
        }
        if (!inSection || !sameName(keyOf(line, &marked), key))
            continue;
        if (!found.value)
            found.value = valueOf(line);
        if (marked && !lockedValue)
            lockedValue = valueOf(line);
    }
    // The line that locks the key gives its value, whatever an unmarked one above says.
    if (lockedValue) {
        found.value = lockedValue;
        found.locked = true;
    }
    return found;
}

// The value reads as the layers below the user's file give it: numbers compare as numbers, texts as texts.
bool readsTheSame(const IniFile::Entry &entry, const std::optional<QString> &below)
{
    if (const auto *number = std::get_if<qint64>(&entry.builtIn))
        return leadingNumber(entry.value) == (below ? leadingNumber(*below) : *number);
    const QString inherited = below.value_or(std::get<QString>(entry.builtIn));
    return inherited.left(IniFile::BufferLength) == entry.value.left(IniFile::BufferLength);
}

// Puts key=value in its section, or takes the key out when there is no value.
// The key's first line takes the value and any later one goes; a new key goes
// after the first section's last line, else in a new section at the end.
void putLine(QStringList &lines, const QString &section, const QString &key,
             const std::optional<QString> &value)
{
    qsizetype insertAt = -1;
    int sectionsSeen = 0;
    bool inSection = false;
    bool placed = !value;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (const std::optional<QString> name = sectionOf(lines[i])) {
            inSection = sameName(*name, section);
            if (inSection && ++sectionsSeen == 1)
                insertAt = i + 1;
            continue;
        }
        if (!inSection)
            continue;
        if (sectionsSeen == 1 && !lines[i].trimmed().isEmpty())
            insertAt = i + 1;
        if (!sameName(keyOf(lines[i]), key))
            continue;
        if (!placed) {
            lines[i] = key + QLatin1Char('=') + *value;
            placed = true;
        } else {
            lines.removeAt(i--);
        }
    }
    if (placed)
        return;
    const QString entry = key + QLatin1Char('=') + *value;
    if (insertAt >= 0) {
        lines.insert(insertAt, entry);
        return;
    }
    if (!lines.isEmpty() && !lines.last().trimmed().isEmpty())
        lines.append(QString());
    lines.append(QLatin1Char('[') + section + QLatin1Char(']'));
    lines.append(entry);
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

IniFile::Snapshot::Snapshot(const IniFile &ini) : m_ini(ini), m_taken(!ini.m_snapshot)
{
    if (m_taken)
        m_ini.m_snapshot.emplace(readLines(ini.m_fileName), ini.m_fallbackFileName.isEmpty()
                                                                ? QStringList()
                                                                : readLines(ini.m_fallbackFileName));
}

IniFile::Snapshot::~Snapshot()
{
    if (m_taken)
        m_ini.m_snapshot.reset();
}

QStringList IniFile::userLines() const
{
    return m_snapshot ? m_snapshot->first : readLines(m_fileName);
}

QStringList IniFile::machineLines() const
{
    if (m_snapshot)
        return m_snapshot->second;
    return m_fallbackFileName.isEmpty() ? QStringList() : readLines(m_fallbackFileName);
}

std::optional<QString> IniFile::layered(const QString &key) const
{
    const Found machine = find(machineLines(), m_section, key);
    if (!machine.locked)
        if (std::optional<QString> user = find(userLines(), m_section, key).value)
            return user;
    return machine.value;
}

bool IniFile::isLocked(const QString &key) const
{
    // Asked by forms whatever the settings' state: an unset file locks nothing, without the logic error.
    if (m_section.isEmpty() || m_fallbackFileName.isEmpty())
        return false;
    return find(machineLines(), m_section, key).locked;
}

QString IniFile::readString(const QString &key, const QString &defaultValue) const
{
    if (!registered())
        return {};
    return layered(key).value_or(defaultValue).left(BufferLength);
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
    const std::optional<QString> value = layered(key);
    if (!value)
        return defaultValue;
    return leadingNumber(*value, wellFormed);
}

bool IniFile::writeString(const QString &key, const QString &value) const
{
    return writeValues({{key, value}});
}

bool IniFile::writeValues(const QList<Entry> &entries) const
{
    if (!registered())
        return false;
    const bool existed = QFileInfo::exists(m_fileName);
    const QStringList old = readLines(m_fileName);
    QStringList lines = old;
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    const QStringList machine = m_fallbackFileName.isEmpty() ? QStringList() : readLines(m_fallbackFileName);
    for (const Entry &e : entries) {
        const Found below = find(machine, m_section, e.key);
        const bool inherited = below.locked || readsTheSame(e, below.value);
        putLine(lines, m_section, e.key, inherited ? std::nullopt : std::optional<QString>(e.value));
    }
    // Even with nothing to hold, the file stays: its presence makes reads take the read defaults, not a
    // reset.
    if (lines.isEmpty())
        lines.append(QLatin1Char('[') + m_section + QLatin1Char(']'));
    const QString text = lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    // Connections save at every start: an unchanged file is not rewritten for them.
    if (existed && text == old.join(QLatin1Char('\n')))
        return true;

    QDir().mkpath(QFileInfo(m_fileName).absolutePath());
    QSaveFile file(m_fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(text.toUtf8());
    return file.commit();
}
