#include "authoring/FormFields.h"

#include "core/StringTable.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QSignalBlocker>

void FormFields::FillList(QComboBox *combo, int firstText, int count, int defaultIndex)
{
    const int chosen = combo->currentIndex();
    combo->clear();
    for (int i = 0; i < count; ++i)
        combo->addItem(ResString(firstText + i));
    combo->setCurrentIndex(chosen < 0 ? defaultIndex : chosen);
}

bool FormFields::Limit(QPlainTextEdit *field, int limit)
{
    const QString text = field->toPlainText();
    if (text.size() <= limit)
        return false;
    const QSignalBlocker blocker(field);
    field->setPlainText(text.left(limit));
    field->moveCursor(QTextCursor::End);
    return true;
}
