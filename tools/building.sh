# shellcheck shell=sh
# What ./run, ./test and the tools have in common, which read this file in the checkout's folder: the
# Debian packages that they need, and a care about build folders.

# To build the program. These are installed: they start and enable nothing.
# shellcheck disable=SC2034
run_packages="cmake g++ make libncurses-dev ncurses-term iproute2 util-linux hostname"

# And to build and run its tests.
# shellcheck disable=SC2034
test_packages="libgtest-dev libgmock-dev libvterm-dev shellcheck unicode-data clang libclang-rt-dev"

# To build the Debian package.
# shellcheck disable=SC2034
package_packages="build-essential cmake debhelper libncurses-dev"

# What only the machines of appliance/enter need: the demo's tools (and pivot_root, which some releases
# keep in util-linux-extra), and what the tests call there. These are never installed.
# shellcheck disable=SC2034
demo_packages="dnsmasq-base isc-dhcp-client nftables psmisc util-linux-extra"
# shellcheck disable=SC2034
machine_packages="iputils-ping locales man-db mandoc ntpsec openssl procps samba strace \
tigervnc-standalone-server tigervnc-tools vsftpd wpasupplicant"

# Where they are unpacked (`root`, which appliance/machine lays under its machines), and what apt
# fetches.
packages=$PWD/build/packages

# Mirror: where this computer's apt has Debian from. Its lists have to be there.
# shellcheck disable=SC2016  # apt's own variables
Mirror() {
    Apt indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        'Label: Debian' | sed -n '1s,/*$,,p'
}

# AddStable: lists of Debian's stable release, too. Of that release comes only what this one does not
# have.
AddStable() {
    mirror=$(Mirror)
    [ -n "$mirror" ] && mkdir -p "$packages/sources" || return
    find /etc/apt/sources.list.d/ -type f -exec ln -sf {} "$packages/sources" \;
    echo "deb $mirror stable main" >"$packages/sources/stable-for-machines.list"
    cat >"$packages/preferences" <<END
Package: *
Pin: release a=stable
Pin-Priority: 100
END
    Update
}

# Apt ARG...: apt-get, with lists and archives of its own: those of the computer stay as they are,
# and everybody may fetch.
Apt() {
    mkdir -p "$packages/lists/partial" "$packages/archives/partial" || return
    cat >"$packages/apt.conf" <<END
Dir::State::lists "$packages/lists";
Dir::Cache "$packages";
Dir::Cache::pkgcache "pkgcache.bin";
APT::Sandbox::User "root";
APT::Install-Recommends "false";
$(
        [ ! -e "$packages/preferences" ] ||
            echo "Dir::Etc::sourceparts \"$packages/sources\"; Dir::Etc::preferences \"$packages/preferences\";"
    )
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
END
    LC_ALL=C DEBIAN_FRONTEND=noninteractive \
        ${session-} apt-get --quiet --yes --config-file="$packages/apt.conf" "$@"
}

# Update: the lists.
Update() {
    Apt -o Debug::NoLocking=true update
}

# Fetch PACKAGE...: archives of packages and of what they depend on, into $packages/archives. Asks the
# network only for what is not there yet.
Fetch() {
    set -- -o Debug::NoLocking=true --download-only install "$@"
    Apt "$@" >/dev/null 2>&1 || { Update && Apt "$@"; }
}

# Offered PACKAGE: whether this release of Debian has it.
Offered() {
    [ -n "$(find "$packages/lists" -name '*Release' 2>/dev/null)" ] ||
        Update >/dev/null 2>&1
    Apt -o Debug::NoLocking=true --simulate install "$1" >/dev/null 2>&1
}

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

# InstallPackages PACKAGE...: fetching may be interrupted. The installation has a session of its own
# and is waited for, as half of one would stay behind; descriptor 3 is told so.
InstallPackages() {
    Fetch "$@" || return
    interrupted=
    trap 'interrupted=yes && echo "Finishing the installation first ..." >&3' HUP INT TERM
    (Installation "$@") &
    while :; do
        wait $!
        status=$?
        kill -0 $! 2>/dev/null || break
    done
    trap - HUP INT TERM
    [ -z "$interrupted" ] || exit 130
    return "$status"
}
Installation() {
    trap '' HUP INT TERM
    session=setsid
    Apt install "$@"
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
    if ! InstallPackages $missing 3>&2 </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        echo "This line did not succeed; $log has its messages:" >&2
        echo "    apt-get update && apt-get install --no-install-recommends$missing" >&2
        return 1
    fi
}

# Archives PACKAGE...: the names of the archives that apt would install them from, those of what
# they depend on and this computer lacks among them.
Archives() {
    Apt -o Debug::NoLocking=true --simulate install "$@" | sed -n \
        's/^Inst \([^ ]*\) \(\[[^]]*\] \)\{0,1\}(\([^ ]*\) [^)]*\[\([^]]*\)\]).*/\1_\3_\4.deb/p' |
        sed 's/:/%3a/g'
}

# Unpack PACKAGE...: into $packages/root. Its top folders are links where the computer's are, so that
# neither hides the other; what their installation would do beyond files is done for those who are
# called here.
Unpack() {
    fresh=$packages/root.new
    rm -rf "$fresh" && mkdir "$fresh" || return
    for folder in bin sbin lib lib32 lib64 libx32; do
        [ ! -L /$folder ] || ln -s "$(readlink /$folder)" "$fresh/$folder"
    done
    if [ $# != 0 ]; then
        mkdir -p "$fresh/usr/bin" "$fresh/usr/sbin" "$fresh/usr/lib" "$fresh/usr/lib64"
        Fetch "$@" || { AddStable && Fetch "$@"; } || return
        archives=$(Archives "$@")
        [ -n "$archives" ] || return
        for archive in $archives; do
            dpkg-deb --fsys-tarfile "$packages/archives/$archive" |
                tar -x -C "$fresh" --keep-directory-symlink || return
        done
        rmdir "$fresh"/usr/* 2>/dev/null
        find "$fresh" -type f -perm /6000 -exec chmod ug-s {} +
        [ ! -e "$fresh/usr/bin/tigervncpasswd" ] ||
            ln -s tigervncpasswd "$fresh/usr/bin/vncpasswd"
    fi
    rm -rf "$packages/root" && mv "$fresh" "$packages/root"
}

# UnpackPackages LOG PACKAGE...: sees to it that the machines have those that are not installed, with
# the messages in LOG. What is unpacked fits the packages installed, so it is done anew when those
# have changed, from what was fetched before.
UnpackPackages() {
    log=$1
    shift
    command -v dpkg-query >/dev/null || return 0
    if ! mkdir -p "$packages" || ! [ -w "$packages" ]; then
        echo "$packages cannot be written to by you: remove it, or run as its owner." >&2
        return 1
    fi
    unpacked=$packages/unpacked
    # shellcheck disable=SC2046  # lists of words
    set -- $(printf '%s\n' "$@" $(sed 1d "$unpacked" 2>/dev/null) | sort -u)
    wanted=$(cksum </var/lib/dpkg/status && printf '%s\n' "$@")
    [ "$(cat "$unpacked" 2>/dev/null)" != "$wanted" ] || return 0
    rm -f "$unpacked"
    missing=$(MissingPackages "$@")
    [ -z "$missing" ] || echo "Unpacking what the machines need, in build/packages:$missing"
    # shellcheck disable=SC2086  # a list of words
    if ! Unpack $missing </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        echo "These packages could not be unpacked; $log has the messages." >&2
        return 1
    fi
    echo "$wanted" >"$unpacked"
}

# ForgetMovedBuild FOLDER: cmake refuses a build folder that was moved or copied along with the
# checkout; without its cache it configures it again.
ForgetMovedBuild() {
    grep -Fxqs "CMAKE_HOME_DIRECTORY:INTERNAL=$(pwd -P)" "$1/CMakeCache.txt" ||
        rm -f "$1/CMakeCache.txt"
}
