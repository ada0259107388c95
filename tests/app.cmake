korvane_add_test(tst_clientprocess SOURCES tst_clientprocess.cpp)
target_compile_definitions(tst_clientprocess PRIVATE KORVANE_CLIENT_BINARY="$<TARGET_FILE:korvane-client>")
add_dependencies(tst_clientprocess korvane-client)
