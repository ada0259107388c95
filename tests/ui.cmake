korvane_add_test(tst_dialogs SOURCES tst_dialogs.cpp LIBS ui)
