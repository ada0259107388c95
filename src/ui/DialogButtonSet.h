#pragma once

#include <QList>

// Which of the dialog's four buttons a button set shows, in their order on
// screen, and what closing the window without a button gives.
namespace DialogButtonSet {

enum Button { ButtonOk = 0, ButtonCancel = 1, ButtonYes = 2, ButtonNo = 3 };

QList<int> buttonsOf(int set);
int resultOf(int button);
// Escape or the window's close: the safest answer the set offers.
int escapeResult(int set);

} // namespace DialogButtonSet
