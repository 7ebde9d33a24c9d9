# shellcheck shell=sh
# What ./run, ./test and ./package have in common, which read this file: the Debian packages that
# they need, and a care about build folders.

# To build the program and to run it on the demo appliance.
# shellcheck disable=SC2034
run_packages="cmake g++ make libncurses-dev ncurses-term iproute2 psmisc util-linux hostname \
dnsmasq-base isc-dhcp-client nftables"

# And to build and run its tests.
# shellcheck disable=SC2034
test_packages="libgtest-dev libgmock-dev libvterm-dev clang-format-14 shellcheck locales strace \
procps wpasupplicant samba tigervnc-standalone-server tigervnc-tools vsftpd openssl ntpsec \
iputils-ping unicode-data \
clang-14 libclang-rt-14-dev man-db mandoc"

# To build the Debian package.
# shellcheck disable=SC2034
package_packages="build-essential cmake debhelper libncurses-dev"

# MissingPackages PACKAGE...: those that are not installed.
MissingPackages() {
    installed=$(dpkg-query --show --showformat='${Package}=${db:Status-Status}\n' "$@" 2>/dev/null)
    for package; do
        case "
$installed
" in
        *"
$package=installed
"*) ;;
        *) printf ' %s' "$package" ;;
        esac
    done
}

# InstallPackages PACKAGE...: the servers among them are for the machines that the tests make; on this
# one none is started.
InstallPackages() {
    policy=/usr/sbin/policy-rc.d
    made=
    if [ ! -e $policy ]; then
        made=$policy
        printf '#!/bin/sh\nexit 101\n' >$policy
        chmod 755 $policy
    fi
    apt-get --quiet update &&
        DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes install --no-install-recommends "$@"
    status=$?
    [ -z "$made" ] || rm -f $made
    return $status
}

# NeedPackages LOG PACKAGE...: installs those that are missing, with apt's messages in LOG; says so,
# and what to do where it may not. A system without dpkg is left to show by itself what it lacks.
NeedPackages() {
    log=$1
    shift
    command -v dpkg-query >/dev/null || return 0
    missing=$(MissingPackages "$@")
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" != 0 ]; then
        echo "Packages are missing. Have them installed by this line:" >&2
        echo "    sudo apt-get update && sudo apt-get install --no-install-recommends$missing" >&2
        return 1
    fi
    echo "Installing missing packages:$missing"
    # shellcheck disable=SC2086  # a list of words
    if ! InstallPackages $missing </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        echo "This line did not succeed; $log has its messages:" >&2
        echo "    apt-get update && apt-get install --no-install-recommends$missing" >&2
        return 1
    fi
}

# ForgetMovedBuild FOLDER: cmake refuses a build folder that was moved or copied along with the
# checkout; without its cache it configures it again.
ForgetMovedBuild() {
    grep -Fxqs "CMAKE_HOME_DIRECTORY:INTERNAL=$(pwd -P)" "$1/CMakeCache.txt" ||
        rm -f "$1/CMakeCache.txt"
}
