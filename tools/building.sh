# shellcheck shell=sh
# Shared by ./run, ./test and the tools, which source it in the checkout's folder: Debian packages,
# and build folders.
#
#     . tools/building.sh

# Needed to build the program. These are installed: they start and enable nothing.
# shellcheck disable=SC2034
run_packages="cmake g++ make libncurses-dev ncurses-term iproute2 util-linux hostname"

# Also needed to build and run its tests.
# shellcheck disable=SC2034
test_packages="libgtest-dev libgmock-dev libvterm-dev shellcheck unicode-data clang libclang-rt-dev"

# Needed to build the Debian package.
# shellcheck disable=SC2034
package_packages="build-essential cmake debhelper libncurses-dev"

# Needed only in the machines of appliance/enter: the demo's tools (and pivot_root, which is in
# util-linux-extra on some releases), and what the tests call there. These are never installed.
# shellcheck disable=SC2034
demo_packages="dnsmasq-base isc-dhcp-client nftables psmisc util-linux-extra"
# shellcheck disable=SC2034
machine_packages="iputils-ping locales man-db mandoc ntpsec openssl procps samba strace \
tigervnc-standalone-server tigervnc-tools vsftpd wpasupplicant"

# Where they are unpacked (`root`, which appliance/machine overlays on the host's files), and apt's
# lists and archives.
packages=$PWD/build/packages

# Mirror: the Debian mirror of this computer's apt. Needs the lists.
# shellcheck disable=SC2016  # apt's own variables
Mirror() {
    Apt indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' \
        'Label: Debian' | sed -n '1s,/*$,,p'
}

# StableToo SOURCES PREFERENCES: for an apt with this folder and this file, adds the stable release,
# for packages that its own release does not have. Needs the lists.
StableToo() {
    mirror=$(Mirror)
    [ -n "$mirror" ] && mkdir -p "$1" || return
    echo "deb $mirror stable main" >"$1/stable-for-machines.list"
    {
        cat /etc/apt/preferences 2>/dev/null
        printf '\nPackage: *\nPin: release a=stable\nPin-Priority: 100\n'
    } >"$2"
}

# AddStable: does so for the packages of the machines.
AddStable() {
    StableToo "$packages/sources" "$packages/preferences" || return
    find /etc/apt/sources.list.d/ -type f -exec ln -sf {} "$packages/sources" \;
    Update
}

# Apt ARG...: apt-get with its own lists and archives, so that the computer's do not change and any
# user can fetch.
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

# Bootstrap RELEASE FOLDER: installs a minimal Debian in the folder, from this computer's mirror and
# with its apt's settings for proxies, retries and the age of lists. Needs debootstrap.
Bootstrap() {
    Update && mirror=$(Mirror) || return
    if [ -z "$mirror" ]; then
        echo "This computer's apt has no Debian mirror." >&2
        return 1
    fi
    eval "$(apt-config shell http_proxy Acquire::http::Proxy)"
    [ -z "${http_proxy-}" ] || export http_proxy
    debootstrap --variant=minbase "$1" "$2" "$mirror" || return
    apt-config dump | grep '^Acquire::\(Check-\|Retries\|Max-ValidTime\|https\{0,1\}::\)' \
        >"$2/etc/apt/apt.conf.d/90computer" || :
}

# Update: fetches the lists.
Update() {
    Apt -o Debug::NoLocking=true update
}

# Fetch PACKAGE...: fetches packages and their dependencies into $packages/archives. Uses the
# network only for those that are not there yet.
Fetch() {
    set -- -o Debug::NoLocking=true --download-only install "$@"
    Apt "$@" >/dev/null 2>&1 || { Update && Apt "$@"; }
}

# Offered PACKAGE: whether this Debian release has it, even if apt also knows the stable one.
Offered() {
    [ -n "$(find "$packages/lists" -name '*Release' 2>/dev/null)" ] ||
        Update >/dev/null 2>&1
    Apt -o Debug::NoLocking=true -o Dir::Etc::sourceparts=/etc/apt/sources.list.d \
        --simulate install "$1" >/dev/null 2>&1
}

# MissingPackages PACKAGE...: prints those that are not installed.
MissingPackages() {
    installed=$(dpkg-query --show --showformat='${Package}=${db:Status-Status}\n' "$@" 2>/dev/null) || :
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

# InstallPackages PACKAGE...: fetching can be interrupted. The installation runs in its own session
# and is always completed, as half of one would remain; a message on descriptor 3 says so.
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

# NeedPackages LOG PACKAGE...: installs missing packages, with apt's messages in LOG; without root
# it prints the command instead. On a system without dpkg it does nothing: the build shows what is
# missing.
NeedPackages() {
    log=$1
    shift
    command -v dpkg-query >/dev/null || return 0
    missing=$(MissingPackages "$@")
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" != 0 ]; then
        echo "Packages are missing. Install them with:" >&2
        echo "    sudo apt-get update && sudo apt-get install --no-install-recommends$missing" >&2
        return 1
    fi
    echo "Installing missing packages:$missing"
    # shellcheck disable=SC2086  # a list of words
    if ! InstallPackages $missing 3>&2 </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        echo "This command failed; its messages are in $log:" >&2
        echo "    apt-get update && apt-get install --no-install-recommends$missing" >&2
        return 1
    fi
}

# Archives PACKAGE...: the archives that apt would install, including missing dependencies.
Archives() {
    Apt -o Debug::NoLocking=true --simulate install "$@" | sed -n \
        's/^Inst \([^ ]*\) \(\[[^]]*\] \)\{0,1\}(\([^ ]*\) [^)]*\[\([^]]*\)\]).*/\1_\3_\4.deb/p' |
        sed 's/:/%3a/g'
}

# Unpack PACKAGE...: unpacks packages into $packages/root. Its top-level folders are symbolic links
# where the computer's are, so that neither hides the other. The alternative that installing the VNC
# tools would create is created here; set-user-ID bits are removed.
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

# UnpackPackages LOG PACKAGE...: unpacks, for the machines, those that are not installed, with
# messages in LOG. When the installed packages change, everything is unpacked again, from archives
# fetched before, so that both fit together.
UnpackPackages() {
    log=$1
    shift
    command -v dpkg-query >/dev/null || return 0
    if ! mkdir -p "$packages" || ! [ -w "$packages" ]; then
        echo "You cannot write to $packages: remove it, or run this as its owner." >&2
        return 1
    fi
    # One at a time: they share the folders.
    (flock 9 && UnpackMissing "$@") 9>"$packages/lock"
}

# UnpackMissing PACKAGE...: does so.
UnpackMissing() {
    unpacked=$packages/unpacked
    # shellcheck disable=SC2046  # lists of words
    set -- $(printf '%s\n' "$@" $(sed 1d "$unpacked" 2>/dev/null) | sort -u)
    wanted=$(cksum </var/lib/dpkg/status && printf '%s\n' "$@")
    [ "$(cat "$unpacked" 2>/dev/null)" != "$wanted" ] || return 0
    rm -f "$unpacked"
    missing=$(MissingPackages "$@")
    [ -z "$missing" ] || echo "Unpacking packages in build/packages:$missing"
    # shellcheck disable=SC2086  # a list of words
    if ! Unpack $missing </dev/null >"$log" 2>&1; then
        cat "$log" >&2
        echo "Unpacking failed; the messages are in $log." >&2
        return 1
    fi
    echo "$wanted" >"$unpacked"
}

# ForgetMovedBuild FOLDER: cmake refuses a build folder that was moved or copied with the checkout.
# Without its cache, cmake configures it again.
ForgetMovedBuild() {
    grep -Fxqs "CMAKE_HOME_DIRECTORY:INTERNAL=$(pwd -P)" "$1/CMakeCache.txt" ||
        rm -f "$1/CMakeCache.txt"
}
