#pragma once

#include <QString>
#include <QStringList>

// The hints of the composers' controls: a title and a body that may hold
// simple HTML, shown in the hint pane when a control takes the focus or the
// mouse passes over it.
namespace FormHints {

// The controls that have a hint, in the order of their texts in the table.
const QStringList &Controls();
// The hint of a control (its time partner shares the date's) as rich text:
// the title in bold, then the body. Empty for a control without one.
QString Hint(const QString &controlName);
// The hint's title alone, as plain text: what a control without a caption is called.
QString Title(const QString &controlName);

} // namespace FormHints
