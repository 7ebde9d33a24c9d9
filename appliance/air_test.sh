#!/bin/sh
# Tests the demo's Wi-Fi: its supplicant answers and joins networks like the real one.
#
#     appliance/air_test.sh
#
# Exit status 0: passed, 1: failed (failures are printed), 77: skipped (no machine can be made).
# shellcheck disable=SC2016,SC2317,SC2329  # expanded in the machine; called by name through Begin
# shellcheck source=appliance/promises.sh
. "${0%/*}/promises.sh"

# Sourced by the shells in the machine.
cat >"$scratch/common" <<'END_OF_COMMON'
# Configure SETTING...: adds a network with these "name value" settings and selects it, as the
# program does.
Configure() {
    id=$(wpa_cli -i wlan0 add_network)
    for setting; do
        wpa_cli -i wlan0 set_network "$id" "${setting%% *}" "${setting#* }"
    done
    wpa_cli -i wlan0 enable_network "$id"
    wpa_cli -i wlan0 select_network "$id"
    wpa_cli -i wlan0 set update_config 1
    wpa_cli -i wlan0 save_config
}

# Joined: prints the current network and its access point.
Joined() {
    echo "$(sed -n 's/^wlan0 essid //p' /run/air/cards), $(sed -n 's/^wlan0 ap //p' /run/air/cards)"
}

Known() {
    wpa_cli -i wlan0 list_networks | tail -n +2
}
END_OF_COMMON

CheckJoining() {
    Promise "A network is joined with its passphrase" "Backstage, 02:00:00:00:20:07" "$(Demo '
        Configure "ssid \"Backstage\"" "psk \"behind the stage\"" >/dev/null
        Joined')"
    Promise "With a wrong passphrase no network is joined" ", 00:00:00:00:00:00" "$(Demo '
        Configure "ssid \"Backstage\"" "psk \"in front of it\"" >/dev/null
        Joined')"
    Promise "The passphrases in README.md are right" "studio Backstage Café vault" \
        "$(sed -n '/^| Network |/,/^$/s/^| `\([^`]*\)` | `\([^`]*\)` .*/\1|\2/p' \
            "$appliance/README.md" | while IFS='|' read -r name passphrase; do
            seen=$(Demo "Configure 'scan_ssid 1' 'ssid \"$name\"' 'psk \"$passphrase\"' >/dev/null
                Joined")
            case $seen in
            ", "*) ;;
            *) echo "${name%% *}" ;;
            esac
        done | xargs)"
    Promise "A network whose name is not ASCII is joined by its address, and listed twice" \
        "Caf\\xc3\\xa9 Lumi\\xc3\\xa8re, 02:00:00:00:20:23
1		02:00:00:00:20:23	[CURRENT]
02:00:00:00:20:23 Caf\\xc3\\xa9 Lumi\\xc3\\xa8re" "$(Demo '
        Configure "bssid 02:00:00:00:20:23" "key_mgmt WPA-PSK" "psk \"croissant au beurre\"" \
            >/dev/null
        Joined
        Known | tail -n 1
        wpa_cli -i wlan0 scan >/dev/null
        wpa_cli -i wlan0 scan_result | sed -n "s/^\(02:00:00:00:20:23\).*\t/\1 /p"')"
    Promise "A short passphrase is refused, and the current network is lost until any is selected" \
        "OK OK FAIL OK OK OK OK
, 00:00:00:00:00:00
0	studio	any	[DISABLED]
1	Backstage	02:00:00:00:20:07	
studio, 02:00:00:00:20:01" "$(Demo '
        echo $(Configure "ssid \"Backstage\"" "bssid 02:00:00:00:20:07" "psk \"7 chars\"")
        Joined
        Known
        wpa_cli -i wlan0 select_network any >/dev/null
        Joined')"
}

# Recipe SECTION NAME VALUE...: the commands of the manual there, for the network that is added first,
# with values of the demo in the place of its own.
Recipe() {
    commands=$(sed -n "/^\.Ss $1/,/^\.Ed/s/^wpa_cli/&/p" "$appliance/../man/ifmenu-recipes.7" |
        sed -e /add_network/d -e 's/network 3/network 1/')
    shift
    while [ $# -gt 0 ]; do
        commands=$(echo "$commands" | sed "s/$1/$2/")
        shift 2
    done
    echo "{ $commands; } >/dev/null"
}

# What the program cannot join, and the commands of its manual do.
CheckCommands() {
    Promise "An open network is joined without a key" "guests, 02:00:00:00:20:11" "$(Demo "
        wpa_cli -i wlan0 add_network >/dev/null
        $(Recipe "Open networks")
        Joined")"
    Promise "An open network is not joined as a protected one" ", 00:00:00:00:00:00" "$(Demo '
        Configure "ssid \"guests\"" "key_mgmt WPA-PSK" "psk \"any passphrase\"" >/dev/null
        Joined')"
    Promise "A hidden network is not joined by its name alone" ", 00:00:00:00:00:00" "$(Demo '
        Configure "ssid \"vault\"" "psk \"nobody home\"" >/dev/null
        Joined')"
    Promise "A hidden network is joined by its name, when that is looked for" \
        "vault, 02:00:00:00:20:19" "$(Demo "
        wpa_cli -i wlan0 add_network >/dev/null
        $(Recipe "Hidden networks" cellar vault "secret or longer" "nobody home")
        Joined")"
    Promise "A network without its name gets it in hexadecimal digits" \
        "Caf\\xc3\\xa9 Lumi\\xc3\\xa8re, 02:00:00:00:20:23
1	Caf\\xc3\\xa9 Lumi\\xc3\\xa8re	any	[CURRENT]
OK OK FAIL" "$(Demo "
        Configure 'bssid 02:00:00:00:20:23' 'psk \"croissant au beurre\"' >/dev/null
        $(Recipe "Names that" 636166c3a9 436166c3a9204c756d69c3a87265)
        Joined
        Known | tail -n 1
        for value in 636166c3a9 '\"plain\"' plain; do
            wpa_cli -i wlan0 set_network 1 ssid \"\$value\"
        done | xargs")"
}

BeginAll() {
    Begin CheckJoining
    Begin CheckCommands
}

BeginAll
if BecomeOrdinary; then
    BeginAll
fi
Finish
