#include "ui/LevelCellDelegate.h"

#include "store/LevelCollection.h"
#include "ui/LevelSample.h"

#include <QPainter>

LevelCellDelegate::LevelCellDelegate(const LevelCollection &levels, QObject *parent)
    : QStyledItemDelegate(parent), m_levels(levels)
{
}

void LevelCellDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    const QString name = index.data().toString();
    const level *found = m_levels.find(name);
    if (!found) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    painter->save();
    painter->setFont(option.font);
    DrawLevelSample(*painter, option.rect, name, quint32(qint64(found->BackColor)),
                    quint32(qint64(found->ForeColor)), quint32(qint64(found->ShadowColor)),
                    found->DrawShadow);
    if (option.state & QStyle::State_Selected) {
        painter->setPen(option.palette.color(QPalette::Highlight));
        painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
    }
    painter->restore();
}
