#!/bin/sh
# Tests that what the pages refer to exists: targets and headings of links, files and folders of the
# checkout, options of its commands, manual pages, tests, and names in the sources.
#
#     tests/package/pages_test.sh [FOLDER]    FOLDER: another checkout
#
# Exit status 1: something is missing.
# shellcheck disable=SC2016  # the backquotes are those of the pages
set -u
cd -- "${1-$(dirname -- "$0")/../..}" || exit 1
LC_ALL=C.UTF-8
export LC_ALL
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 130' HUP INT TERM
failed=0
tried=0

Fail() {
    echo "$*"
    failed=1
}

# ---- what there is ----

# "page#anchor" of each heading, as the web sites make it; in blocks of code there are none.
Anchors() {
    awk '
        FNR == 1 { code = 0 }
        /^```/ { code = !code }
        !code && sub(/^#+ +/, "") {
            $0 = tolower($0)
            gsub(/[^a-z0-9 _-]/, "")
            gsub(/ /, "-")
            print FILENAME "#" $0
        }' "$@"
}

# The tests, "Suite.Name" each, and the sources as words.
Tests() {
    find appliance tests -name '*.cpp' -exec cat {} + | tr -s '\n ' '  ' |
        grep -o '\<TEST\(_[FP]\)\?([A-Za-z0-9_]*, [A-Za-z0-9_]*' | sed 's/.*(\(.*\), /\1./'
    find appliance tests -name CMakeLists.txt -exec sed -n 's/.*add_test(NAME \([^ )]*\).*/\1/p' {} +
}

Names() {
    find src appliance tests tools -type f -exec cat {} + | grep -ao '\<[A-Z][A-Za-z0-9]*\>'
}

# ---- what the pages refer to ----

# CheckLink PAGE TARGET
CheckLink() {
    case $2 in
    http://* | https://*) return ;;
    '#'*) target=$1$2 ;;
    *) target=$(realpath -m --relative-to=. "$(dirname "$1")/${2%%#*}") ;;
    esac
    [ -e "${target%%#*}" ] || Fail "$1: no such file: $2"
    case $2 in
    '#'*) ;;
    *'#'*) target="$target#${2#*#}" ;;
    *) return ;;
    esac
    grep -Fqx -- "$target" "$work/anchors" || Fail "$1: no such heading: $2"
}

# CheckPath PAGE PATH: from the checkout's folder, from src, or from the page's own folder. What a
# build makes is there later.
CheckPath() {
    case $2 in
    /* | *'<'* | build/* | ./build/* | */..*) return ;;
    esac
    for folder in . src "$(dirname "$1")"; do
        # shellcheck disable=SC2086  # a pattern
        set -- "$1" "$2" $folder/$2
        if [ -e "$3" ]; then return; fi
    done
    Fail "$1: no such path: $2"
}

# CheckTest PAGE PATTERN
CheckTest() {
    while IFS= read -r test; do
        # shellcheck disable=SC2254  # a pattern
        case $test in $2) return ;; esac
    done <"$work/tests"
    Fail "$1: no such test: $2"
}

# CheckWord PAGE WORD
CheckWord() {
    case $2 in
    *::*) CheckWord "$1" "${2##*::}" ;;
    [A-Z]*[a-z]*.[A-Z*]*) CheckTest "$1" "$2" ;;
    [A-Z]*[a-z][A-Z]*[!A-Za-z0-9]*) ;;
    [A-Z]*[a-z][A-Z]*) grep -Fqx -- "$2" "$work/names" || Fail "$1: not in the sources: $2" ;;
    [a-z]*/* | ./*) CheckPath "$1" "$2" ;;
    esac
}

# CheckCode PAGE TEXT: what is set as code; of a command of the checkout, its options, too.
CheckCode() {
    page=$1
    command=${2%% *}
    CheckWord "$page" "$command"
    [ -f "$command" ] || return 0
    for word in $2; do
        case $word in
        --[a-z]*) grep -Fq -e "$word" "$command" || Fail "$page: no such option: $2" ;;
        esac
    done
}

# CheckManual PAGE NAME SECTION
CheckManual() {
    [ -e "man/$2.$3" ] || Fail "$1: no such manual page: $2($3)"
}

# ---- the pages ----

pages=$(find . -name '*.md' ! -path './build*' ! -path './.git/*' | cut -c 3- | sort)
# shellcheck disable=SC2086  # a list of words
Anchors $pages >"$work/anchors"
Tests | sort -u >"$work/tests"
Names | sort -u >"$work/names"
for page in $pages; do
    grep -o ']([^)]*)' "$page" | sed 's/^](\(.*\))$/\1/' | sort -u >"$work/links"
    while IFS= read -r link; do
        CheckLink "$page" "$link"
    done <"$work/links"
    # What a released version has changed is past.
    sed '/^## \[[0-9]/,$d' "$page" >"$work/page"
    {
        sed '/^```/,/^```/d' "$work/page" | tr '\n' ' ' | grep -o '`[^`]*`' | tr -d '`,' | sort -u
        # Commands in blocks of code, both in those of the shell and in indented ones.
        sed -n -e '/^```sh$/,/^```$/{s/ *#.*//;p}' -e 's/^    //p' "$work/page" |
            sed 's/^sudo //' | grep '^\(\./\|[a-z]*/\)'
    } >"$work/code"
    while IFS= read -r text; do
        CheckCode "$page" "$text"
        tried=$((tried + 1))
    done <"$work/code"
    tr '\n' ' ' <"$page" | grep -o '\<ifmenu[a-z-]*([0-9])' | sort -u | tr '()' '  ' >"$work/manuals"
    while read -r name section; do
        CheckManual "$page" "$name" "$section"
    done <"$work/manuals"
done
for page in man/*; do
    sed -n 's/^\.Xr \(ifmenu[a-z-]*\) \([0-9]\).*/\1 \2/p' "$page" | sort -u >"$work/manuals"
    while read -r name section; do
        CheckManual "$page" "$name" "$section"
    done <"$work/manuals"
done
[ "$(wc -l <"$work/tests")" -ge 500 ] || Fail "hardly any tests found in the sources"
[ $tried -ge 300 ] || Fail "only $tried texts set as code found in the pages"
exit $failed
