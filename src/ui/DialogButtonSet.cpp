#include "ui/DialogButtonSet.h"

#include "core/Frontend.h"

QList<int> DialogButtonSet::buttonsOf(int set)
{
    switch (set) {
    case ButtonsOkCancel:
        return {ButtonOk, ButtonCancel};
    case ButtonsYesNo:
        return {ButtonYes, ButtonNo};
    case ButtonsCancelYesNo:
        return {ButtonCancel, ButtonYes, ButtonNo};
    default:
        return {ButtonOk};
    }
}

int DialogButtonSet::resultOf(int button)
{
    static const int results[] = {ResultOk, ResultCancel, ResultYes, ResultNo};
    return button >= 0 && button < 4 ? results[button] : ResultCancel;
}

int DialogButtonSet::escapeResult(int set)
{
    const QList<int> buttons = buttonsOf(set);
    if (buttons.contains(ButtonCancel))
        return ResultCancel;
    if (buttons.contains(ButtonNo))
        return ResultNo;
    return ResultOk;
}
