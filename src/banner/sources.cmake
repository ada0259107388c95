# The banner's logic: no widgets, compiled under the engine's rules.
set(BANNER_LOGIC_SOURCES
    banner/BannerPlacement.cpp banner/BannerPlacement.h
    banner/BannerView.h
    banner/DisplayMessage.h
    banner/ClientConfigForm.cpp banner/ClientConfigForm.h
    banner/DisplayQueue.cpp banner/DisplayQueue.h
    banner/LevelEditForm.cpp banner/LevelEditForm.h
    banner/ScrollArithmetic.cpp banner/ScrollArithmetic.h
    banner/SoundCodes.h
)
# The widgets above it.
list(APPEND UI_SOURCES
    banner/frmClientConfig.cpp banner/frmClientConfig.h banner/frmClientConfig.ui
    banner/frmBanner.cpp banner/frmBanner.h
    banner/Audio.cpp banner/Audio.h
    banner/SoundPlayer.cpp banner/SoundPlayer.h
    banner/SystemColor.cpp banner/SystemColor.h
    banner/LevelSample.cpp banner/LevelSample.h
    banner/frmLevelEdit.cpp banner/frmLevelEdit.h banner/frmLevelEdit.ui
    banner/dvxDisplay.cpp banner/dvxDisplay.h
    banner/StripWindow.cpp banner/StripWindow.h
)
