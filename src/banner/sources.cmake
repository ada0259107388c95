list(APPEND UI_SOURCES
    banner/BannerView.h
    banner/DisplayMessage.h
    banner/DisplayQueue.cpp banner/DisplayQueue.h
    banner/frmBanner.cpp banner/frmBanner.h
    banner/Audio.cpp banner/Audio.h
    banner/SoundCodes.h
    banner/SoundPlayer.cpp banner/SoundPlayer.h
    banner/ScrollArithmetic.cpp banner/ScrollArithmetic.h
    banner/SystemColor.cpp banner/SystemColor.h
    banner/LevelSample.cpp banner/LevelSample.h
    banner/dvxDisplay.cpp banner/dvxDisplay.h
)
