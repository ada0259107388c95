korvane_add_test(tst_scrolling SOURCES tst_scrolling.cpp LIBS banner_logic)
korvane_add_test(tst_dvxdisplay SOURCES tst_dvxdisplay.cpp LIBS ui)
