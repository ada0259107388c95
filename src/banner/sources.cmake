# The banner's logic: its queue, placement and scrolling arithmetic.
set(BANNER_LOGIC_SOURCES
    banner/BannerPlacement.cpp banner/BannerPlacement.h
    banner/BannerView.h
    banner/DisplayMessage.h
    banner/DisplayQueue.cpp banner/DisplayQueue.h
    banner/ScrollArithmetic.cpp banner/ScrollArithmetic.h
)
# The window, the strip the X server draws, the sound.
set(BANNER_SOURCES
    banner/Audio.cpp banner/Audio.h
    banner/StripWindow.cpp banner/StripWindow.h
    banner/dvxDisplay.cpp banner/dvxDisplay.h
    banner/frmBanner.cpp banner/frmBanner.h
)
