# The compiler flags. Each target links one of these privately: ifmenu_flags for the program and
# everything built from its sources, ifmenu_test_flags for the tests.
add_library(ifmenu_flags INTERFACE)
add_library(ifmenu_test_flags INTERFACE)
add_library(ifmenu_common_flags INTERFACE)
target_link_libraries(ifmenu_flags INTERFACE ifmenu_common_flags)
target_link_libraries(ifmenu_test_flags INTERFACE ifmenu_common_flags)

# NCURSES_WIDECHAR: enables the wide-character calls of curses.h with any system headers.
target_compile_definitions(ifmenu_common_flags INTERFACE _GNU_SOURCE NCURSES_WIDECHAR=1)
target_compile_options(ifmenu_common_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# g++ 12 falsely reports overlaps in assignments inside std::string.
target_compile_options(ifmenu_common_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(IFMENU_WARNINGS_AS_ERRORS)
    target_compile_options(ifmenu_common_flags INTERFACE -Werror)
endif()

# Test code is neither optimised nor instrumented: that would triple the build time, and the program is
# what is tested.
target_compile_options(ifmenu_test_flags INTERFACE -O0 $<$<CONFIG:Debug>:-g1>)

# The program mostly waits for keys and commands; operators notice its size, which must be loaded.
target_compile_options(ifmenu_flags INTERFACE $<$<CONFIG:Release>:-Os>)

if(IFMENU_FUZZ)
    target_compile_options(ifmenu_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(IFMENU_SANITIZE)
    target_compile_options(ifmenu_flags INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(ifmenu_common_flags INTERFACE -fsanitize=address,undefined)
else()
    # Limits what a bug in the program can be used for; tests/hardening checks the finished program for
    # all of it.
    target_compile_options(ifmenu_flags INTERFACE -fstack-protector-strong -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64|AMD64")
        target_compile_options(ifmenu_flags INTERFACE -fcf-protection)
    endif()
    target_compile_definitions(ifmenu_flags INTERFACE _GLIBCXX_ASSERTIONS)
    # The C library's checks need optimisation. Packages are built with the type None and their own
    # flags, which select a lower level.
    set(optimised Release RelWithDebInfo MinSizeRel)
    if(CMAKE_CXX_FLAGS MATCHES "-O[123s]")
        list(APPEND optimised None)
    endif()
    list(JOIN optimised "," optimised)
    target_compile_options(ifmenu_flags INTERFACE
        $<$<CONFIG:${optimised}>:-U_FORTIFY_SOURCE>
        $<$<CONFIG:${optimised}>:-D_FORTIFY_SOURCE=3>)
endif()

# With all symbols bound at the start, the dynamic linker saves no registers on the stack later, which
# may hold part of a secret; and the table of functions is read-only.
target_link_options(ifmenu_flags INTERFACE -Wl,-z,relro,-z,now)

# A position-independent program, even if that is not the compiler's default.
include(CheckPIESupported)
check_pie_supported()
