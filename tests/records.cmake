korvane_add_test(tst_policies SOURCES tst_policies.cpp)
korvane_add_test(tst_commands SOURCES tst_commands.cpp)
