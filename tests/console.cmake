korvane_add_test(tst_console SOURCES tst_console.cpp LIBS console_logic)
korvane_add_test(tst_consolewindow SOURCES tst_consolewindow.cpp LIBS ui)
korvane_add_test(tst_directorylayouts SOURCES tst_directorylayouts.cpp LIBS ui)
