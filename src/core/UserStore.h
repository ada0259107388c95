#pragma once

#include <QString>

// The per-user store: values kept for this user rather than for the machine,
// in $XDG_CONFIG_HOME/Korvane/Client.conf, groups "Options" and "Setup".
class UserStore
{
public:
    static constexpr int BufferLength = 255;

    explicit UserStore(const QString &fileName) : m_fileName(fileName) {}

    // The default when the value is missing or empty; at most 255 characters,
    // cut at the first Chr(0).
    QString read(const QString &group, const QString &name, const QString &defaultValue) const;
    // True when the value was stored.
    bool write(const QString &group, const QString &name, const QString &value) const;

    const QString &fileName() const { return m_fileName; }

private:
    QString m_fileName;
};
