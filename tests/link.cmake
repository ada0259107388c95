korvane_add_test(tst_framecodec SOURCES tst_framecodec.cpp)
korvane_add_test(tst_link SOURCES tst_link.cpp)
korvane_add_test(tst_reconnect SOURCES tst_reconnect.cpp)
korvane_add_test(tst_wakeups SKIPS_SHOW SOURCES tst_wakeups.cpp)
korvane_add_test(tst_udprelay SOURCES tst_udprelay.cpp)
# The kernel's route events in a network namespace of the test's own; skipped (77) without root.
korvane_add_test(tst_routewatch SOURCES tst_routewatch.cpp)
set_tests_properties(tst_routewatch PROPERTIES SKIP_RETURN_CODE 77)
# The relay service and an intruder run as another user; skipped (77) without root.
qt_add_executable(relay_intruder relay_intruder.cpp)
target_link_libraries(relay_intruder PRIVATE Qt6::Core Qt6::Network)
korvane_add_test(tst_relayservice SOURCES tst_relayservice.cpp)
add_dependencies(tst_relayservice relay_intruder korvane-relayd)
set_tests_properties(tst_relayservice PROPERTIES SKIP_RETURN_CODE 77)
