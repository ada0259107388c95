korvane_add_test(tst_framecodec SOURCES tst_framecodec.cpp)
korvane_add_test(tst_link SOURCES tst_link.cpp)
korvane_add_test(tst_reconnect SOURCES tst_reconnect.cpp)
korvane_add_test(tst_wakeups SOURCES tst_wakeups.cpp)
korvane_add_test(tst_udprelay SOURCES tst_udprelay.cpp)
# The kernel's route events in a network namespace of the test's own; skipped (77) without root.
korvane_add_test(tst_routewatch SOURCES tst_routewatch.cpp)
set_tests_properties(tst_routewatch PROPERTIES SKIP_RETURN_CODE 77)
