# The compiler flags of every target: ifmenu_flags is linked privately by each of them.
add_library(ifmenu_flags INTERFACE)

# NCURSES_WIDECHAR: the wide-character calls of curses.h, whatever the system headers define.
target_compile_definitions(ifmenu_flags INTERFACE _GNU_SOURCE NCURSES_WIDECHAR=1)
target_compile_options(ifmenu_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# g++ 12 sees overlaps in std::string's own assignments, where there are none.
target_compile_options(ifmenu_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(IFMENU_WARNINGS_AS_ERRORS)
    target_compile_options(ifmenu_flags INTERFACE -Werror)
endif()

if(IFMENU_FUZZ)
    target_compile_options(ifmenu_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(IFMENU_SANITIZE)
    target_compile_options(ifmenu_flags INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(ifmenu_flags INTERFACE -fsanitize=address,undefined)
else()
    target_compile_options(ifmenu_flags INTERFACE -fstack-protector-strong
        $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
    target_link_options(ifmenu_flags INTERFACE -Wl,-z,relro,-z,now)
endif()
