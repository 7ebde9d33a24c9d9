#!/bin/sh
# Tests that the manual pages are well formed and name exactly the rows, keys, commands, files and
# settings of the program, and that the sections they refer to exist.
#
#     tests/package/manual_test.sh
set -u
cd -- "$(dirname -- "$0")/../.." || exit 1
LC_ALL=C.UTF-8
export LC_ALL
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 130' HUP INT TERM
failed=0

Fail() {
    echo "$*"
    failed=1
}

# Same WHAT: compares the file `found`, from the manual, with `wanted`.
Same() {
    [ -s "$work/wanted" ] || Fail "$1: nothing to compare with"
    diff -u --label "$1" --label "in the manual" "$work/wanted" "$work/found" || failed=1
}

# ---- form ----

# CheckForm PAGE: prints complaints, except about pages that are not installed and about the system.
CheckForm() {
    mandoc -Tlint "$1" 2>&1 | grep -v 'referenced manual not found\|explicitly specified\|outdated'
    MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$1" >"$work/roff" 2>"$work/roff.log"
    cat "$work/roff.log"
}
for page in man/*; do
    CheckForm "$page" >"$work/complaints"
    [ -s "$work/complaints" ] && Fail "$page: $(cat "$work/complaints")"
done

# ---- rows and their keys ----

# Lines of "screen: row (key)".
awk -F ' *[|] *' '
    /^## / { screen = substr($0, 4) }
    $2 ~ /^`/ { print screen ": " substr($2, 2, length($2) - 2) ($3 == "" ? "" : " (" $3 ")") }
' docs/screens.md >"$work/wanted"
awk -F '"' '
    sub(/^\.Ss /, "") { screen = $0 }
    /^\.It Ic "/ { print screen ": " $2 (sub(/ Pq Cm /, "", $3) ? " (" $3 ")" : "") }
' man/ifmenu.8 >"$work/found"
Same "the rows of docs/screens.md"

# What the pages call a row, by its whole text or the words before its value, one of {one, other}.
awk -F ' *[|] *' '
    function Expand(text,    begin, end, words, i) {
        begin = index(text, "{")
        if (!begin) { print text; sub(/:.*/, "", text); print text; return }
        end = index(text, "}")
        split(substr(text, begin + 1, end - begin - 1), words, ", ")
        for (i in words) Expand(substr(text, 1, begin - 1) words[i] substr(text, end + 1))
    }
    $2 ~ /^`/ { Expand(substr($2, 2, length($2) - 2)) }
' docs/screens.md >"$work/rows"
for page in man/*; do
    sed -n 's/^\.Ic "\{0,1\}\([^"]*[^" .,:;]\).*/\1/p' "$page" >"$work/found"
    while IFS= read -r row; do
        grep -Fqx -- "$row" "$work/rows" || Fail "$page: no such row: $row"
    done <"$work/found"
done
[ "$(sort -u "$work/rows" | wc -l)" -ge 80 ] || Fail "hardly any rows found"

# ---- sections ----

# "page: section" of those there are, and of those that are referred to: in the same page, or in
# quotes and followed by the page.
for page in man/*; do
    sed -n "s,^\.S[hs] \(.*\),$page: \1,p" "$page" | tr -d '"'
done | sed 's/\\&//' >"$work/sections"
# A heading that begins with the name of a macro would lose that word.
for page in man/*; do
    mandoc -Tutf8 -Owidth=200 "$page" | sed -e 's/.\x08//g' -e "s,^ *,$page: ,"
done | grep -Fvx -f - "$work/sections" >"$work/lost"
[ -s "$work/lost" ] && Fail "headings that are shown otherwise: $(cat "$work/lost")"
for page in man/*; do
    awk -v page="$page" '
        sub(/^\.Sx "?/, "") { sub(/"?( [.,:;)])?$/, ""); print page ": " $0 }
        sub(/^\.Dq /, "") { section = $0; next }
        /^in$/ { next }
        section != "" && /^\.Xr ifmenu/ { print "man/" $2 "." $3 ": " section }
        { section = "" }' "$page"
done >"$work/found"
while IFS= read -r reference; do
    grep -Fqx -- "$reference" "$work/sections" || Fail "no such section: $reference"
done <"$work/found"
[ "$(wc -l <"$work/found")" -ge 20 ] || Fail "hardly any references found"

# ---- commands and files ----

# The string literals in the sources, adjacent ones joined, one per line.
cat src/*/*.cpp src/*/*.h | sed 's/ *\/\/ .*//' | tr '\n' ' ' | sed 's/" *"//g' |
    grep -o '"\(\\.\|[^"\\]\)*"' | sed -e 's/^"//' -e 's/"$//' -e 's/\\"/"/g' |
    sort -u >"$work/texts"

# The formatted page on one line.
mandoc -Tutf8 -Owidth=200 man/ifmenu.8 | sed 's/.\x08//g' | tr -s ' \n' ' ' >"$work/page"

# Commands and files in the sources, without redirections. One pid file is left out: the services
# screen reads it, but does nothing with it.
grep -e '^/\(etc\|sbin\|usr\|var\)/' -e '^\(cp\|ip\|killall\|mkdir\|mv\|pdbedit\|ping\) ' \
    -e '^\(smbpasswd\|vncpasswd\|wpa_cli\) ' -e '^volkeep-' -e '^ [a-z]*_network' -e '^ scan' \
    -e '^ set ' -e '^ save_config' -e '^ disconnect' -e '^dns\.' "$work/texts" |
    grep -v '/tavrin\.caption\.synchronizer\.pid$' |
    sed -e 's/ >\/dev\/null 2>&1//' -e 's/%s.*//' -e 's/^ //' -e 's/ *$//' >"$work/named"
while IFS= read -r text; do
    grep -Fq -- "$text" "$work/page" || Fail "the manual does not name: $text"
done <"$work/named"
[ "$(wc -l <"$work/named")" -ge 40 ] || Fail "hardly any commands found in the sources"

# And the other way round: placeholders for names split the manual's commands into pieces. Commands
# that the operator types are in .Bd displays.
tr '\n' ' ' <"$work/texts" | tr -s ' ' >"$work/sources"
sed -n 's/^\.Dl //p' man/ifmenu.8 |
    sed "s/['\"]*\<[A-Z_]*[A-Z]\>['\"]*\|\<dns\.[a-z0-9.]*/\n/g" |
    sed -e 's/^ *//' -e 's/ *$//' | grep . >"$work/pieces"
while IFS= read -r piece; do
    grep -Fq -- "$piece" "$work/sources" || Fail "no source has this command of the manual: $piece"
done <"$work/pieces"

# ---- settings ----

# The keys of the table, in order.
sed -n '/constexpr ConfigLine kConfigLines/,/^};/s/^ *{"\([^"]*\)".*/\1/p' src/net/interface_config.h \
    >"$work/wanted"
sed -n 's/^\.It Cm //p' man/ifmenu-network.5 >"$work/found"
Same "the settings of src/net/interface_config.h"
sed -n '/^\.Bd/,/^\.Ed/{/ =/s/ =.*//p;/^\.Ed/q}' man/ifmenu-network.5 >"$work/found"
Same "the settings of src/net/interface_config.h"

# ---- versions ----

version=$(sed -n 's/^project(ifmenu VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
for page in man/*; do
    grep -Fqx ".Os \"ifmenu $version\"" "$page" || Fail "$page is not of version $version"
done
[ "$(sed -n '1s/ifmenu (\(.*\)) .*/\1/p' debian/changelog)" = "$version" ] ||
    Fail "debian/changelog does not begin with version $version"
[ "$(sed -n 's/^## \[\([0-9.]*\)\].*/\1/p' CHANGELOG.md | head -n 1)" = "$version" ] ||
    Fail "CHANGELOG.md does not begin with version $version"
exit $failed
