# Every window on a screen of 1024 by 600: offscreen, a screen of that size described here;
# on a real X server with a window manager, the frames are the desktop's own.
korvane_add_test(tst_screenfit SOURCES tst_screenfit.cpp LIBS desktop)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/small-screen.json
     [[{"screens": [{"name": "small", "x": 0, "y": 0, "width": 1024, "height": 600, "logicalDpi": 96, "dpr": 1}]}]])
set_tests_properties(tst_screenfit PROPERTIES ENVIRONMENT
                     "QT_QPA_PLATFORM=offscreen:configfile=${CMAKE_CURRENT_BINARY_DIR}/small-screen.json")
add_test(NAME tst_screenfit_desktop COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh $<TARGET_FILE:tst_screenfit>)
set_tests_properties(tst_screenfit_desktop PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 120
                     ENVIRONMENT "KORVANE_SCREEN=1024x600;QT_QPA_PLATFORM=xcb;KORVANE_TEST_DATA=${CMAKE_CURRENT_SOURCE_DIR}/data")
