#include "ui/CodeCellDelegate.h"

#include "ui/CodeNames.h"

#include <QApplication>
#include <QStyle>

CodeCellDelegate::CodeCellDelegate(Codes codes, QObject *parent) : QStyledItemDelegate(parent), m_codes(codes)
{
    static const QStyle::StandardPixmap statusIcons[] = {
        QStyle::SP_DialogCancelButton, QStyle::SP_DialogApplyButton, QStyle::SP_MessageBoxWarning,
        QStyle::SP_TrashIcon, QStyle::SP_DialogYesButton};
    static const QStyle::StandardPixmap deliveryIcons[] = {QStyle::SP_MediaPlay, QStyle::SP_ComputerIcon,
                                                           QStyle::SP_DialogOkButton,
                                                           QStyle::SP_FileDialogDetailedView};
    // Made once: a style's icon is a file decoded anew at each call, and a grid paints dozens a frame.
    if (codes == Status)
        for (QStyle::StandardPixmap icon : statusIcons)
            m_icons << QApplication::style()->standardIcon(icon);
    else
        for (QStyle::StandardPixmap icon : deliveryIcons)
            m_icons << QApplication::style()->standardIcon(icon);
}

QString CodeCellDelegate::NameOf(Codes codes, int code)
{
    return codes == Status ? CodeNames::Status(code) : CodeNames::Delivery(code);
}

void CodeCellDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // A group's heading has no code to name.
    if (!index.data().isValid())
        return;
    const int code = index.data().toInt();
    option->text = NameOf(m_codes, code);
    if (code < 0 || code >= m_icons.size())
        return;
    option->features |= QStyleOptionViewItem::HasDecoration;
    option->icon = m_icons.at(code);
}
