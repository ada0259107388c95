#pragma once

#include <QString>

// The client's one log, client.log in the data folder, renewed at each start.
// Both writers open, append and close at every call and ignore their own
// failures: a locked file loses the line and nothing else.
void WriteLog(const QString &text);
// Written only while the trace switch of the settings is on; no time stamp.
void TraceLog(const QString &text);

struct Failure;
// The trap of a procedure: "Form:Procedure - " and the failure's text, with the
// failure pending while the line is written, as every trap has always logged it.
void LogFailure(const QString &procedure, const Failure &failure);

namespace LogFile {
// client.log in the data folder.
QString path();
// Deletes the log of the previous run.
void renew();
// The time stamp of a WriteLog line: the locale's short date and long time.
QString stamp();
} // namespace LogFile
