korvane_add_test(tst_sound SOURCES tst_sound.cpp LIBS desktop)
add_dependencies(tst_sound gensounds_media)
target_compile_definitions(tst_sound PRIVATE
    KORVANE_MEDIA_DIR="$<TARGET_PROPERTY:gensounds_media,MEDIA_DIR>")
# Again with a sound device: a null sink in a throwaway desktop.
add_test(NAME tst_sound_device COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/e2e/desktop_session.sh $<TARGET_FILE:tst_sound>)
set_tests_properties(tst_sound_device PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen" SKIP_RETURN_CODE 77
                     TIMEOUT 120 RUN_SERIAL TRUE)
