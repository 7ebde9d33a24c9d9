#!/bin/sh
# ./run where the program can't be used: without a terminal, and on one of an unknown type.
#
# Exit status 0: as it should be, 1: not (what is wrong is printed).
# shellcheck disable=SC2317,SC2329  # functions called by name through Promise
set -u
cd -- "$(dirname -- "$0")/.." || exit 1
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM
wrong=0

# Promise WORDS COMMAND...: that the command succeeds.
Promise() {
    words=$1
    shift
    "$@" >/dev/null 2>&1 && return
    echo "$words: not so"
    cat "$scratch/shown"
    wrong=1
}

# Shows TEXT
Shows() {
    grep -Fq -- "$1" "$scratch/shown"
}

# OnlyText: letters, blanks and line ends.
OnlyText() {
    [ -z "$(LC_ALL=C tr -d '[:print:]\n' <"$scratch/shown")" ]
}

./run </dev/null >"$scratch/shown" 2>&1
Promise "Without a terminal the program's status comes out" [ $? = 0 ]
Promise "The first screen has its title" Shows "Network configuration main menu for 'appliance'"
Promise "The first screen has the interfaces" Shows "1. eth0    02:00:00:00:10:20"
Promise "What is shown is plain text" OnlyText
Promise "It says that a terminal is needed" Shows "run ./run in a terminal"

env -u TERM ./run --help </dev/null 2>&1 | cat >"$scratch/shown"
Promise "A program that ends at once has its words shown" Shows "Tavrin 4"
Promise "They are plain text" OnlyText
./run --help </dev/null >"$scratch/shown" 2>&1
Promise "And its status comes out" [ $? = 1 ]

for type in '' dumb no-such-terminal; do
    script --quiet --return --command "env TERM=$type ./run" /dev/null </dev/null \
        >"$scratch/shown" 2>&1
    Promise "The type '$type' is refused" [ $? = 1 ]
    Promise "For '$type' it says which type to set" Shows "TERM=xterm-256color ./run"
done
exit $wrong
