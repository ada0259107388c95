#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <variant>

// The ini routines: one section of one file, chosen beforehand. Values are read
// through a 255-character buffer, so longer ones come back cut. Three layers
// answer a read: the user's file, then the machine's file an administrator
// deploys (the fallback), then the caller's default. In the machine's file,
// "Key[$i]=value" locks a key and "[Section][$i]" every key of its section: a
// locked key reads from there (or the default), whatever the user's file says.
class IniFile
{
public:
    static constexpr int BufferLength = 255;

    void setSection(const QString &section) { m_section = section; }
    void setFileName(const QString &fileName) { m_fileName = fileName; }
    void setFallbackFileName(const QString &fileName) { m_fallbackFileName = fileName; }
    const QString &fileName() const { return m_fileName; }

    bool fileExists() const;
    QString readString(const QString &key, const QString &defaultValue) const;
    // Leading digits count ("12px" reads 12); a text without any reads 0 and
    // clears *wellFormed, as does anything after the digits.
    qint64 readInt(const QString &key, qint64 defaultValue, bool *wellFormed = nullptr) const;
    // The machine's file fixes the key; the user's file cannot lock anything.
    bool isLocked(const QString &key) const;
    // The file exists but cannot be read.
    bool unreadable() const;
    struct Entry
    {
        QString key;
        QString value;
        // What a read gives when neither file holds the key; a number makes the value compare as one.
        std::variant<qint64, QString> builtIn = QString();
    };
    // All entries in one rewrite of the user's file, which replaces the old one
    // whole. The file keeps only what differs: a key locked, or whose value reads
    // the same from the machine's file or the built-in default, leaves it.
    bool writeValues(const QList<Entry> &entries) const;
    bool writeString(const QString &key, const QString &value) const;

    // While one stands, reads take both files as they were when it began, read
    // once, rather than reading them again for every key. One made while another
    // stands leaves it be.
    class Snapshot
    {
    public:
        explicit Snapshot(const IniFile &ini);
        ~Snapshot();
        Snapshot(const Snapshot &) = delete;
        Snapshot &operator=(const Snapshot &) = delete;

    private:
        const IniFile &m_ini;
        bool m_taken = false;
    };

private:
    QStringList userLines() const;
    QStringList machineLines() const;
    bool registered() const;
    // The value a read gives before the caller's default.
    std::optional<QString> layered(const QString &key) const;

    QString m_section;
    QString m_fileName;
    QString m_fallbackFileName;
    // Filled while a Snapshot stands: the lines of the user's file and of the fallback.
    mutable std::optional<std::pair<QStringList, QStringList>> m_snapshot;
};
