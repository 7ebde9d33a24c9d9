#!/bin/sh
# Builds the package on a clean machine with tools/package, and again without network, in another
# folder, time zone, locale and umask: both are identical, and lintian finds nothing. life.sh runs
# this.
#
#     tests/package/clean /mnt/tests/package/build.sh
#
# The package is left in /tmp/share.
set -eu
# shellcheck source=tests/package/copy.sh
. /mnt/tests/package/copy.sh

first=/root/ifmenu second=/srv/some/other/folder/of/another/length/ifmenu
CopyCheckout $first
CopyCheckout $second
(cd $first && tools/package)
(
    umask 077
    cd $second
    TZ=Pacific/Kiritimati LC_ALL=C unshare --net tools/package
)
for package in "$first"/build/package/*.deb; do
    cmp "$package" "$second/build/package/$(basename "$package")"
    echo "Reproducible: $(basename "$package")"
done

Install lintian >/root/lintian.log 2>&1 || { cat /root/lintian.log && exit 1; }
cd $first/build/package
lintian --allow-root --pedantic --display-info --fail-on error,warning,info,pedantic ./*.changes
echo "lintian: nothing found"
rm -f /tmp/share/*.deb
cp ifmenu_*.deb /tmp/share
