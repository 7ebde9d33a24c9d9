#!/bin/sh
# Tests that the links of the Markdown pages lead somewhere, and that the files they name exist.
#
#     tests/package/pages_test.sh
#
# Files are named in backquotes, by their path in the checkout or in src; words after that are
# arguments. Exit status 1: something is missing.
# shellcheck disable=SC2016  # backquotes of Markdown
set -u
cd -- "$(dirname -- "$0")/../.." || exit 1
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 130' HUP INT TERM
failed=0
tried=0

Fail() {
    echo "$*"
    failed=1
}

# Anchors PAGE: the anchors of its headings.
Anchors() {
    sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}

# CheckLink PAGE TARGET: TARGET is a file, a heading after "#", or both.
CheckLink() {
    file=${2%%#*}
    path=$1
    [ -z "$file" ] || path=$(dirname "$1")/$file
    if [ ! -e "$path" ]; then
        Fail "$1: no file for the link to $2"
    elif [ "$file" != "$2" ] && ! Anchors "$path" | grep -Fqx -- "${2#*#}"; then
        Fail "$1: no heading for the link to $2"
    fi
}

# CheckFile PAGE WORD: only words that begin with a folder are paths. They may have wildcards.
CheckFile() {
    case $2 in
    /* | build/* | *'<'*) return ;;
    */*) ;;
    *) return ;;
    esac
    if [ -d "${2%%/*}" ]; then
        path=$2
    elif [ -d "src/${2%%/*}" ]; then
        path=src/$2
    else
        return
    fi
    # shellcheck disable=SC2086  # wildcards
    ls -d $path >/dev/null 2>&1 || Fail "$1: no file $2"
}

find . -name build -prune -o -name '*.md' -print | sed 's,^\./,,' >"$work/pages"
while IFS= read -r page; do
    grep -o '](\([^)]*\))' "$page" | sed 's/^](//; s/)$//' | grep -v '^https\{0,1\}:' >"$work/links"
    while IFS= read -r target; do
        CheckLink "$page" "$target"
        tried=$((tried + 1))
    done <"$work/links"
    # What has changed in a released version is past.
    sed '/^## \[[0-9]/,$d' "$page" | grep -o '`[^`]*`' | tr -d '`' | cut -d ' ' -f 1 >"$work/words"
    while IFS= read -r word; do
        CheckFile "$page" "$word"
        tried=$((tried + 1))
    done <"$work/words"
done <"$work/pages"
[ $tried -ge 300 ] || Fail "only $tried links and words found in the pages"
exit $failed
