#!/bin/sh
# Checks that a test run leaves this computer unchanged: installed packages, what is enabled at
# boot, and files under /etc.
#
#     tests/package/host.sh look FOLDER       saves the current state in FOLDER
#     tests/package/host.sh compare FOLDER    prints the differences from the saved state
#
# Newly installed packages (the compiler, libraries) may add their own files under /etc, but not
# enable anything. Exit status 1: there are differences.
set -u
PATH=$PATH:/usr/local/sbin:/usr/sbin:/sbin
LC_ALL=C
export LC_ALL
cd -- "$(dirname -- "$0")/../.." || exit 1
# shellcheck source=tools/building.sh
. tools/building.sh

# Look FOLDER
Look() {
    mkdir -p "$1"
    # shellcheck disable=SC2016  # the command's own variables
    dpkg-query --show --showformat='${Package} ${db:Status-Status} ${Version}\n' 2>/dev/null |
        sed -n 's/ installed / /p' | sort >"$1/packages"
    find /etc/systemd /etc/rc?.d /etc/init /etc/cron* /etc/xdg/autostart /usr/sbin/policy-rc.d \
        ! -type d -printf '%p %l\n' 2>/dev/null | sort >"$1/enabled"
    {
        find /etc -type f -readable -exec sha256sum {} + | sed 's/^\([^ ]*\)  \(.*\)/\2 \1/'
        find /etc ! -type f -printf '%p %l\n'
    } 2>/dev/null | sort >"$1/files"
}

# Allowed FOLDER: drops the files of new packages, new ones that their scripts name, and those
# generated from all packages.
Allowed() {
    cut -d ' ' -f 1 "$1/files" >"$1/known"
    for package in $(comm -13 "$1/packages" "$1/now/packages" | cut -d ' ' -f 1); do
        dpkg-query --listfiles "$package"
        dpkg-query --control-show "$package" postinst 2>/dev/null |
            grep -o '/etc/[[:alnum:]_./+-]*' | grep -vxFf "$1/known"
    done | sort -u >"$1/owned"
    while read -r path rest; do
        case $path in
        /etc/alternatives* | /etc/ld.so.cache | /etc) continue ;;
        esac
        grep -Fqx -- "$path" "$1/owned" || echo "$path $rest"
    done
}

# Compare FOLDER
Compare() {
    Look "$1/now"
    # No package was removed.
    cut -d ' ' -f 1 "$1/packages" >"$1/before"
    cut -d ' ' -f 1 "$1/now/packages" >"$1/after"
    comm -23 "$1/before" "$1/after" | sed 's/^/package removed: /'
    # shellcheck disable=SC2086  # lists of words
    printf '%s\n' $demo_packages $machine_packages | sort >"$1/private"
    # The compiler's tools depend on procps.
    comm -13 "$1/before" "$1/after" | comm -12 - "$1/private" | grep -vx procps |
        sed 's/^/package installed, not unpacked: /'
    # procps applies the computer's sysctl settings at boot.
    comm -3 "$1/enabled" "$1/now/enabled" | sed 's/^[[:space:]]*//' | grep -v '^/etc/rcS.d/S..procps ' |
        sed 's/^/enabled, or no longer: /'
    comm -3 "$1/files" "$1/now/files" | sed 's/^[[:space:]]*//' | Allowed "$1" |
        grep -v '^/etc/rcS.d\(/S..procps\)\{0,1\} ' | sed 's/^/file: /'
}

case ${1-}:$# in
look:2) Look "$2" ;;
compare:2)
    differences=$(Compare "$2")
    [ -n "$differences" ] || exit 0
    echo "$differences"
    exit 1
    ;;
*)
    echo "usage: tests/package/host.sh look|compare FOLDER" >&2
    exit 2
    ;;
esac
