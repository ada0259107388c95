# The desktop notifier, against a service of the test's own on a private session bus.
qt_add_executable(tst_notifier tst_notifier.cpp)
target_link_libraries(tst_notifier PRIVATE ui Qt6::DBus Qt6::Test)
add_test(NAME tst_notifier COMMAND dbus-run-session -- $<TARGET_FILE:tst_notifier>)
set_tests_properties(tst_notifier PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen" TIMEOUT 60)
