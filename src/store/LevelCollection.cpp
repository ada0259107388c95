#include "store/LevelCollection.h"

void LevelCollection::clear()
{
    m_items.clear();
    m_index.clear();
}

void LevelCollection::add(const level &row)
{
    m_index.insert(row.LevelName, m_items.size());
    m_items.append(row);
}

const level *LevelCollection::find(const QString &levelName) const
{
    const auto at = m_index.constFind(levelName);
    return at == m_index.constEnd() ? nullptr : &m_items[*at];
}

LevelCollection &gLevels()
{
    static LevelCollection levels;
    return levels;
}
