#include "core/PropertyRows.h"

#include "core/StringTable.h"

QString PropertyHints::Caption(int id)
{
    const QString text = ResString(id);
    return text.left(text.indexOf(QLatin1Char('|')));
}

QString PropertyHints::Html(int id)
{
    const QString text = ResString(id);
    const qsizetype bar = text.indexOf(QLatin1Char('|'));
    if (bar < 0)
        return text.toHtmlEscaped();
    // The body may hold simple tags of its own, so only the caption is escaped.
    return QStringLiteral("<b>") + text.left(bar).toHtmlEscaped() + QStringLiteral("</b><br>") +
           text.mid(bar + 1);
}

const PropertyRow *PropertyHints::find(const QList<PropertyRow> &rows, const QString &key)
{
    for (const PropertyRow &row : rows)
        if (row.key == key)
            return &row;
    return nullptr;
}
