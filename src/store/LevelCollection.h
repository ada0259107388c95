#pragma once

#include "store/level.h"

#include <QHash>
#include <QList>

// The levels of the store, in table order and by name.
class LevelCollection
{
public:
    void clear();
    void add(const level &row);
    const QList<level> &items() const { return m_items; }
    int count() const { return int(m_items.size()); }
    // Nullptr when there is no level of that name.
    const level *find(const QString &levelName) const;
    // False until the levels have been read once.
    bool loaded() const { return m_loaded; }
    void setLoaded(bool loaded) { m_loaded = loaded; }

private:
    QList<level> m_items;
    QHash<QString, qsizetype> m_index;
    bool m_loaded = false;
};

// The process-wide collection that GetLevels fills.
LevelCollection &gLevels();
