#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

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

private:
    bool registered() const;
    std::optional<QString> lookup(const QString &fileName, const QString &key) const;

    QString m_section;
    QString m_fileName;
    QString m_fallbackFileName;
};
