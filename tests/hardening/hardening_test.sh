#!/bin/sh
# Checks that the program is built with all protections of compiler, linker and C library.
#
#     hardening_test.sh PROGRAM BUILD             BUILD: its build folder
#     hardening_test.sh PROGRAM BUILD --others    also checks a plain build and the package's build
set -u
export LC_ALL=C
program=$1
build=$2
others=${3-}
source=$(cd -- "$(dirname -- "$0")/../.." && pwd)
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM
failed=0

# Expect WHAT PATTERN FILE: WHAT holds if a line of the file matches.
Expect() {
    grep -Eq -- "$2" "$3" && return
    echo "failed: $1"
    failed=1
}

readelf -hldnW "$program" >"$scratch/parts" || exit 1
readelf --dyn-syms -W "$program" >"$scratch/symbols"
objdump --disassemble --no-show-raw-insn "$program" >"$scratch/code" 2>/dev/null

Expect "the program is position-independent" 'Flags:.*PIE' "$scratch/parts"
Expect "relocated data is read-only after loading" 'GNU_RELRO' "$scratch/parts"
Expect "all symbols are bound at the start" 'Flags:.*NOW' "$scratch/parts"
Expect "the stack is not executable" 'GNU_STACK .* RW +0x' "$scratch/parts"
for library in libformw libncursesw libc; do
    Expect "$library is linked dynamically" "NEEDED.*\\[$library\\.so" "$scratch/parts"
done
Expect "a buffer that overflows ends the program" ' __stack_chk_fail@' "$scratch/symbols"
Expect "C library calls check their buffers" ' __[a-z]+_chk@' "$scratch/symbols"
Expect "a bad index ends the program" '__glibcxx_assert_fail' "$scratch/symbols"
if grep -q 'Machine:.*X86-64' "$scratch/parts"; then
    # The C library alone brings two. (The note that enables the check is missing in the system's
    # start files.)
    if [ "$(grep -c endbr64 "$scratch/code")" -lt 100 ]; then
        echo "failed: indirect jumps are restricted to marked targets"
        failed=1
    fi
    grep -A 1 'sub  *[$]0x1000,%rsp' "$scratch/code" >"$scratch/pages"
    Expect "a large stack frame is touched page by page" '(or[bq]|movq) +[$]0x0,[(]%rsp[)]' "$scratch/pages"
fi

# ExpectLevel BUILD: all sources are compiled with the highest level of the C library's checks. The
# finished program does not show the level.
ExpectLevel() {
    grep '"command"' "$1/compile_commands.json" | grep ' -c [^ ]*/src/[^ ]*[.]cpp' >"$scratch/commands"
    if [ ! -s "$scratch/commands" ] ||
        sed 's/.*\(-[UD]_FORTIFY_SOURCE[=0-9]*\).*/\1/' "$scratch/commands" |
        sort -u | grep -vx -- '-D_FORTIFY_SOURCE=3'; then
        echo "failed: C library calls are checked at level 3 ($1)"
        failed=1
    fi
}
ExpectLevel "$build"

if [ "$others" != --others ]; then
    [ $failed = 0 ] && echo "the program has all protections"
    exit $failed
fi

# Flags FOLDER FILE: prints the sorted flags in a file of a build, without folders and warnings.
Flags() {
    sed "s|$1||g; s|$source||g" "$1/$2" | tr ' ' '\n' | grep -E '^-' |
        grep -Ev '^-(Werror|I|o|c)' | sort -u
}

compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
cmake -S "$source" -B "$scratch/plain" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >"$scratch/log" 2>&1 || {
    cat "$scratch/log"
    exit 1
}
for file in src/CMakeFiles/ifmenu.dir/link.txt src/CMakeFiles/ifmenu.dir/flags.make \
    src/CMakeFiles/ifmenu_util.dir/flags.make; do
    Flags "$build" $file >"$scratch/tested"
    Flags "$scratch/plain" $file >"$scratch/plainly"
    [ -s "$scratch/tested" ] && diff "$scratch/tested" "$scratch/plainly" && continue
    echo "failed: a plain build has the same flags as the tested one ($file)"
    failed=1
done

# Configured like dpkg-buildpackage does it. debian/rules checks what that builds.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
if dpkg-buildflags --get CPPFLAGS >"$scratch/preprocessor" 2>&1; then
    CXXFLAGS="$(dpkg-buildflags --get CXXFLAGS) $(cat "$scratch/preprocessor")" cmake -S "$source" \
        -B "$scratch/package" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=None \
        -DBUILD_TESTING=OFF >"$scratch/log" 2>&1 || {
        cat "$scratch/log"
        exit 1
    }
    ExpectLevel "$scratch/package"
fi
[ $failed = 0 ] && echo "the program, a plain build and the package's build have all protections"
exit $failed
