#pragma once

#include <QList>
#include <QString>

// What a row of a property inspector is, so that a form's logic can describe
// its rows without seeing the widget.
enum class PropertyKind {
    Section,       // a caption over the rows below it, no value
    SectionButton, // a section that shows a value and has an ellipsis button
    Text,
    TextButton, // text with an ellipsis button
    Spin,
    Check,
    List, // a choice among texts, its value the index
};

struct PropertyRow
{
    QString key;
    PropertyKind kind = PropertyKind::Text;
    // The key of the section the row stands in; empty at the top.
    QString parent = {};
    // The resource "Caption|body" that names the row and gives its hint.
    int hint = 0;
    int minimum = 0;
    int maximum = 0;
    bool readOnly = false;
};

namespace PropertyHints {

// The caption part of a hint resource, in the present language.
QString Caption(int id);
// The hint as rich text: the caption in bold, then the body.
QString Html(int id);
// The row of that key, or nullptr.
const PropertyRow *find(const QList<PropertyRow> &rows, const QString &key);

} // namespace PropertyHints
