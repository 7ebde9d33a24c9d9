# The compiler flags of every target. Each links one of these privately: the program and what is
# built from its sources ifmenu_flags, the tests ifmenu_test_flags.
add_library(ifmenu_flags INTERFACE)
add_library(ifmenu_test_flags INTERFACE)
add_library(ifmenu_common_flags INTERFACE)
target_link_libraries(ifmenu_flags INTERFACE ifmenu_common_flags)
target_link_libraries(ifmenu_test_flags INTERFACE ifmenu_common_flags)

# NCURSES_WIDECHAR: the wide-character calls of curses.h, whatever the system headers define.
target_compile_definitions(ifmenu_common_flags INTERFACE _GNU_SOURCE NCURSES_WIDECHAR=1)
target_compile_options(ifmenu_common_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# g++ 12 sees overlaps in std::string's own assignments, where there are none.
target_compile_options(ifmenu_common_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(IFMENU_WARNINGS_AS_ERRORS)
    target_compile_options(ifmenu_common_flags INTERFACE -Werror)
endif()

# Test code is compiled as it stands: optimising or instrumenting it takes three times as long to
# build, and it is the program that is under test.
target_compile_options(ifmenu_test_flags INTERFACE -O0 $<$<CONFIG:Debug>:-g1>)

# The program waits for keys and commands; what an operator feels is how much of it has to be
# loaded.
target_compile_options(ifmenu_flags INTERFACE $<$<CONFIG:Release>:-Os>)

if(IFMENU_FUZZ)
    target_compile_options(ifmenu_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(IFMENU_SANITIZE)
    target_compile_options(ifmenu_flags INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(ifmenu_common_flags INTERFACE -fsanitize=address,undefined)
else()
    # What a fault in the program could be used for is kept small; tests/hardening looks for all of it
    # in the program that was built.
    target_compile_options(ifmenu_flags INTERFACE -fstack-protector-strong -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64|AMD64")
        target_compile_options(ifmenu_flags INTERFACE -fcf-protection)
    endif()
    target_compile_definitions(ifmenu_flags INTERFACE _GLIBCXX_ASSERTIONS)
    # The C library's checks need an optimising compiler. Packages are built with the type None and
    # flags of their own, which ask for a lower level.
    set(optimised Release RelWithDebInfo MinSizeRel)
    if(CMAKE_CXX_FLAGS MATCHES "-O[123s]")
        list(APPEND optimised None)
    endif()
    list(JOIN optimised "," optimised)
    target_compile_options(ifmenu_flags INTERFACE
        $<$<CONFIG:${optimised}>:-U_FORTIFY_SOURCE>
        $<$<CONFIG:${optimised}>:-D_FORTIFY_SOURCE=3>)
endif()

# Bound at the start, functions leave no look at the registers on the stack, where a secret may be that
# was just copied; and nobody can write to the table of them.
target_link_options(ifmenu_flags INTERFACE -Wl,-z,relro,-z,now)

# A position-independent program, also where the compiler makes none by itself.
include(CheckPIESupported)
check_pie_supported()
