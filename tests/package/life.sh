#!/bin/sh
# The life of the Debian package, on clean machines: built twice, compared, looked at by lintian;
# installed, upgraded, removed, purged. Takes about ten minutes.
set -eu
cd -- "$(dirname -- "$0")"
./clean /mnt/tests/package/build.sh
./clean /mnt/tests/package/install.sh
