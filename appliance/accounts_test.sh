#!/bin/sh
# Tests the demo's SMB/CIFS accounts: its tools act and print like Samba's.
#
#     appliance/accounts_test.sh
#
# Exit status 0: passed, 1: failed (failures are printed), 77: skipped (no machine can be made).
# shellcheck disable=SC2016  # expanded by the shells in the machine
set -u
appliance=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd -P)
PATH=$PATH:/usr/sbin:/sbin
"$appliance/enter" --bare true || exit 77
broken=0

# Promise WORDS EXPECTED ACTUAL: WORDS hold if both are equal.
Promise() {
    [ "$2" = "$3" ] && return
    printf '%s (%s)\n    expected: %s\n    seen:     %s\n' "$1" "$who" "$2" "$3"
    broken=1
}

# Flags: prints each account's name and flags on a line.
flags='Flags() { pdbedit --list --verbose |
    sed -n "s/^Unix username: *//p; s/^Account Flags: *//p" | paste -d " " - - | sort; }'

# Demo SCRIPT: runs a shell script on the demo machine.
Demo() {
    $as "$appliance/enter" --quiet sh -c "$flags; $1" 2>&1
}

CheckUsers() {
    Promise "Disabling shows for every user, and setting a password enables" \
        "editor [U          ]
guest [NDU        ]
ingest [DU         ]
editor [DU         ]
guest [DU         ]
ingest [DU         ]
editor [U          ]
guest [U          ]
ingest [U          ]" "$(Demo '
        Flags
        users=$(Flags | cut -d " " -f 1)
        for user in $users; do printf "pw\npw\n" | smbpasswd -a -s "$user"; done
        for user in $users; do smbpasswd -d "$user" >/dev/null; done
        Flags
        for user in $users; do printf "pw\npw\n" | smbpasswd -a -s "$user"; done
        Flags')"
    Promise "An account needs a system account" "1 Failed to add entry for user nobody-here." \
        "$(Demo 'said=$(smbpasswd -a -d -n nobody-here 2>&1); echo $? $said')"
}

# CheckAgainstSamba: compares both for an account, from its creation to its removal.
CheckAgainstSamba() {
    [ -x /usr/bin/smbpasswd ] && [ -x /usr/bin/pdbedit ] || return 0
    for path in "$PATH" "/mnt/bin:$PATH"; do
        seen=$(Demo "PATH=$path"'
            Try() { "$@" </dev/null 2>&1; echo "[$?]"; }
            Set() { printf "%s\n%s\n" "$1" "$2" | smbpasswd -a -s "$3" 2>&1; echo "[$?]"; }
            Daemon() { Flags | grep ^daemon; }
            for option in -d -e -x "-a -d -n" -d -e "-a -d -n"; do
                Try smbpasswd $option daemon
                Daemon
            done
            Set one two daemon; Daemon
            Set one one daemon; Daemon
            for option in -d -e "-a -d -n"; do
                Try smbpasswd $option daemon
                Daemon
            done
            Set one one daemon; Daemon
            Try smbpasswd -d daemon
            Set one one daemon; Daemon
            Try smbpasswd -x daemon; Daemon
            Set one one daemon; Daemon
            Try smbpasswd -a -d -n nobody-here
            Set one one nobody-here')
        [ "$path" != "$PATH" ] || real=$seen
    done
    Promise "The answers are those of Samba" "$real" "$seen"
}

who="this user" as=
CheckUsers
if [ "$(id -u)" = 0 ]; then
    CheckAgainstSamba
    ordinary="setpriv --reuid 65534 --regid 65534 --clear-groups"
    if $ordinary "$appliance/enter" --bare true 2>/dev/null; then
        who="an ordinary user" as=$ordinary
        CheckUsers
    fi
fi
exit $broken
