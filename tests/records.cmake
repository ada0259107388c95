korvane_add_test(tst_records SOURCES tst_records.cpp)
