#!/bin/sh
# Runs the commands of README.md and CONTRIBUTING.md on freshly installed Debians: each command
# works, and ./test leaves the computer as it was, except for the packages that it installs.
#
#     tests/package/fresh.sh [RELEASE...]                on bookworm, trixie and testing, or RELEASE...
#     tests/package/fresh.sh --short [RELEASE...]        only the commands of README.md
#     tests/package/fresh.sh --only TEXT [RELEASE...]    only the commands that contain TEXT
#     tests/package/fresh.sh --known                     only checks that it can run each command
#
# A release takes one to two hours, with --short twenty minutes. The messages are in build/package; the
# last lines say what ran where.
# shellcheck disable=SC2086  # commands are lists of words
set -u

# Commands FILE...: the commands in the blocks of shell code, one per line, without duplicates.
Commands() {
    awk '/^[`]+$/ { on = 0 } on { sub(/ *#.*/, ""); if (!seen[$0]++) print } /^[`]+sh$/ { on = 1 }' "$@"
}

Say() {
    echo
    echo "==== $*"
}

# Await TEXT: waits until the screen shows it.
Await() {
    seconds=0
    until grep -Fqs "$1" /root/screen; do
        seconds=$((seconds + 1))
        if [ $seconds -gt 1800 ] || ! kill -0 "$program" 2>/dev/null; then
            cat /root/screen
            echo "never shown: $1"
            return 1
        fi
        sleep 1
    done
}

# Operate COMMAND...: opens the program on a terminal, waits for its main menu, and leaves it. ./run
# waits for ENTER first.
Operate() {
    rm -f /root/keys /root/screen
    mkfifo /root/keys
    script --quiet --return --flush --command "stty rows 40 cols 100; $*" /root/screen \
        </root/keys >/dev/null &
    program=$!
    exec 3>/root/keys
    status=0
    [ "$1" != ./run ] || { Await "Press ENTER" && printf '\r' >&3; } || status=1
    Await "Network configuration main menu for '" && printf 'e\r' >&3 || status=1
    exec 3>&-
    [ $status = 0 ] && wait $program && echo "$*: opened and left, status 0"
}

# Really COMMAND...: runs it; with --known does nothing.
Really() {
    [ "$what" = --known ] || "$@"
}

# Glance: ./run where there is no terminal.
Glance() {
    ./run </dev/null >/root/screen 2>&1 && cat /root/screen &&
        grep -Fq "Network configuration main menu for '" /root/screen
}

# RunOne COMMAND: runs it as a reader does, without sudo, and answers yes to apt-get. Fails for a
# command that it does not know.
RunOne() {
    case $1 in
    ./run) Really Glance && Really Operate ./run ;;
    'tools/package --fresh') ;; # runs this script: RunAll leaves it out
    ./test* | tools/*) Really $1 ;;
    cmake\ * | ctest\ *) Really $1 ;;
    'sudo cmake --install build/out') Really ${1#sudo } && Really test -x /usr/local/sbin/ifmenu ;;
    'sudo apt-get install ./build/package/ifmenu_*.deb')
        Really apt-get --quiet --yes install ./build/package/ifmenu_*.deb
        ;;
    'sudo ifmenu') Really Operate ifmenu ;;
    *) return 1 ;;
    esac
}

# Note COMMAND RESULT: a line of the summary.
Note() {
    echo "fresh: $release, $1: $2"
}

# Installed: the installed packages.
Installed() {
    dpkg-query --show --showformat='${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p'
}

# Interrupt: when ./run is interrupted while it installs, it finishes the installation and stops.
Interrupt() {
    ./run --build-only >/root/interrupted 2>&1 &
    interrupted=$!
    until cat /proc/[0-9]*/cmdline 2>/dev/null | tr '\0' '\n' | grep -qx -e '--unpac[k]'; do
        kill -0 $interrupted 2>/dev/null || break
        sleep 0.1
    done
    kill -TERM $interrupted
    wait $interrupted
    [ $? = 130 ] && [ -z "$(dpkg --audit)" ] && [ ! -e /usr/sbin/policy-rc.d ] &&
        [ ! -e build/run/ifmenu ] && dpkg-query --show cmake && return
    cat /root/interrupted
    return 1
}

# AsItWas: nothing has changed since the start, except for installed packages.
AsItWas() {
    tests/package/host.sh compare /root/host || return
    Installed | sort >/root/installed
    echo "Packages: $(wc -l </root/bare) before, $(wc -l </root/installed) now; new ones:"
    comm -13 /root/bare /root/installed | tr '\n' ' ' | fold -s -w 100
    echo
}

# Known PAGE...: whether RunOne knows every command of the pages.
Known() {
    Commands "$@" >"$list"
    [ -s "$list" ] || return
    while IFS= read -r command; do
        RunOne "$command" || { echo "tests/package/fresh.sh cannot run: $command" && return 1; }
    done <"$list"
}

# RunAll TEXT PAGE...: runs every command of the pages that contains TEXT, in order.
RunAll() {
    text=$1
    shift
    Commands "$@" | grep -F -e "$text" >"$list" || return
    status=0
    [ -n "$text" ] || Try "interrupted installation" Interrupt
    while IFS= read -r command <&4; do
        [ "$command" != 'tools/package --fresh' ] || continue
        Try "$command" RunOne "$command" 4<&-
        [ "$command" != ./test ] || Try "the computer is unchanged" AsItWas
    done 4<"$list"
    return $status
}

# Try WHAT COMMAND...
Try() {
    what_runs=$1
    shift
    Say "$what_runs"
    begin=$(date +%s)
    if "$@"; then
        Note "$what_runs" "passed, $(($(date +%s) - begin)) s"
    else
        Note "$what_runs" FAILED
        status=1
    fi
}

# OnEach RELEASE...: runs this script on a clean machine of each.
OnEach() {
    status=0
    for release; do
        log=build/package/fresh-$release.log
        echo "Running the commands of the pages on $release; the messages are in $log ..."
        setpriv --pdeathsig TERM tests/package/clean --release "$release" \
            /mnt/tests/package/fresh.sh --here "$release" "$only" $pages >"$log" 2>&1 </dev/null || status=1
        grep '^fresh: ' "$log" || { tail -n 20 "$log" && status=1; }
    done
    echo
    echo "What ran where:"
    for release; do
        grep -h '^fresh: ' "build/package/fresh-$release.log" | sed 's/^fresh: //'
    done
    return $status
}

pages="README.md CONTRIBUTING.md"
only=
what=${1-}
case $what in
--known)
    cd -- "$(dirname -- "$0")/../.." || exit 1
    list=$(mktemp)
    trap 'rm -f "$list"; exit 130' HUP INT TERM
    status=0
    Known $pages || status=1
    rm -f "$list"
    exit $status
    ;;
--here)
    release=$2
    shift 2
    ;;
*)
    cd -- "$(dirname -- "$0")/../.." || exit 1
    if [ "$what" = --short ]; then
        pages=README.md
        shift
    elif [ "$what" = --only ]; then
        only=$2
        shift 2
    fi
    [ $# -gt 0 ] || set -- bookworm trixie testing
    mkdir -p build/package
    OnEach "$@"
    exit
    ;;
esac

# On the clean machine.
# shellcheck source=tests/package/copy.sh
. /mnt/tests/package/copy.sh
list=/root/commands
CopyCheckout /root/ifmenu
cd /root/ifmenu || exit 1
. /etc/os-release
release="$PRETTY_NAME"
Installed | sort >/root/bare
tests/package/host.sh look /root/host
RunAll "$@"
