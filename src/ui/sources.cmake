list(APPEND UI_SOURCES
    ui/DesktopFrontend.cpp ui/DesktopFrontend.h
    ui/DesktopNotifier.cpp ui/DesktopNotifier.h
    ui/AccessibleTexts.h
    ui/ContextMenuKey.cpp ui/ContextMenuKey.h
    ui/DialogButtonSet.cpp ui/DialogButtonSet.h
    ui/InputBox.cpp ui/InputBox.h
    ui/MessageBox.cpp ui/MessageBox.h
    ui/Mnemonics.cpp ui/Mnemonics.h
    ui/PropertyInspector.cpp ui/PropertyInspector.h
    ui/ScreenFit.cpp ui/ScreenFit.h
    ui/TrayIcon.cpp ui/TrayIcon.h
    ui/frmAbout.cpp ui/frmAbout.h ui/frmAbout.ui
    ui/frmDialog.cpp ui/frmDialog.h
    ui/frmLog.cpp ui/frmLog.h
)
