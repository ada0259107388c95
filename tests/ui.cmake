korvane_add_test(tst_dialogs SOURCES tst_dialogs.cpp LIBS desktop)
korvane_add_test(tst_accessibility SOURCES tst_accessibility.cpp LIBS desktop)
add_test(NAME tst_accessibility_scale2 COMMAND tst_accessibility formsWalkedByKeyboard)
set_tests_properties(tst_accessibility_scale2 PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=2"
                     TIMEOUT 120)
