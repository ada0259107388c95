# The Debian package made from this tree: checked, unpacked and run against the development server.
add_test(NAME debian_package
         COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/package_test.sh ${PROJECT_BINARY_DIR}
                 $<TARGET_FILE:korvane-devserver> ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh)
set_tests_properties(debian_package PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 180 RUN_SERIAL TRUE)
