#include "core/Log.h"

#include "core/Clock.h"
#include "core/Failure.h"
#include "core/Globals.h"
#include "core/Options.h"
#include "core/StringTable.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QRegularExpression>

namespace {

void appendLine(const QString &line)
{
    QFile file(LogFile::path());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return;
    file.write((line + QLatin1Char('\n')).toUtf8());
}

QString timeFormatWithoutZone()
{
    // Our times carry no zone, so a zone in the locale's long format would lie.
    static const QString format = [] {
        QString f = QLocale::system().timeFormat(QLocale::LongFormat);
        f.remove(QRegularExpression(QStringLiteral("\\s*\\bt+\\b\\s*")));
        return f.trimmed();
    }();
    return format;
}

} // namespace

QString LogFile::path()
{
    return QDir(gProcess().AppDataPath).filePath(QStringLiteral("client.log"));
}

void LogFile::renew()
{
    QFile::remove(path());
}

QString LogFile::stamp()
{
    const QDateTime now = Clock::now();
    return QLocale::system().toString(now.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
           QLocale::system().toString(now.time(), timeFormatWithoutZone());
}

void WriteLog(const QString &text)
{
    QString line = LogFile::stamp() + QStringLiteral(" -- ") + text;
    const Failure &pending = PendingError::current();
    if (pending.isSet())
        line +=
            ResString(200) + QString::number(pending.number) + QStringLiteral(" = ") + pending.description;
    appendLine(line);
}

void TraceLog(const QString &text)
{
    if (gOptions().Trace)
        appendLine(text);
}

void LogFailure(const QString &procedure, const Failure &failure)
{
    PendingError::set(failure);
    WriteLog(procedure + QStringLiteral(" - ") + failure.description);
    PendingError::clear();
}
