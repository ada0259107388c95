# The Debian package made from this tree: checked, unpacked and run against the development server.
add_test(NAME debian_package
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/package_test.sh ${PROJECT_BINARY_DIR}
                 $<TARGET_FILE:korvane-devserver> ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh)
set_tests_properties(debian_package PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 180 RUN_SERIAL TRUE)
# The user unit restarting a crashed client; skipped (77) without a systemd user session.
add_test(NAME supervision COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/supervision_test.sh $<TARGET_FILE:korvane-client>
                                  ${PROJECT_SOURCE_DIR})
set_tests_properties(supervision PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 60)
