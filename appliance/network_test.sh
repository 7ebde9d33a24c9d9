#!/bin/sh
# Tests the demo's /etc/init.d/network, as root and as an ordinary user: a stop undoes a start, a
# settings file may contain anything, and every wait ends.
#
#     appliance/network_test.sh
#
# Exit status 0: passed, 1: failed (failures are printed), 77: skipped (no machine can be made).
# shellcheck disable=SC2016,SC2317,SC2329  # expanded in the machine; called by name through Begin
# shellcheck source=appliance/promises.sh
. "${0%/*}/promises.sh"

# Sourced by the shells in the machine; they test with eth1.
cat >"$scratch/common" <<'END'
file=/etc/network/02:00:00:00:10:21
network=/etc/init.d/network

# Settings LINE...: sets the card's settings to the template's plus these lines.
Settings() {
    { cat /etc/network/example && printf '%s\n' "$@"; } >$file
}

# Picture: everything that a start of eth1 may change. Left out is what changes on its own:
# lifetimes, tentative addresses, and eth0, which hears its router.
Picture() {
    {
        ip -oneline addr show dev eth1 | sed 's/tentative //; s/valid_lft.*//'
        ip -oneline link show dev eth1 | sed 's/ qdisc .*//'
        ip -4 route show table all
        ip -6 route | sed 's/ expires [^ ]*//'
        sysctl -a --pattern '^net\.ipv[46]\.(ip_forward|conf\.)' 2>/dev/null
        nft list ruleset 2>/dev/null
        cat /etc/resolv.conf
        echo "clients: $(pgrep -c -f 'dhclient.* eth1$')"
    } | grep -v ' dev eth0'
}

# Await CONDITION: waits until the command line succeeds, at most ten seconds.
Await() {
    for _ in $(seq 200); do
        if eval "$1"; then return; fi
        sleep 0.05
    done
    return 1
}
END

# Sourced in addition by those of CheckWireless: eth1 gets a radio's files in /sys; the supplicant
# and its client are stand-ins. The client reports the network in /run/ssid.
cat >"$scratch/wireless" <<'END'
folder=$(readlink -f /sys/class/net/eth1)
mkdir -p /mnt/radio/upper/phy80211 /mnt/radio/work /mnt/radio/bin
echo 0 >/mnt/radio/upper/phy80211/index
for kind in rw userxattr; do
    ! (cd "$folder" && mount -t overlay eth1 "$folder" \
        -o "$kind,lowerdir=.,upperdir=/mnt/radio/upper,workdir=/mnt/radio/work") 2>/dev/null || break
done
cp "$(command -v sleep)" /mnt/radio/bin/wpa_supplicant
printf '#!/bin/sh\necho "$@" >>/run/supplicant
while [ $# -gt 0 ]; do [ "$1" != -P ] || file=$2; shift; done
setsid /mnt/radio/bin/wpa_supplicant 600 </dev/null >/dev/null 2>&1 &
until [ "$(readlink /proc/$!/exe)" = /mnt/radio/bin/wpa_supplicant ]; do sleep 0.01; done
echo $! >$file
' >/mnt/bin/wpa_supplicant
chmod +x /mnt/bin/wpa_supplicant
rm /mnt/bin/wpa_cli
printf '#!/bin/sh\nif [ "$3" = status ]; then cat /run/ssid; else echo "$@" >>/run/client; fi
' >/mnt/bin/wpa_cli
chmod +x /mnt/bin/wpa_cli
pid=/var/network/02:00:00:00:10:21/wpa_supplicant.pid
Settings "dhcp = 0" "static ip = 192.168.21.5"
END

CheckStop() {
    Promise "A stop undoes a start, with all settings on" "" "$(Demo '
        cd /run
        $network stop eth1 >/dev/null
        Picture >before
        Settings "dhcp6 = 1" "dns = 192.0.2.53" "static ip6 = 2001:db8:21::5/64" \
            "nat enable = 1" "nat role = public"
        $network start eth1 >/dev/null
        Await "ip -6 route | grep -q default.*eth1" || echo "no advertisement"
        Picture >during
        ! cmp -s before during || echo "no start"
        $network stop eth1 >/dev/null
        Picture >after
        diff before after')"
    Promise "A stop undoes a start without IPv6" "" "$(Demo '
        cd /run
        $network stop eth1 >/dev/null
        Picture >before
        Settings "enable_ip6 = 0" "dhcp = 0" "static ip = 192.168.21.5" "gateway = 192.168.21.1"
        $network start eth1 >/dev/null
        Picture >during
        ! cmp -s before during || echo "no start"
        $network stop eth1 >/dev/null
        Picture >after
        diff before after')"
    Promise "A start after a start changes nothing" "" "$(Demo '
        cd /run
        Settings "dhcp6 = 1" "ipv6_router_adv = 0" "nat enable = 1" "nat role = lan"
        $network start eth1 >/dev/null
        Picture >once
        $network start eth1 >/dev/null
        Picture >twice
        diff once twice')"
    Promise "Translation stays while another interface has a role" "1 1 0" "$(Demo '
        Settings "dhcp = 0" "nat enable = 1" "nat role = public"
        cp $file /etc/network/02:00:00:00:10:30
        Forwards() { cat /proc/sys/net/ipv4/ip_forward; }
        $network start eth1 >/dev/null
        $network start br0 >/dev/null
        one=$(Forwards)
        $network stop eth1 >/dev/null
        two=$(Forwards)
        $network stop br0 >/dev/null
        echo "$one $two $(Forwards)"')"
}

CheckValues() {
    Promise "Values are data" "" "$(Demo '
        for value in "\$(touch /run/owned)" "\`touch /run/owned\`" ";touch /run/owned" \
            "\" ;touch /run/owned; \"" "-help" "*" "dev lo" "help" "a\\cb" "%s%n"; do
            Settings "dhcp = 0" "dhcp6 = $value" "static ip = $value" "gateway = $value" \
                "static ip6 = $value" "dns = $value" "nat enable = 1" "nat role = $value" \
                "enable_ip6 = $value" "dhcp_gw = $value"
            $network start eth1 >/dev/null 2>&1 || echo "status $?: $value"
            Settings "dhcp = $value" "static ip = 192.168.21.5" "gateway = $value" \
                "static ip netmask = $value"
            $network start eth1 >/dev/null 2>&1 || echo "status $?: $value"
            Settings "manage = $value" "disabled = $value"
            $network start eth1 >/dev/null 2>&1 || echo "status $?: $value"
        done
        [ ! -e /run/owned ] || echo "a value was run"')"
    Promise "An invalid value leaves the other settings in force" \
        "192.168.21.5/24 2001:db8:21::5/64 192.0.2.53" "$(Demo '
        Settings "dhcp = 0" "ipv6_router_adv = 0" "static ip = 192.168.21.5" "gateway = 10.9.9.9" \
            "static ip6 = 2001:db8:21::5/64" "dns = nobody 192.0.2.53" "nat enable = 1" \
            "nat role = wan"
        $network start eth1 >/dev/null 2>&1
        echo $(ip -brief addr show dev eth1 scope global | cut -c 33-) \
            $(sed -n "s/nameserver 192.0.2/192.0.2/p" /etc/resolv.conf)')"
    Promise "An invalid value is reported as plain text" "eth1: static ip = ?[31m1.2: not an IPv4 address" \
        "$(Demo '
        Settings "dhcp = 0" "enable_ip6 = 0" "static ip = ?$(printf "\033")[31m1.2"
        $network start eth1 2>&1 >/dev/null')"
    Promise "Values are read as the settings editor reads them" \
        "1 on: on; 0 on: off; -1: off; yes: off; 5x: on; oN: on; 007: on; +3: on; 0x1: off; : off; on : off; " "$(Demo '
        for value in "1 on" "0 on" -1 yes 5x oN 007 +3 0x1 "" "on "; do
            Settings "dhcp = 0" "disabled = $value"
            state=off
            ! $network start eth1 | grep -q disabled || state=on
            printf "%s: %s; " "$value" $state
        done')"
    Promise "Lines are read as the settings editor reads them" "192.168.21.7/16" "$(Demo '
        Settings "dhcp=1" "dhcp   =   0" "	static ip = 192.168.21.5" "  static ip = 192.168.21.7" \
            "# static ip = 192.168.21.8" "static ip= 192.168.21.9" "Static IP = 192.168.21.10" \
            "enable_ip6 = 0" "$(printf "static ip netmask = 255.255.0.0 \r")" "no equals sign" "="
        $network start eth1 >/dev/null
        echo $(ip -brief addr show dev eth1 | cut -c 33-)')"
}

CheckFiles() {
    Promise "A settings file may be missing or contain anything" "" "$(Demo '
        Try() {
            timeout 20 $network start eth1 >/dev/null 2>&1 || echo "$1: status $?"
            ip link show dev eth1 up | grep -q eth1 || echo "$1: not up"
            timeout 20 $network stop eth1 >/dev/null 2>&1 || echo "$1: stop: status $?"
            rm -rf $file
        }
        rm -f $file
        Try missing
        : >$file
        Try empty
        mkdir $file
        Try "a folder"
        mkfifo $file
        Try "a pipe"
        ln -s /nowhere $file
        Try "a link to nowhere"
        head -c 100000 /dev/zero | tr "\0" "=" >$file
        Try "a long line"
        yes "dns = 192.0.2.1" | head -n 20000 >$file
        Try "many lines"
        head -c 4000 /bin/sh >$file
        Try "a program"')"
    Promise "An unknown interface is refused" "1 1 1" "$(Demo '
        for name in eth7 .. "-a b"; do
            $network start "$name" >/dev/null 2>&1
            echo $?
        done' | xargs)"
}

CheckServers() {
    Promise "The client keeps asking a silent server" \
        "eth1: no answer from a DHCP server yet, still asking; 192.168.21.21/24; 0" "$(Demo '
        kill -STOP $(pidof dnsmasq)
        Settings "enable_ip6 = 0"
        printf "%s; " "$($network start eth1 | tail -n 1)"
        kill -CONT $(pidof dnsmasq)
        Await "ip -4 addr show dev eth1 | grep -q inet"
        printf "%s; " $(ip -brief addr show dev eth1 | cut -c 33-)
        $network stop eth1 >/dev/null
        pgrep -c -f "dhclient.* eth1$"')"
    Promise "Without a link start does not wait" "br0: no link yet; DHCP starts when there is one" "$(Demo '
        cp /etc/network/example /etc/network/02:00:00:00:10:30
        timeout 4 $network start br0 | sed -n 2p')"
    Promise "The client ends when the interface is no longer managed" "1 0 192.168.21.21/24" \
        "$(Demo '
        Settings "enable_ip6 = 0"
        $network start eth1 >/dev/null
        before=$(pgrep -c -f "dhclient.* eth1$")
        Settings "manage = 0"
        $network stop eth1 >/dev/null
        echo $before $(pgrep -c -f "dhclient.* eth1$") $(ip -brief addr show dev eth1 | cut -c 33-)')"
}

CheckWireless() {
    Promise "A wireless card has a supplicant from its start to its stop" \
        "-B -D nl80211,wext -i eth1 -c /etc/network/02:00:00:00:10:21.wireless\
 -O /run/wpa_supplicant -P /var/network/02:00:00:00:10:21/wpa_supplicant.pid
wpa_supplicant
gone no-file" "$(Demo '. "$1/wireless"
        $network start eth1 >/dev/null
        cat /run/supplicant
        one=$(cat $pid)
        cat /proc/$one/comm
        $network stop eth1 >/dev/null
        [ -e /proc/$one ] && printf "there " || printf "gone "
        [ -e $pid ] && echo file || echo no-file')"
    Promise "A second start replaces the supplicant" "1 other" "$(Demo '. "$1/wireless"
        $network start eth1 >/dev/null
        one=$(cat $pid)
        $network start eth1 >/dev/null
        printf "%s " "$(pidof /mnt/radio/bin/wpa_supplicant | wc -w)"
        [ "$(cat $pid)" = $one ] && echo same || echo other')"
    Promise "Its networks are for root only, and start with those of default.wireless" \
        "600 network={} 600 mine" "$(Demo '. "$1/wireless"
        echo "network={}" >/etc/network/default.wireless
        own=/etc/network/02:00:00:00:10:21.wireless
        $network start eth1 >/dev/null
        printf "%s " "$(stat -c %a $own) $(cat $own)"
        echo mine >$own
        $network start eth1 >/dev/null
        echo "$(stat -c %a $own) $(cat $own)"')"
    Promise "A process is not killed because its pid is in the file" "there" "$(Demo '. "$1/wireless"
        mkdir -p ${pid%/*}
        sleep 600 & other=$!
        echo $other >$pid
        $network start eth1 >/dev/null
        [ -e /proc/$other ] && echo there || echo gone')"
    Promise "A card that is not managed keeps its supplicant" "there" "$(Demo '. "$1/wireless"
        $network start eth1 >/dev/null
        Settings "manage = 0"
        $network stop eth1 >/dev/null
        [ -e /proc/$(cat $pid) ] && echo there || echo gone')"
    Promise "An address is requested again on another network, and kept on the same one" \
        "1 2 2 3" "$(Demo '. "$1/wireless"
        Settings "enable_ip6 = 0"
        Asked() { grep -c DHCPDISCOVER /run/router/log; }
        asked=$(Asked)
        Join() {
            echo "ssid=$1" >/run/ssid
            sh -c "$(sed -n "s/.* -a \([^ ]*\) .*/\1/p" /run/client | tail -n 1) eth1 CONNECTED"
            Await "grep -qsx $1 /run/network/eth1.network"
            flock /run/network/eth1.lock true
        }
        $network start eth1 >/dev/null
        printf "%s " $(($(Asked) - asked))
        Join one
        printf "%s " $(($(Asked) - asked))
        sh -c "$(sed -n "s/.* -a \([^ ]*\) .*/\1/p" /run/client | tail -n 1) eth1 DISCONNECTED"
        Join one
        printf "%s " $(($(Asked) - asked))
        Join two
        printf "%s\n" $(($(Asked) - asked))')"
}

# CheckOthers: hwsim0 is not a card; here a tunnel stands for it.
CheckOthers() {
    [ -w /dev/net/tun ] || return 0
    Promise "all means the cards of the machine and nothing else" "br0 eth0 eth1 wlan0, tun0 up" \
        "$(Demo 'ip tuntap add dev tun0 mode tun && ip link set tun0 up || exit
        echo $($network stop all | sed -n "s/: stopping//p" | sort), $(ip -oneline link show up |
            sed -n "s/.* \(tun0\): .*/\1 up/p")')"
}

CheckNames() {
    Promise "Names resolve, and the ping test's host answers" \
        "PING dns.quad9.net (9.9.9.9) 64 bytes from dns.quad9.net (9.9.9.9)" "$(Demo '
        ping -c 1 -W 5 dns.quad9.net >/run/ping
        echo $(sed -n "s/^\(PING [^)]*)\).*/\1/p; s/^\(64.*)\).*/\1/p" /run/ping)')"
    Promise "Without its router no name resolves" "2" "$(Demo '
        $network stop eth0 >/dev/null
        ping -c 1 -W 5 dns.quad9.net >/run/ping 2>/dev/null
        echo $? $(cat /run/ping)')"
    Promise "The time servers' names resolve" "192.168.10.1 192.168.10.1" "$(Demo '
        for name in $(sed -n "s/^server //p" /etc/ntp.conf | cut -d " " -f 1); do
            getent ahostsv4 "$name" | head -n 1 | cut -d " " -f 1
        done | xargs')"
}

# CheckMissing: only root can remove programs in the machine.
CheckMissing() {
    Promise "Missing programs are reported, and the rest works" \
        "eth1: nft is missing (Debian: nftables): no NAT
eth1: dhclient is missing (Debian: isc-dhcp-client): no address from a server
2001:db8:21::5/64" "$(Demo '
        rm "$(readlink -f "$(command -v nft)")" "$(readlink -f "$(command -v dhclient)")"
        Settings "ipv6_router_adv = 0" "static ip6 = 2001:db8:21::5/64" "nat enable = 1" \
            "nat role = lan"
        $network start eth1 | grep missing
        echo $(ip -brief addr show dev eth1 scope global | cut -c 33-)')"
}

Begin CheckServers
Begin CheckValues CheckFiles
Begin CheckStop
Begin CheckWireless
if [ "$(id -u)" = 0 ]; then
    Begin CheckNames CheckMissing CheckOthers
else
    Begin CheckNames
fi
if BecomeOrdinary; then
    Begin CheckStop CheckWireless CheckNames
fi
Finish
