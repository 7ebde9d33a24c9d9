#!/bin/sh
# Tests enter, as root and as an ordinary user.
#
#     appliance/enter_test.sh
#
# Exit status 0: passed, 1: failed (failures are printed), 77: skipped (no machine can be made).
# shellcheck disable=SC2016,SC2317,SC2329  # expanded in the machine; called by name through Begin
# shellcheck source=appliance/promises.sh
. "${0%/*}/promises.sh"
enter=$appliance/enter

# CopyTo FOLDER: makes another checkout, with what a machine needs: the appliance, and pivot_root
# where it comes from an unpacked package.
CopyTo() {
    mkdir -p "$1/build/packages/root/usr/bin" && cp -R "$appliance" "$1"
    command -v pivot_root >/dev/null ||
        cp "$appliance/../build/packages/root/usr/bin/pivot_root" "$1/build/packages/root/usr/bin"
}

# Enter ARG...: runs enter as the tested user.
Enter() {
    $as "$enter" "$@"
}

CheckCommand() {
    Enter --bare sh -c 'exit 7'
    Promise "The command's exit status is returned" 7 $?
    Enter --bare sh -c 'kill -TERM $$'
    Promise "A command killed by a signal returns 128 + signal" 143 $?
    Promise "Arguments are passed unchanged" "<a  b><><*>" \
        "$(Enter --bare printf '<%s>' 'a  b' '' '*')"
    Promise "Standard input is the caller's" hello "$(echo hello | Enter --bare cat)"
    Promise "The folder is the caller's" "$scratch" "$(cd "$scratch" && Enter --bare pwd)"
    Promise "Signals are at their defaults" 0000000000000000 \
        "$(Enter --bare awk '$1 == "SigIgn:" { print $2 }' /proc/self/status)"
}

CheckMachine() {
    Promise "The command is root" 0 "$(Enter --bare id -u)"
    Promise "The host name is the appliance's" "appliance appliance" \
        "$(Enter --bare sh -c 'echo $(uname -n) $(cat /etc/hostname)')"
    Promise "A bare machine has only lo" "lo" "$(Enter --bare ls /sys/class/net)"
    Promise "A demo machine has its cards, listed without a suffix" \
        "lo: eth0: eth1: wlan0: br0:" \
        "$(Enter --quiet sh -c 'echo $(ip -oneline link | cut -d " " -f 2)')"
    Promise "The cards of the demo machine are up, disabled, without a cable" "up down up 1 0" \
        "$(Enter --quiet sh -c 'for name in eth0 eth1 br0; do
            ip link show "$name" up | grep -q . && printf "up " || printf "down "
        done; echo $(cat /sys/class/net/eth0/carrier /sys/class/net/br0/carrier)')"
    Promise "eth0 has its addresses and its gateway" \
        "192.168.10.20/24 2001:db8:10::20/64 192.168.10.1" \
        "$(Enter --quiet sh -c 'echo $(ip -brief addr show dev eth0 scope global | cut -c 33-) \
            $(ip route show default | cut -d " " -f 3)')"
    Promise "A stand-in is found before the real command" "stand-in" "$(Enter --bare sh -c '
        printf "#!/bin/sh\necho stand-in\n" >/mnt/bin/ip
        chmod +x /mnt/bin/ip
        ip link')"
    Promise "The command is a child of the machine's first process" "1" \
        "$(Enter --bare sh -c 'echo $PPID')"
    Promise "Its pseudo-terminals are its own" "ptmx /dev/pts/0" \
        "$(Enter --bare sh -c 'ls /dev/pts && script -qec tty /dev/null' </dev/null |
            tr -d '\r' | xargs)"
    Promise "The kernel's settings cannot be written" "" \
        "$(Enter --bare sh -c 'echo 1 >/proc/sys/kernel/sysrq && echo written' 2>/dev/null)"
    Promise "The files that the program writes are writable" "" "$(Enter --bare sh -c '
        mkdir -p /etc/network && touch /etc/network/default.wireless &&
        echo renamed >/etc/hostname && cp /etc/network/example /etc/network/02:00:00:00:00:01 &&
        mv /etc/resolv.conf /etc/resolv.conf.disabled &&
        touch /var/made /var/run/made /root/made /tmp/made' 2>&1)"
}

# Every process of the machine holds the pipe: it closes when all have ended.
CheckEnd() {
    for signal in TERM KILL; do
        rm -f "$scratch/pipe of $who"
        mkfifo -m 666 "$scratch/pipe of $who"
        $as "$enter" --bare sh -c 'setsid sleep 600 & echo up; sleep 600' \
            >"$scratch/pipe of $who" 2>/dev/null &
        maker=$!
        exec 8<"$scratch/pipe of $who"
        read -r _ <&8
        kill -s "$signal" "$maker"
        timeout 30 cat <&8 >/dev/null
        Promise "The machine ends when enter gets $signal" 0 $?
        exec 8<&-
        wait "$maker" 2>/dev/null
    done
    Enter --bare sh -c 'setsid sleep 600 & exit 0' | timeout 30 cat
    Promise "The machine ends with its command" 0 $?
}

CheckFolders() {
    odd="$scratch/$who,a:b"
    CopyTo "$odd"
    enter="$odd/${appliance##*/}/enter"
    Promise "A checkout in a folder with an odd name is visible" "$enter" \
        "$(Enter --bare ls "$enter")"
    unpacked="$odd/build/packages/root"
    mkdir -p "$unpacked/usr/bin" "$unpacked/usr/share/unpacked" "$unpacked/etc/unpacked"
    ln -s usr/bin "$unpacked/bin"
    printf '#!/bin/sh\ncat /usr/share/unpacked/words /etc/unpacked/words\n' >"$unpacked/usr/bin/say-it"
    chmod 755 "$unpacked/usr/bin/say-it"
    echo one >"$unpacked/usr/share/unpacked/words"
    echo two >"$unpacked/etc/unpacked/words"
    Promise "Unpacked packages are overlaid on the host's files" \
        "one two true nscd" "$(Enter --bare sh -c \
        'echo $(say-it) $(basename $(command -v true)) $(basename $(command -v nscd))' 2>&1)"
    Promise "Changes to them in a machine do not reach them" "three one two" "$({
        Enter --bare sh -c 'rm -f /usr/share/unpacked/words 2>/dev/null
            rm /etc/unpacked/words && echo three >/etc/unpacked/words && cat /etc/unpacked/words'
        cat "$unpacked/usr/share/unpacked/words" "$unpacked/etc/unpacked/words"
        } | xargs)"
    rm -rf "$odd"
    enter=$appliance/enter
}

# CheckFileSystems: the checkout, or /etc, may be on a separate file system, mounted where the
# machine has an overlay, its scratch space or an empty folder. Only root can set that up.
CheckFileSystems() {
    seen=$(unshare --mount sh -c 'mount --bind /etc /etc && "$1" --bare cat /etc/hostname' \
        sh "$enter")
    Promise "The appliance's files are overlaid on a separate /etc too" appliance "$seen"
    for folder in /home /mnt /run; do
        [ -d "$folder" ] || continue
        CopyTo "$scratch/checkout"
        seen=$(unshare --mount sh -c 'mount -t tmpfs test "$1" && cp -R "$2" "$1" &&
            "$1/checkout/${3##*/}/enter" --bare ls "$1/checkout"' \
            sh "$folder" "$scratch/checkout" "$appliance" | xargs)
        Promise "A checkout on a separate file system in $folder is visible" \
            "${appliance##*/} build" "$seen"
    done
}

BeginAll() {
    Begin CheckCommand CheckMachine
    Begin CheckEnd CheckFolders
}

BeginAll
[ "$(id -u)" != 0 ] || Begin CheckFileSystems
if BecomeOrdinary; then
    BeginAll
fi
Finish
