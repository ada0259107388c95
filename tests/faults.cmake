korvane_add_test(tst_faults SOURCES tst_faults.cpp)
target_compile_definitions(tst_faults PRIVATE KORVANE_CLIENT_BINARY="$<TARGET_FILE:korvane-client>"
    KORVANE_DEVSERVER="$<TARGET_FILE:korvane-devserver>")
add_dependencies(tst_faults korvane-client korvane-devserver)
set_tests_properties(tst_faults PROPERTIES TIMEOUT 600)
