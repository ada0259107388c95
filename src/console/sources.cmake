# The logic of the console: no widgets, compiled under the engine's rules.
set(CONSOLE_LOGIC_SOURCES
    console/AdminsEditForm.cpp console/AdminsEditForm.h
    console/PoliciesForm.cpp console/PoliciesForm.h
    console/ConsoleFrame.cpp console/ConsoleFrame.h
    console/CodeNames.cpp console/CodeNames.h
    console/CsvExport.cpp console/CsvExport.h
    console/DirectoryList.cpp console/DirectoryList.h
    console/DirectoryModel.cpp console/DirectoryModel.h
    console/GridLayout.cpp console/GridLayout.h
    console/ListRecord.cpp console/ListRecord.h
    console/MessageList.cpp console/MessageList.h
    console/RecordModel.cpp console/RecordModel.h
    console/ServerConfigForm.cpp console/ServerConfigForm.h
    console/TemplateList.cpp console/TemplateList.h
    console/GridState.cpp console/GridState.h
    console/GroupedRecords.cpp console/GroupedRecords.h
)
# The widgets above it.
list(APPEND UI_SOURCES
    console/CodeCellDelegate.cpp console/CodeCellDelegate.h
    console/ConsoleContext.h
    console/LevelCellDelegate.cpp console/LevelCellDelegate.h
    console/GridColumns.cpp console/GridColumns.h
    console/frmAdmin.cpp console/frmAdmin.h console/frmAdmin.ui
    console/frmAdminsEdit.cpp console/frmAdminsEdit.h console/frmAdminsEdit.ui
    console/frmConfigServer.cpp console/frmConfigServer.h console/frmConfigServer.ui
    console/frmPolicies.cpp console/frmPolicies.h console/frmPolicies.ui
    console/frmDirectory.cpp console/frmDirectory.h console/frmDirectory.ui
    console/frmList.cpp console/frmList.h console/frmList.ui
)
