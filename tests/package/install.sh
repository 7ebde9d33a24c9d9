#!/bin/sh
# Tests the package in /tmp/share on a clean machine: it installs its own files, none of them in
# /etc, runs, upgrades an older version, and leaves nothing after removal and purge. The operator's
# settings never change. life.sh runs this after build.sh.
#
#     tests/package/clean /mnt/tests/package/install.sh
set -eu
# shellcheck source=tests/package/copy.sh
. /mnt/tests/package/copy.sh

package=$(echo /tmp/share/ifmenu_*.deb)

# The same package as an older version.
dpkg-deb --raw-extract "$package" /root/older
sed -i 's/^Version: .*/Version: 0.9/' /root/older/DEBIAN/control
dpkg-deb --build /root/older /root/older.deb >/dev/null

# Its dependencies are installed first: later changes come from the package itself.
depends=$(dpkg-deb --field "$package" Depends | sed -e 's/([^)]*)//g' -e 's/,/ /g')
# shellcheck disable=SC2086  # a list of words
Install $depends >/root/install.log 2>&1 || { cat /root/install.log && exit 1; }

# An operator's settings, of all kinds.
mkdir -p /etc/network /etc/samba /etc/TAVRIN
for file in network/02:00:00:00:10:20 network/example network/default.wireless hostname hosts \
    ntp.conf vsftpd.conf vsftpd.conf.disabled samba/smb.conf TAVRIN/disable.reporting \
    caption-sync.disabled local.desktop.vnc local.desktop.vnc.passwd local.desktop.webui.ctl; do
    echo "the operator's own $file" >"/etc/$file"
    touch -d '2020-02-02 02:02:02' "/etc/$file"
done
chmod 600 /etc/network/02:00:00:00:10:20 /etc/local.desktop.vnc.passwd
chown 1000:1000 /etc/network/example

# Look FILE: saves the state of /etc, and the names of all other files except the package tools'.
Look() {
    {
        find /etc -printf '%p %y %m %U %G %T@ %l\n'
        find /etc -type f -exec sha256sum {} +
        find / -xdev \( -path /var/lib/dpkg -o -path /var/log -o -path /var/cache -o -path /root \
            -o -path /var/lib/apt -o -path /tmp \) -prune -o -print
    } | sort >"$1"
}

# Unchanged WHAT: nothing has changed since before the installation, except the package's own files.
Unchanged() {
    Look /root/now
    dpkg --listfiles ifmenu 2>/dev/null | sort >/root/own || true
    comm -13 /root/before /root/now | grep -Fvx -f /root/own >/root/new || true
    comm -23 /root/before /root/now >/root/gone
    if [ -s /root/new ] || [ -s /root/gone ]; then
        echo "$1 changed:"
        cat /root/new /root/gone
        exit 1
    fi
    echo "$1: no other changes"
}

# Works: the program runs, and the manual pages are installed.
Works() {
    status=0
    ifmenu --help 2>/root/help || status=$?
    [ $status = 1 ] && grep -q '^Tavrin 4' /root/help
    for page in man8/ifmenu.8 man5/ifmenu-network.5 man7/ifmenu-recipes.7; do
        [ -e /usr/share/man/$page.gz ] || return
    done
}

Look /root/before
dpkg --install /root/older.deb >/root/dpkg.log 2>&1
Works
Unchanged "The installation"
apt-get --quiet --yes install --no-install-recommends "$package" >/root/dpkg.log 2>&1
[ "$(dpkg-query --show --showformat='${Version}' ifmenu)" = \
    "$(dpkg-deb --field "$package" Version)" ]
Works
Unchanged "The upgrade"
apt-get --quiet --yes remove ifmenu >/root/dpkg.log 2>&1
[ ! -e /usr/sbin/ifmenu ]
Unchanged "The removal"
apt-get --quiet --yes install --no-install-recommends "$package" >/root/dpkg.log 2>&1
apt-get --quiet --yes purge ifmenu >/root/dpkg.log 2>&1
Unchanged "The purge"
