#include "authoring/Selection.h"

#include "authoring/frmSelection.h"
#include "store/DBFunctions.h"
#include "store/Database.h"

namespace {

QString gLayoutsBase;

} // namespace

void Selection::SetLayoutsBase(const QString &folder)
{
    gLayoutsBase = folder;
}

QString Selection::LayoutsBase()
{
    return gLayoutsBase;
}

QString Selection::GetSelection(int kind, const QString &target, QWidget *parent)
{
    frmSelection form(parent);
    form.Initialize(kind, SelectionList::LoadRows(kind, ClientDB(), TempDB()), target);
    form.exec();
    return form.Result();
}
