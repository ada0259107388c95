#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

// A fresh home for one test: XDG config, data and runtime folders in a
// temporary directory, and the process-wide objects dropped. Everything is
// put back when it goes.
class TempProfile
{
public:
    TempProfile();
    ~TempProfile();
    TempProfile(const TempProfile &) = delete;
    TempProfile &operator=(const TempProfile &) = delete;

    QString path() const { return m_dir.path(); }
    QString configHome() const { return m_dir.filePath(QStringLiteral("config")); }
    QString dataHome() const { return m_dir.filePath(QStringLiteral("data")); }
    QString runtimeDir() const { return m_dir.filePath(QStringLiteral("runtime")); }
    QString systemConfigDir() const { return m_dir.filePath(QStringLiteral("etc-xdg")); }

    // Writes a file below the profile, making its folders.
    void writeFile(const QString &relativePath, const QByteArray &content) const;
    QByteArray readFile(const QString &relativePath) const;

private:
    QTemporaryDir m_dir;
    QByteArray m_saved[4];
};
