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

# Debian's hardening as dpkg-buildflags gives it (stack protector, fortified calls, relocations
# read-only and bound at start) in every optimised build; the sanitizers bring their own checks.
option(KORVANE_HARDEN "Build with Debian's hardening flags where dpkg-buildflags exists" ON)
find_program(KORVANE_DPKG_BUILDFLAGS dpkg-buildflags)
if(KORVANE_HARDEN AND NOT KORVANE_SANITIZE AND KORVANE_DPKG_BUILDFLAGS)
    foreach(kind CXXFLAGS CPPFLAGS LDFLAGS)
        execute_process(
            COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all
                    ${KORVANE_DPKG_BUILDFLAGS} --get ${kind}
            OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
        separate_arguments(flags UNIX_COMMAND "${flags}")
        # The optimisation, debug information and paths stay the build type's own.
        list(FILTER flags EXCLUDE REGEX "^(-g.*|-O.*|-ffile-prefix-map=.*|-fdebug-prefix-map=.*)$")
        set(korvane_deb_${kind} ${flags})
    endforeach()
    set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    target_compile_options(korvane_compile_rules INTERFACE
        "$<${optimised}:${korvane_deb_CXXFLAGS};${korvane_deb_CPPFLAGS}>")
    target_link_options(korvane_compile_rules INTERFACE ${korvane_deb_LDFLAGS})
endif()
