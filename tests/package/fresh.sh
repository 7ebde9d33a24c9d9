#!/bin/sh
# The commands of the pages, on a Debian just installed: what the pages tell to type works.
#
#     tests/package/fresh.sh            those of README.md but ./test; takes about ten minutes
#     tests/package/fresh.sh --all      all of README.md and CONTRIBUTING.md; takes an hour
#     tests/package/fresh.sh --known    only tells whether it is known here how to run each of them
# shellcheck disable=SC2086  # commands are lists of words
set -eu

# Commands FILE...: the commands in the blocks of shell code, each once, one a line.
Commands() {
    awk '/^[`]+$/ { on = 0 } on { sub(/ *#.*/, ""); if (!seen[$0]++) print } /^[`]+sh$/ { on = 1 }' "$@"
}

Say() {
    echo
    echo "==== $*"
}

# Await TEXT: until the screen has shown it.
Await() {
    seconds=0
    until grep -Fqs "$1" /root/screen; do
        seconds=$((seconds + 1))
        if [ $seconds -gt 1800 ] || ! kill -0 "$program" 2>/dev/null; then
            cat /root/screen
            echo "waited in vain for: $1"
            return 1
        fi
        sleep 1
    done
}

# Operate COMMAND...: opens the program on a terminal, waits for its main menu, and leaves it.
Operate() {
    rm -f /root/keys /root/screen
    mkfifo /root/keys
    script --quiet --return --flush --command "stty rows 40 cols 100; $*" /root/screen \
        </root/keys >/dev/null &
    program=$!
    exec 3>/root/keys
    status=0
    Await "Network configuration main menu for '" && printf 'e\r' >&3 || status=1
    exec 3>&-
    [ $status = 0 ] && wait $program && echo "$*: opened and left, status 0"
}

# Really COMMAND...: runs it, unless it is only to be told whether it is known.
Really() {
    [ "$what" = --known ] || "$@"
}

# RunOne COMMAND: as its reader runs it; root needs no sudo, and what asks is answered yes. Fails for
# a command that is not known.
RunOne() {
    case $1 in
    ./run) Really Operate ./run ;;
    ./test) [ "$what" != --all ] || ./test ;;
    ./package | './test --tidy') Really $1 ;;
    './package --'* | ./vm) ;; # tests themselves, and longer than this one
    ./fuzz) Really Install clang-14 libclang-rt-14-dev && Really ./fuzz ;;
    'cmake --preset clang') Really Install clang-14 && Really $1 ;;
    cmake\ * | ctest\ *) Really $1 ;;
    'sudo cmake --install build/out') Really ${1#sudo } && Really test -x /usr/local/sbin/ifmenu ;;
    'sudo apt-get install ./build/package/ifmenu_*.deb')
        Really apt-get --quiet --yes install ./build/package/ifmenu_*.deb
        ;;
    'sudo ifmenu') Really Operate ifmenu ;;
    *) return 1 ;;
    esac
}

# RunAll PAGE...: every command of the pages, in their order.
RunAll() {
    Commands "$@" >"$list"
    [ -s "$list" ]
    while IFS= read -r command <&4; do
        [ "$what" = --known ] || Say "$command"
        RunOne "$command" 4<&- || { echo "$command: failed, or not known" && return 1; }
    done 4<"$list"
}

what=${1-}
case $what in
--known)
    cd -- "$(dirname -- "$0")/../.."
    list=$(mktemp)
    status=0
    RunAll README.md CONTRIBUTING.md || status=1
    rm -f "$list"
    exit $status
    ;;
--here) what=${2-} ;;
*)
    cd -- "$(dirname -- "$0")"
    exec ./clean /mnt/tests/package/fresh.sh --here "$@"
    ;;
esac

# On the clean machine.
# shellcheck source=tests/package/copy.sh
. /mnt/tests/package/copy.sh
list=/root/commands
CopyCheckout /root/ifmenu
cd /root/ifmenu
if [ "$what" = --all ]; then
    RunAll README.md CONTRIBUTING.md
else
    RunAll README.md
fi
