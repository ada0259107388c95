korvane_add_test(tst_dialogs SOURCES tst_dialogs.cpp LIBS ui)
korvane_add_test(tst_accessibility SOURCES tst_accessibility.cpp LIBS ui)
