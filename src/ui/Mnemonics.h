#pragma once

#include <QString>

class QWidget;

// Mnemonic letters for a window's labels (with a buddy), check boxes, radio
// buttons, push buttons and group boxes. The string table carries none, so a
// letter is chosen for each text at run time: a word's first letter where it
// can, never the same letter twice in one window, every '&' already in a text
// kept as a literal one. Push buttons choose first, then the controls in the
// order of the form; those hidden now come last.
namespace Mnemonics {

// Call after the window has set its texts, and again after a language switch.
void assign(QWidget *window);

} // namespace Mnemonics
