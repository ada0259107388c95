#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

// Rows as comma-separated text for a spreadsheet: a header line, then one line
// per row; a field with a comma, a quote or a line break is quoted, its quotes
// doubled. UTF-8 with a byte-order mark, so that spreadsheets read accents.
namespace CsvExport {
QByteArray Write(const QStringList &header, const QList<QStringList> &rows);
}
