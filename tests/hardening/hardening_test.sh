#!/bin/sh
# That the program was built with every protection that compiler, linker and C library have.
#
#     hardening_test.sh PROGRAM BUILD             BUILD: the folder that it was built in
#     hardening_test.sh PROGRAM BUILD --others    and that a plain build and the package's get the same
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

# Expect WHAT PATTERN FILE: a line of the file matches.
Expect() {
    grep -Eq -- "$2" "$3" && return
    echo "not so: $1"
    failed=1
}

readelf -hldnW "$program" >"$scratch/parts" || exit 1
readelf --dyn-syms -W "$program" >"$scratch/symbols"
objdump --disassemble --no-show-raw-insn "$program" >"$scratch/code" 2>/dev/null

Expect "the program has no fixed address" 'Flags:.*PIE' "$scratch/parts"
Expect "what the dynamic linker writes is closed afterwards" 'GNU_RELRO' "$scratch/parts"
Expect "everything is bound at the start" 'Flags:.*NOW' "$scratch/parts"
Expect "the stack holds no code" 'GNU_STACK .* RW +0x' "$scratch/parts"
for library in libformw libncursesw libc; do
    Expect "$library is linked dynamically" "NEEDED.*\\[$library\\.so" "$scratch/parts"
done
Expect "a buffer that overflows ends the program" ' __stack_chk_fail@' "$scratch/symbols"
Expect "C library calls know their buffers" ' __[a-z]+_chk@' "$scratch/symbols"
Expect "a bad index ends the program" '__glibcxx_assert_fail' "$scratch/symbols"
if grep -q 'Machine:.*X86-64' "$scratch/parts"; then
    # Two are the C library's own. The system's start files lack the note that would switch it on.
    if [ "$(grep -c endbr64 "$scratch/code")" -lt 100 ]; then
        echo "not so: jumps land where jumps may"
        failed=1
    fi
    grep -A 1 'sub  *[$]0x1000,%rsp' "$scratch/code" >"$scratch/pages"
    Expect "a large stack frame is entered page by page" '(or[bq]|movq) +[$]0x0,[(]%rsp[)]' "$scratch/pages"
fi

# ExpectLevel BUILD: all sources of the program are compiled with the highest level of the C library's
# checks. The program itself does not tell it.
ExpectLevel() {
    grep '"command"' "$1/compile_commands.json" | grep ' -c [^ ]*/src/[^ ]*[.]cpp' >"$scratch/commands"
    if [ ! -s "$scratch/commands" ] ||
        sed 's/.*\(-[UD]_FORTIFY_SOURCE[=0-9]*\).*/\1/' "$scratch/commands" |
        sort -u | grep -vx -- '-D_FORTIFY_SOURCE=3'; then
        echo "not so: C library calls are checked at level 3 ($1)"
        failed=1
    fi
}
ExpectLevel "$build"

if [ "$others" != --others ]; then
    [ $failed = 0 ] && echo "the program has all protections"
    exit $failed
fi

# Flags FOLDER FILE: the sorted flags in one of a build's files, without folders and warnings.
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
    echo "not so: a plain build has the flags of the tested one ($file)"
    failed=1
done

# As dpkg-buildpackage configures it. What it then builds is looked at by debian/rules.
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
[ $failed = 0 ] && echo "the program has all protections, and so have a plain build and the package's"
exit $failed
