#!/bin/sh
# Tests that the host does not change when everything that the program can do, and more, is done on
# the demo appliance.
#
#     host_untouched_test.sh PROGRAM ACTIONS_TEST
#
# ACTIONS_TEST (actions_test.cpp) operates the program's screens; a shell script here does what goes
# beyond. The host is itself a machine: what else happens on this computer meanwhile, a changed lease
# or a mount, does not count. Exit status 0: unchanged, 1: changed (the difference is printed), 77:
# skipped: no machine can be made in a machine here, as in a container, whose files are an overlay.
set -u
appliance=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd -P)
if [ "$1" != host ]; then
    "$appliance/enter" --bare "$appliance/enter" --bare true || exit 77
    exec "$appliance/enter" --bare "$appliance/host_untouched_test.sh" host "$@"
fi
program=$2
actions_test=$3

# A host with the interfaces of the appliance.
ip -batch - <<'END'
link add eth0 address 02:00:00:00:20:20 type bridge
link add eth1 address 02:00:00:00:20:21 type bridge
link set eth0 addrgenmode none
addr add 198.51.100.2/24 dev eth0
addr add 2001:db8:20::2/64 dev eth0 nodad
link set eth0 up
route add default via 198.51.100.1
END
scratch=$(mktemp -d)
trap 'kill "$decoy" 2>/dev/null; rm -rf "$scratch"' EXIT
trap 'exit 130' HUP INT TERM

# Picture: what the program's actions could change on the host.
Picture() {
    echo "host name $(uname -n)"
    echo "-- interfaces, addresses, routes"
    ip link
    ip addr
    ip route show table all
    ip -6 route show table all
    grep -s . /proc/sys/net/ipv4/ip_forward /proc/sys/net/ipv[46]/conf/*/*
    echo "-- mounts"
    cat /proc/self/mounts
    echo "-- files"
    find /etc -printf '%p %M %U:%G %l\n' 2>/dev/null | LC_ALL=C sort
    find /etc -type f -readable -print0 2>/dev/null | LC_ALL=C sort -z | xargs -0 sha256sum
    for folder in /etc /var /run /root /tmp /home /srv /opt /usr /usr/local /mnt; do
        ls -d "$folder"/made* 2>/dev/null
    done
}

# A process on the host with a name that one of the actions kills.
cp "$(command -v sleep)" "$scratch/nscd"
"$scratch/nscd" 600 &
decoy=$!

# What root can do wrong, with checks that it really happened in the machine.
cat >"$scratch/deeds" <<'END'
set -eu
program=$1
Expect() {
    "$@" || { echo "False in the machine: $*" >&2; exit 1; }
}

rm -f /etc/network/default.wireless
TERM=xterm "$program" </dev/null >/dev/null 2>&1 || :
Expect [ -f /etc/network/default.wireless ]

hostname renamed
Expect [ "$(uname -n)" = renamed ]
killall -w nscd
/etc/init.d/network stop all
Expect [ -z "$(ip route)" ]
ip link add added type bridge
ip link delete eth1
echo 1 >/proc/sys/net/ipv4/ip_forward
mount -t tmpfs machine /srv

rm /etc/network/example /etc/resolv.conf /etc/passwd
for folder in /etc /var /run /root /tmp /home /srv /opt /usr /usr/local /mnt; do
    mkdir "$folder/made"
    echo made >"$folder/made.file"
done
END

Picture >"$scratch/before"
"$actions_test" >"$scratch/actions" 2>&1
actions_status=$?
"$appliance/enter" --quiet sh "$scratch/deeds" "$program" >>"$scratch/actions" 2>&1
deeds_status=$?
Picture >"$scratch/after"

if [ $actions_status != 0 ] || [ $deeds_status != 0 ]; then
    cat "$scratch/actions"
    echo "The actions on the screens returned $actions_status, the script $deeds_status."
    exit 1
fi
if ! kill -0 "$decoy"; then
    echo "A process on the host was killed."
    exit 1
fi
diff -U 0 "$scratch/before" "$scratch/after" || exit 1
