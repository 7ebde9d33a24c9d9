#!/bin/sh
# Runs the package's own test (debian/tests) on a clean machine, as Debian does: builds the package,
# installs it with the test's dependencies, and runs the end-to-end tests on the installed program.
# Takes about twenty minutes.
#
#     tests/package/suite.sh
set -eu
if [ "${1-}" != --here ]; then
    cd -- "$(dirname -- "$0")"
    exec ./clean /mnt/tests/package/suite.sh --here
fi

# On the clean machine.
# shellcheck source=tests/package/copy.sh
. /mnt/tests/package/copy.sh
# The test's dependencies include servers, and the network is the computer's: keep them from
# starting.
printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
chmod 755 /usr/sbin/policy-rc.d
CopyCheckout /root/ifmenu
cd /root/ifmenu
# shellcheck source=tools/building.sh
. tools/building.sh
Offered isc-dhcp-client || StableToo /etc/apt/sources.list.d /etc/apt/preferences.d/stable
tools/package
Install autopkgtest >/root/autopkgtest.log 2>&1 || { cat /root/autopkgtest.log && exit 1; }
autopkgtest --no-built-binaries build/package/ifmenu_*.deb /root/ifmenu/ -- null
