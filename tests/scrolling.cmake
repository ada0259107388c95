korvane_add_test(tst_scrolling SOURCES tst_scrolling.cpp LIBS ui)
korvane_add_test(tst_dvxdisplay SOURCES tst_dvxdisplay.cpp LIBS ui)
