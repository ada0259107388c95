# The development server, in process and as the binary with its command line.
korvane_add_test(tst_devserver SOURCES tst_devserver.cpp LIBS devserver)
target_compile_definitions(tst_devserver PRIVATE KORVANE_DEVSERVER_BINARY="$<TARGET_FILE:korvane-devserver>")
add_dependencies(tst_devserver korvane-devserver)
