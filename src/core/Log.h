#pragma once

#include <QString>

// The client's one log, client.log in the data folder, renewed at each start.
// Both writers open, append and close at every call and ignore their own
// failures: a locked file loses the line and nothing else.
void WriteLog(const QString &text);
// Written only while the trace switch of the settings is on; no time stamp.
void TraceLog(const QString &text);

namespace LogFile {
// client.log in the data folder.
QString path();
// Deletes the log of the previous run.
void renew();
// The time stamp of a WriteLog line: the locale's short date and long time.
QString stamp();
} // namespace LogFile
