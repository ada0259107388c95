#include "ui/LevelDelegate.h"

#include "ui/LevelSample.h"

#include <QPainter>

void LevelDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    const QVariantList colors = index.siblingAtColumn(0).data(ColorRole).toList();
    if (index.column() != 0 || colors.size() != 4) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    painter->save();
    painter->setFont(option.font);
    DrawLevelSample(*painter, option.rect.adjusted(1, 1, -1, -1), index.data().toString(), colors[0].toUInt(),
                    colors[1].toUInt(), colors[2].toUInt(), colors[3].toBool());
    // The chosen row keeps its colours; a frame shows which one it is.
    if (option.state & QStyle::State_Selected) {
        painter->setPen(option.palette.color(QPalette::Highlight));
        painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
    }
    painter->restore();
}
