#!/bin/sh
# What ./run does with and without a terminal, and on one of an unknown type.
#
#     appliance/run_test.sh
#
# Exit status 0: everything holds, 1: something does not (printed).
# shellcheck disable=SC2317,SC2329  # functions called by name through Promise
set -u
cd -- "$(dirname -- "$0")/.." || exit 1
PATH=$PATH:/usr/sbin:/sbin
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM
wrong=0

# Promise WORDS COMMAND...: WORDS hold when the command succeeds.
Promise() {
    words=$1
    shift
    "$@" >/dev/null 2>&1 && return
    echo "$words: FAILED"
    cat "$scratch/shown"
    wrong=1
}

# Shows TEXT
Shows() {
    grep -Fq -- "$1" "$scratch/shown"
}

ShowsNot() {
    ! Shows "$1"
}

# OnlyText: printable ASCII and newlines.
OnlyText() {
    [ -z "$(LC_ALL=C tr -d '[:print:]\n' <"$scratch/shown")" ]
}

# ListsTheDemo: every network of README.md with its passphrase, and every account of the demo. Of a
# name that is not ASCII the beginning counts.
# shellcheck disable=SC2016  # quotes of Markdown
ListsTheDemo() {
    sed -n '/^| Network |/,/^$/s/^| `\([^`]*\)` | `\{0,1\}\([a-z ]*\).*/\1|\2/p' \
        appliance/README.md >"$scratch/networks"
    [ "$(wc -l <"$scratch/networks")" = 5 ] || return
    while IFS='|' read -r name passphrase; do
        grep "^    ${name%%[!A-Za-z]*}.* $passphrase" "$scratch/shown" || return
    done <"$scratch/networks"
    users=$(appliance/enter --quiet pdbedit --list --verbose | sed -n 's/^Unix username: *//p')
    [ -n "$users" ] || return
    for user in $users; do
        Shows "$user (" || return
    done
}

# Await TEXT: ./run on its terminal shows it.
Await() {
    until Shows "$1"; do
        kill -0 "$terminal" || return
        sleep 0.1
    done
}

./run </dev/null >"$scratch/shown" 2>&1
Promise "Without a terminal the program's status is returned" [ $? = 0 ]
Promise "The first screen has its title" Shows "Network configuration main menu for 'appliance'"
Promise "The first screen has the interfaces" Shows "1. eth0    02:00:00:00:10:20"
Promise "What is shown is plain text" OnlyText
Promise "It says that a terminal is needed" Shows "run ./run in a terminal"

./run </dev/null >&- 2>"$scratch/shown"
Promise "With closed standard output the program's status is returned" [ $? = 0 ]
Promise "Nothing is complained about" [ ! -s "$scratch/shown" ]

env -u TERM ./run --help </dev/null 2>&1 | cat >"$scratch/shown"
Promise "A program that ends at once has its words shown" Shows "Tavrin 4"
Promise "They are plain text" OnlyText
./run --help </dev/null >"$scratch/shown" 2>&1
Promise "Their status is returned" [ $? = 1 ]

for type in '' dumb no-such-terminal; do
    script --quiet --return --command "env TERM=$type ./run" /dev/null </dev/null \
        >"$scratch/shown" 2>&1
    Promise "The type '$type' is refused" [ $? = 1 ]
    Promise "For '$type' it says which type to set" Shows "TERM=xterm-256color ./run"
done

# Both find that the packages have to be unpacked again: the first line is of other installed ones.
[ ! -e build/packages/unpacked ] || sed -i '1s/^/0/' build/packages/unpacked
./run --build-only >"$scratch/other" 2>&1 &
other=$!
./run --build-only >"$scratch/shown" 2>&1
Promise "Two ./run at once both work" [ $? = 0 ]
cp "$scratch/other" "$scratch/shown"
wait $other
Promise "So does the other" [ $? = 0 ]

mkfifo "$scratch/keys"
timeout 120 script --quiet --return --flush "$scratch/shown" \
    --command "stty rows 24 cols 80; TERM=xterm ./run" <"$scratch/keys" >/dev/null &
terminal=$!
exec 3>"$scratch/keys"
Promise "On a terminal the notice waits for ENTER" Await "Press ENTER"
Promise "The notice lists the demo's networks and accounts" ListsTheDemo
Promise "The notice fits on a small terminal" [ "$(wc -l <"$scratch/shown")" -le 24 ]
printf '\r' >&3
Promise "ENTER opens the program" Await "Network configuration main menu for 'appliance'"
printf 'e\r' >&3
exec 3>&-
wait "$terminal"
Promise "The program's status is returned" [ $? = 0 ]

timeout 120 script --quiet --return --command "TERM=xterm ./run" /dev/null </dev/null \
    >"$scratch/shown" 2>&1
Promise "Without ENTER ./run ends with status 1" [ $? = 1 ]
Promise "The program was not opened" ShowsNot "Network configuration main menu"
exit $wrong
