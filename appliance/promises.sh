# shellcheck shell=sh
# Shared by the tests of the demo appliance, which source it: checks that run beside each other, as
# the caller and as an ordinary user. Exits with 77 if no machine can be made here.
#
#     . "${0%/*}/promises.sh"
#     Begin CheckThis CheckThat
#     Begin CheckOther
#     if BecomeOrdinary; then Begin CheckThis; fi
#     Finish
set -u
appliance=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd -P)
PATH=$PATH:/usr/sbin:/sbin
"$appliance/enter" --bare true || exit 77

scratch=$(mktemp -d)
chmod 755 "$scratch"
begun=
who="this user" as=
trap 'rm -rf "$scratch"' EXIT
# shellcheck disable=SC2086  # a list of words
trap 'kill $begun; exit 130' HUP INT TERM

# Promise WORDS EXPECTED ACTUAL: WORDS hold if both are equal.
Promise() {
    [ "$2" = "$3" ] && return
    printf '%s (%s)\n    expected: %s\n    seen:     %s\n' "$1" "$who" "$2" "$3"
    broken=1
}

# Demo SCRIPT: runs a shell script on the demo machine, after the functions in $scratch/common.
# shellcheck disable=SC2016  # expanded by the shell in the machine
Demo() {
    $as "$appliance/enter" --quiet sh -c '. "$1/common"; eval "$2"' sh "$scratch" "$1" 2>&1
}

# Begin CHECK...: starts to run these functions, one after the other.
Begin() {
    (
        broken=0
        for check; do
            $check
        done
        exit $broken
    ) &
    begun="$begun $!"
}

# BecomeOrdinary: the checks begun from now on run as an ordinary user. Fails if that is so already,
# or if ordinary users cannot make machines here.
BecomeOrdinary() {
    ordinary="setpriv --reuid 65534 --regid 65534 --clear-groups"
    [ "$(id -u)" = 0 ] && $ordinary "$appliance/enter" --bare true 2>/dev/null || return
    who="an ordinary user" as=$ordinary
}

# Finish: waits for all checks, and exits with 1 if a promise is broken.
Finish() {
    status=0
    for check in $begun; do
        wait "$check" || status=1
    done
    exit $status
}
