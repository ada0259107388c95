korvane_add_test(tst_console SOURCES tst_console.cpp LIBS console_logic)
korvane_add_test(tst_consolelive SOURCES tst_consolelive.cpp LIBS ui)
