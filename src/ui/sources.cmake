# The forms kit's logic: no widgets, compiled under the engine's rules.
set(UI_LOGIC_SOURCES
    ui/BannerText.cpp ui/BannerText.h
    ui/CodeNames.cpp ui/CodeNames.h
    ui/GridState.cpp ui/GridState.h
    ui/SoundCodes.h
)
# The pieces every form may use: dialogs and boxes, hints, the property list,
# mnemonics, the level sample and its delegates, the tray and the notifier.
set(UI_SOURCES
    ui/AccessibleTexts.h
    ui/CodeCellDelegate.cpp ui/CodeCellDelegate.h
    ui/ContextMenuKey.cpp ui/ContextMenuKey.h
    ui/DesktopNotifier.cpp ui/DesktopNotifier.h
    ui/DialogButtonSet.cpp ui/DialogButtonSet.h
    ui/HintPane.cpp ui/HintPane.h
    ui/InputBox.cpp ui/InputBox.h
    ui/LevelCellDelegate.cpp ui/LevelCellDelegate.h
    ui/LevelDelegate.cpp ui/LevelDelegate.h
    ui/LevelSample.cpp ui/LevelSample.h
    ui/MessageBox.cpp ui/MessageBox.h
    ui/Mnemonics.cpp ui/Mnemonics.h
    ui/PropertyInspector.cpp ui/PropertyInspector.h
    ui/ScreenFit.cpp ui/ScreenFit.h
    ui/SoundPlayer.cpp ui/SoundPlayer.h
    ui/SystemColor.cpp ui/SystemColor.h
    ui/TrayIcon.cpp ui/TrayIcon.h
    ui/frmAbout.cpp ui/frmAbout.h ui/frmAbout.ui
    ui/frmDialog.cpp ui/frmDialog.h
    ui/frmLog.cpp ui/frmLog.h
)
