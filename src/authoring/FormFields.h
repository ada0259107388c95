#pragma once

#include <QString>

class QComboBox;

// What the composer and the reply form do alike with their fields.
namespace FormFields {

// Fills a combo with the numbered texts from the first, keeping the chosen index.
void FillList(QComboBox *combo, int firstText, int count, int defaultIndex = 0);

} // namespace FormFields
