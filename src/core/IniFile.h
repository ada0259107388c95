#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

// The ini routines: one section of one file, chosen beforehand. Values are read
// through a 255-character buffer, so longer ones come back cut. A file that an
// administrator deploys (the fallback) answers for keys the user's file lacks.
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
    // The file exists but cannot be read.
    bool unreadable() const;
    struct Entry
    {
        QString key;
        QString value;
    };
    // All entries in one rewrite of the file, which replaces the old one whole.
    bool writeValues(const QList<Entry> &entries) const;
    bool writeString(const QString &key, const QString &value) const;
    bool writeInt(const QString &key, qint64 value) const;

    // While one stands, reads take both files as they were when it began, read
    // once, rather than reading them again for every key.
    class Snapshot
    {
    public:
        explicit Snapshot(const IniFile &ini);
        ~Snapshot();
        Snapshot(const Snapshot &) = delete;
        Snapshot &operator=(const Snapshot &) = delete;

    private:
        const IniFile &m_ini;
    };

private:
    QStringList linesOf(const QString &fileName) const;
    bool registered() const;
    std::optional<QString> lookup(const QString &fileName, const QString &key) const;

    QString m_section;
    QString m_fileName;
    QString m_fallbackFileName;
    // Filled while a Snapshot stands: the lines of the user's file and of the fallback.
    mutable std::optional<std::pair<QStringList, QStringList>> m_snapshot;
};
