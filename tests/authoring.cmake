korvane_add_test(tst_authoring SOURCES tst_authoring.cpp LIBS authoring_logic)
korvane_add_test(tst_groupedit SOURCES tst_groupedit.cpp LIBS desktop)
korvane_add_test(tst_composerforms SOURCES tst_composerforms.cpp LIBS desktop)
korvane_add_test(tst_selection SOURCES tst_selection.cpp LIBS desktop)
