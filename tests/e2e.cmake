# Desktop tests: run inside a throwaway X server, sound server and session bus.
qt_add_executable(fake_notifyd e2e/fake_notifyd.cpp)
target_link_libraries(fake_notifyd PRIVATE korvane_compile_rules Qt6::Core Qt6::DBus)

# Finding, measuring and clicking the banner, shared by the desktop tests.
add_library(desktop_session STATIC e2e/DesktopSession.cpp e2e/DesktopSession.h)
target_include_directories(desktop_session PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(desktop_session PUBLIC korvane_compile_rules Qt6::Core Qt6::Gui)
target_compile_definitions(desktop_session PRIVATE KORVANE_ARTIFACTS="${CMAKE_CURRENT_BINARY_DIR}/artifacts")

foreach(name tst_e2e_banner tst_e2e_users tst_e2e_console)
    qt_add_executable(${name} ${name}.cpp)
    target_link_libraries(${name} PRIVATE korvane_support desktop_session Qt6::Test Qt6::Gui)
    target_compile_definitions(${name} PRIVATE
        KORVANE_CLIENT_BINARY="$<TARGET_FILE:korvane-client>"
        KORVANE_DEVSERVER="$<TARGET_FILE:korvane-devserver>"
        KORVANE_RELAYD="$<TARGET_FILE:korvane-relayd>"
        KORVANE_FAKE_NOTIFYD="$<TARGET_FILE:fake_notifyd>"
        KORVANE_USER_CLIENT="${CMAKE_CURRENT_SOURCE_DIR}/e2e/user_client.sh"
        KORVANE_MEDIA_DIR="$<TARGET_PROPERTY:gensounds_media,MEDIA_DIR>")
    add_dependencies(${name} korvane-client korvane-devserver korvane-relayd fake_notifyd)
    add_test(NAME ${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh $<TARGET_FILE:${name}>)
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300 RUN_SERIAL TRUE)
endforeach()
