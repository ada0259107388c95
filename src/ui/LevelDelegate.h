#pragma once

#include <QStyledItemDelegate>

// Paints a level's name in the level's own colours and shadow, so that the
// author picks a level by its look. A row without colours is drawn plainly.
class LevelDelegate final : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    // The colours of a row: back, fore, shadow and the shadow flag.
    static constexpr int ColorRole = Qt::UserRole + 1;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};
