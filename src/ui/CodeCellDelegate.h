#pragma once

#include <QIcon>
#include <QList>
#include <QStyledItemDelegate>

// Shows a status or delivery code as an icon and its name, whatever the
// layout file held: the grid keeps the number for sorting and filtering.
class CodeCellDelegate final : public QStyledItemDelegate
{
public:
    enum Codes { Status, Delivery };
    CodeCellDelegate(Codes codes, QObject *parent);

    // The name of a code in the language in force; the number itself when unknown.
    static QString NameOf(Codes codes, int code);

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    Codes m_codes;
    QList<QIcon> m_icons;
};
