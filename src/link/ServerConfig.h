#pragma once

#include <QString>

// The server's own settings, as the configuration form edits them.
class ServerConfig
{
public:
    qint32 ClientPort = 58502;
    qint32 UDPPort = 58502;
    // Shared folder that clients take their updates from.
    QString ClientUpgradeLocation;
    bool Trace = false;
    bool GenEnabled = false;
    qint32 GenPort = 3101;

    void ResetDefaultValues();
    // Always starts from the defaults; a text under four characters gives just them.
    void ToObject(const QString &text);
    QString ToString() const;
};
