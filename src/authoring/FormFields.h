#pragma once

#include <QString>

class QComboBox;
class QPlainTextEdit;

// What the composer and the reply form do alike with their fields.
namespace FormFields {

// Fills a combo with the numbered texts from the first, keeping the chosen index.
void FillList(QComboBox *combo, int firstText, int count, int defaultIndex = 0);
// Cuts a text field to what the store keeps. True when it had to.
bool Limit(QPlainTextEdit *field, int limit);

} // namespace FormFields
