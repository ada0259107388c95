#pragma once

#include <QString>

// A boolean as the server writes it in lists and receipts: "True" (any case),
// "-1" or "1" are true, anything else false.
inline bool IsTrueText(const QString &text)
{
    const QString t = text.trimmed();
    return t.compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0 || t == QLatin1String("-1") ||
           t == QLatin1String("1");
}
