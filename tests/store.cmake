korvane_add_test(tst_dvmessage SOURCES tst_dvmessage.cpp)
korvane_add_test(tst_datetext SOURCES tst_datetext.cpp)
korvane_add_test(tst_store SOURCES tst_store.cpp)
