#include "console/CodeCellDelegate.h"

#include "core/StringTable.h"

#include <QApplication>
#include <QStyle>

CodeCellDelegate::CodeCellDelegate(Codes codes, QObject *parent) : QStyledItemDelegate(parent), m_codes(codes)
{
}

QString CodeCellDelegate::NameOf(Codes codes, int code)
{
    // Statuses 0 to 4 and deliveries 0 to 3 have names; 5 is a word of the wire only.
    if (codes == Status && code >= 0 && code <= 4)
        return ResString(1245 + code);
    if (codes == Delivery && code >= 0 && code <= 3)
        return ResString(1030 + code);
    return QString::number(code);
}

void CodeCellDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const int code = index.data().toInt();
    option->text = NameOf(m_codes, code);
    static const QStyle::StandardPixmap statusIcons[] = {
        QStyle::SP_DialogCancelButton, QStyle::SP_DialogApplyButton, QStyle::SP_MessageBoxWarning,
        QStyle::SP_TrashIcon, QStyle::SP_DialogYesButton};
    static const QStyle::StandardPixmap deliveryIcons[] = {QStyle::SP_MediaPlay, QStyle::SP_ComputerIcon,
                                                           QStyle::SP_DialogOkButton,
                                                           QStyle::SP_FileDialogDetailedView};
    const int count = m_codes == Status ? 5 : 4;
    if (code < 0 || code >= count)
        return;
    option->features |= QStyleOptionViewItem::HasDecoration;
    option->icon =
        QApplication::style()->standardIcon(m_codes == Status ? statusIcons[code] : deliveryIcons[code]);
}
