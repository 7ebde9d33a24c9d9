#!/bin/sh
# Tests the Debian package on clean machines: builds it twice and compares, runs lintian, installs,
# upgrades, removes and purges it. Takes about ten minutes.
#
#     tests/package/life.sh
set -eu
cd -- "$(dirname -- "$0")"
setpriv --pdeathsig TERM ./clean /mnt/tests/package/build.sh
setpriv --pdeathsig TERM ./clean /mnt/tests/package/install.sh
