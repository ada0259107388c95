#include "ui/DialogButtonSet.h"

#include "core/Frontend.h"

#include <array>

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
    // One result for each of the four buttons a box has.
    static constexpr std::array results{ResultOk, ResultCancel, ResultYes, ResultNo};
    return results.at(button);
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
