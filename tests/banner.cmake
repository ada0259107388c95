korvane_add_test(tst_displayqueue SOURCES tst_displayqueue.cpp LIBS ui)
