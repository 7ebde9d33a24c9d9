#!/bin/sh
# Tests the Debian package on clean machines: builds it twice and compares, runs lintian, installs,
# upgrades, removes and purges it. Takes about ten minutes.
#
#     tests/package/life.sh
set -eu
cd -- "$(dirname -- "$0")"
./clean /mnt/tests/package/build.sh
./clean /mnt/tests/package/install.sh
