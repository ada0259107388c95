#pragma once

#include <QStyledItemDelegate>

class LevelCollection;

// Paints a list's level cell in the level's own colours and shadow; a level
// that is not in the collection is left to the grid's own drawing.
class LevelCellDelegate final : public QStyledItemDelegate
{
public:
    LevelCellDelegate(const LevelCollection &levels, QObject *parent);
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    const LevelCollection &m_levels;
};
