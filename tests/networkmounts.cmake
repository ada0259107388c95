# Documents and sounds through a real sshfs mount on loopback; skipped (77) where
# the machine cannot mount: not root, no /dev/fuse, or the kernel refuses.
korvane_add_test(tst_networkmounts SOURCES tst_networkmounts.cpp LIBS desktop)
set_tests_properties(tst_networkmounts PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 180)
# The same through the kernel's CIFS client and a private smbd on loopback; skipped (77)
# where the kernel has no CIFS client or the test is not root.
korvane_add_test(tst_cifsmount SOURCES tst_cifsmount.cpp LIBS desktop)
set_tests_properties(tst_cifsmount PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 180)
