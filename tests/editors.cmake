# The editors: levels, display options, policies and the server configuration.
korvane_add_test(tst_policies SOURCES tst_policies.cpp LIBS desktop)
korvane_add_test(tst_optionforms SOURCES tst_optionforms.cpp LIBS desktop)
korvane_add_test(tst_leveledit SOURCES tst_leveledit.cpp LIBS desktop)
