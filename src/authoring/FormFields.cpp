#include "authoring/FormFields.h"

#include "core/StringTable.h"

#include <QComboBox>

void FormFields::FillList(QComboBox *combo, int firstText, int count, int defaultIndex)
{
    const int chosen = combo->currentIndex();
    combo->clear();
    for (int i = 0; i < count; ++i)
        combo->addItem(ResString(firstText + i));
    combo->setCurrentIndex(chosen < 0 ? defaultIndex : chosen);
}
