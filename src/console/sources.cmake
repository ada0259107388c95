# The console's logic: its lists, directories, grid layouts and export.
set(CONSOLE_LOGIC_SOURCES
    console/ConsoleFrame.cpp console/ConsoleFrame.h
    console/CsvExport.cpp console/CsvExport.h
    console/DirectoryList.cpp console/DirectoryList.h
    console/DirectoryModel.cpp console/DirectoryModel.h
    console/GridLayout.cpp console/GridLayout.h
    console/GroupedRecords.cpp console/GroupedRecords.h
    console/ListRecord.cpp console/ListRecord.h
    console/MessageList.cpp console/MessageList.h
    console/RecordModel.cpp console/RecordModel.h
    console/TemplateList.cpp console/TemplateList.h
)
# Its windows.
set(CONSOLE_SOURCES
    console/ConsoleContext.h
    console/GridColumns.cpp console/GridColumns.h
    console/frmAdmin.cpp console/frmAdmin.h console/frmAdmin.ui
    console/frmDirectory.cpp console/frmDirectory.h console/frmDirectory.ui
    console/frmList.cpp console/frmList.h console/frmList.ui
)
