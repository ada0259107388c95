#pragma once

#include "console/ConsoleContext.h"
#include "console/GridLayout.h"
#include "ui/GridState.h"

#include <QHash>
#include <QObject>

class QAbstractItemView;
class QHeaderView;
class QPoint;

// A list's columns under its layout: the layout's file shown in the grid's header, the header kept in
// the person's file, the header's menu of layouts, sorts and shown columns, and an export of what the
// grid shows. The model names its columns by GridState::NameRole; the grid sorts by its header.
class GridColumns final : public QObject
{
public:
    GridColumns(QAbstractItemView *grid, QHeaderView *header, const ConsoleContext &context,
                const QString &prefix, QString traceName, QObject *parent);

    // The layout kept for the list, shown once its columns are known.
    void Load();
    // Keeps the layout's number, and the columns in the person's file when they changed; once.
    void Unload();
    GridState state() const;
    // The columns a file names, in its order; the others hide. No columns at all: the model's own.
    void apply(const GridState &state);
    void choose(GridLayout::Number number);
    void showMenu(const QPoint &at);
    // The shown columns, in their order, of the selected rows or else of all shown, to a file the person
    // names.
    void exportCsv() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int logicalOf(const QString &name) const;
    void loadColumns();
    void saveCustom() const;
    void arranged();

    QAbstractItemView *m_grid;
    QHeaderView *m_header;
    Frontend &m_frontend;
    QString m_userStoreFile;
    QString m_trace;
    GridLayout m_layout;
    // A hidden section tells no width: what it had when shown.
    QHash<int, int> m_hiddenWidths;
    bool m_applying = false;
    bool m_unloaded = false;
};
