#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// The columns of a grid as its layout file keeps them: order, widths, which
// show, the group-by columns and the sort. The file is a few lines of text
// behind a version line, so that a later version can add lines an older one
// passes over:
//
//   korvane-grid 1
//   column colSubject 220 1
//   group colLevel
//   sort colCreationDate desc
struct GridState
{
    struct Column
    {
        QString name;
        int width = 100;
        bool visible = true;
    };

    QList<Column> columns;
    QStringList groupBy;
    QString sortColumn;
    bool descending = false;

    // False, with the reason, for a file that is not a layout or is damaged:
    // the caller logs it and falls back on the fixed layout.
    static bool Read(const QByteArray &file, GridState &state, QString *error = nullptr);
    QByteArray Write() const;

    // The header role by which a grid's model names its columns as the files do.
    static constexpr int NameRole = Qt::UserRole + 20;

    // Larger files are not layouts.
    static constexpr qsizetype MaxFileSize = 64 * 1024;
    static constexpr int MaxWidth = 10000;
};
