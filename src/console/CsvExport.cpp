#include "console/CsvExport.h"

namespace {

QString field(QString text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) &&
        !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')))
        return text;
    text.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString line(const QStringList &fields)
{
    QStringList quoted;
    for (const QString &text : fields)
        quoted << field(text);
    return quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

} // namespace

QByteArray CsvExport::Write(const QStringList &header, const QList<QStringList> &rows)
{
    QString text = line(header);
    for (const QStringList &row : rows)
        text += line(row);
    return QByteArray("\xEF\xBB\xBF") + text.toUtf8();
}
