korvane_add_test(tst_sound SOURCES tst_sound.cpp LIBS desktop)
add_dependencies(tst_sound gensounds_media)
target_compile_definitions(tst_sound PRIVATE
    KORVANE_MEDIA_DIR="$<TARGET_PROPERTY:gensounds_media,MEDIA_DIR>")
