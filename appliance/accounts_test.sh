#!/bin/sh
# Tests the demo's SMB/CIFS accounts: its tools act and print like Samba's.
#
#     appliance/accounts_test.sh
#
# Exit status 0: passed, 1: failed (failures are printed), 77: skipped (no machine can be made).
# shellcheck disable=SC2016,SC2317,SC2329  # expanded in the machine; called by name through Begin
# shellcheck source=appliance/promises.sh
. "${0%/*}/promises.sh"

# Sourced by the shells in the machine.
cat >"$scratch/common" <<'END'
# Flags: prints each account's name and flags on a line.
Flags() {
    pdbedit --list --verbose | sed -n 's/^Unix username: *//p; s/^Account Flags: *//p' |
        paste -d ' ' - - | sort
}
END

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

Begin CheckUsers
[ "$(id -u)" != 0 ] || Begin CheckAgainstSamba
if BecomeOrdinary; then
    Begin CheckUsers
fi
Finish
