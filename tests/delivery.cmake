korvane_add_test(tst_scheduling SOURCES tst_scheduling.cpp)
korvane_add_test(tst_intake SOURCES tst_intake.cpp)
korvane_add_test(tst_networkpaths SOURCES tst_networkpaths.cpp)
korvane_add_test(tst_receipts SOURCES tst_receipts.cpp)
korvane_add_test(tst_netapi SKIPS_SHOW SOURCES tst_netapi.cpp)
# Confirmations after the sync: the test defines the C library's sync calls, so it exports them.
korvane_add_test(tst_syncbeforeconfirm SOURCES tst_syncbeforeconfirm.cpp)
set_target_properties(tst_syncbeforeconfirm PROPERTIES ENABLE_EXPORTS ON)
target_link_libraries(tst_syncbeforeconfirm PRIVATE ${CMAKE_DL_LIBS})
