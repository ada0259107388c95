korvane_add_test(tst_framecodec SOURCES tst_framecodec.cpp)
korvane_add_test(tst_link SOURCES tst_link.cpp)
korvane_add_test(tst_reconnect SOURCES tst_reconnect.cpp)
