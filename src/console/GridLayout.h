#pragma once

#include "ui/GridState.h"

#include <QString>
#include <QStringList>

// One console list's column layout: which file its columns come from, whether
// the person's changes wait to be saved, and what the layout menu offers. The
// grid widget loads and saves the files; this decides which and when.
class GridLayout
{
public:
    // The layout numbers as the settings keep them.
    enum Number { Full = 0, Simple = 1, Custom = 2 };

    // The list's prefix ("Inbox", "Ptemplates"...); lists with a single fixed
    // file have no simple layout of their own.
    GridLayout(const QString &prefix, const QString &programDir, const QString &dataDir);

    const QString &prefix() const { return m_prefix; }
    // The settings key of the layout number, "InboxLayout" and the like.
    QString LayoutKey() const;
    QString MaxFile() const;
    QString MinFile() const;
    QString CustomFile() const;

    // The stored number, read at the form's load; anything else counts as Full.
    void Load(const QString &storedNumber);
    QString StoredNumber() const { return QString::number(m_number); }
    int number() const { return m_number; }

    // True at the first activation only: the columns are loaded then.
    bool Activate();
    // The file LoadLayout loads now, in its order: Simple the Min file, Custom
    // the person's file when it exists, else (and for anything else) the Max
    // file. A fixed file clears the dirty flag; the person's keeps it.
    QString LoadLayout();

    // The columns of LoadLayout's file. A person's file that cannot be read gives way to the Max
    // file, and that to no columns at all (the grid's design); each failure as "file: reason".
    GridState Read(QStringList *failures = nullptr);
    // The columns kept in the person's file, written whole.
    bool SaveCustom(const GridState &state, QString *error = nullptr) const;

    // The person moved, sized or grouped a column.
    void ColumnsChanged() { m_dirty = true; }
    bool dirty() const { return m_dirty; }

    // What choosing a layout in the menu asks of the grid, in this order.
    struct Change
    {
        bool saveCustom = false;  // keep the changed columns in the person's file first
        bool reload = false;      // then LoadLayout
        bool openChooser = false; // then the column chooser
    };
    Change Choose(Number layout);

    struct Menu
    {
        bool resetVisible = false; // "Clear Group Columns" and the separator before it
        bool fullEnabled = true;
        bool simpleEnabled = true;
    };
    Menu LayoutMenu(int groupColumns) const;

    // At the form's end the changed columns are kept in the person's file.
    bool SaveOnUnload() const { return m_dirty; }

private:
    QString m_prefix;
    QString m_programDir;
    QString m_dataDir;
    int m_number = Full;
    bool m_dirty = false;
    bool m_activated = false;
};
