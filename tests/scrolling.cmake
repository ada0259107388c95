korvane_add_test(tst_scrolling SOURCES tst_scrolling.cpp LIBS banner_logic)
korvane_add_test(tst_dvxdisplay SOURCES tst_dvxdisplay.cpp LIBS desktop desktop_session)
# What the strip holds on the X server is counted by the server's resource extension.
pkg_check_modules(XCB_RES REQUIRED IMPORTED_TARGET xcb-res)
target_link_libraries(tst_dvxdisplay PRIVATE PkgConfig::XCB_RES)
# The strip at twice the density, and drawn by an X server at both densities.
add_test(NAME tst_dvxdisplay_scale2 COMMAND tst_dvxdisplay stripIsThePictureDevicePixelForDevicePixel)
set_tests_properties(tst_dvxdisplay_scale2 PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=2"
                     TIMEOUT 120)
foreach(scale 1 2)
    add_test(NAME tst_dvxdisplay_xserver_scale${scale}
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh $<TARGET_FILE:tst_dvxdisplay> stripOnTheXServer
                     stripLeavesNothingBehind)
    set_tests_properties(tst_dvxdisplay_xserver_scale${scale} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=xcb;QT_SCALE_FACTOR=${scale}" SKIP_RETURN_CODE 77 TIMEOUT 120 RUN_SERIAL TRUE)
endforeach()
