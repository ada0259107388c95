#pragma once

#include <QString>

class QWidget;

// Shows the selection dialog of a kind over a target, modally, and gives the
// target back as the person left it.
namespace Selection {
QString GetSelection(int kind, const QString &target, QWidget *parent = nullptr);
// The folder that holds the fixed "Layouts" of the dialog's grids.
void SetLayoutsBase(const QString &folder);
QString LayoutsBase();
} // namespace Selection
