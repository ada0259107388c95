# One INTERFACE target carries every compile rule of the project.
option(KORVANE_WERROR "Treat warnings as errors" OFF)
option(KORVANE_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(KORVANE_FUZZ "Build the libFuzzer targets (clang only); implies the sanitizers" OFF)

add_library(korvane_compile_rules INTERFACE)
target_compile_features(korvane_compile_rules INTERFACE cxx_std_20)
target_compile_options(korvane_compile_rules INTERFACE
    -Wall -Wextra -pedantic -Wnon-virtual-dtor -Woverloaded-virtual)
if(KORVANE_WERROR)
    target_compile_options(korvane_compile_rules INTERFACE -Werror)
endif()
target_compile_definitions(korvane_compile_rules INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_USE_QSTRINGBUILDER
    QT_NO_KEYWORDS)
if(KORVANE_FUZZ)
    set(KORVANE_SANITIZE ON)
    target_compile_options(korvane_compile_rules INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(KORVANE_SANITIZE)
    target_compile_options(korvane_compile_rules INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer)
    target_link_options(korvane_compile_rules INTERFACE -fsanitize=address,undefined)
endif()
