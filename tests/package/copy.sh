# shellcheck shell=sh
# Shared by the scripts that run on a clean machine (tests/package/clean).
#
#     . /mnt/tests/package/copy.sh

# CopyCheckout FOLDER: copies the checkout without its builds.
CopyCheckout() {
    mkdir -p "$1"
    tar -c -C /mnt --exclude=./build --exclude='./build-*' --exclude=./.git . |
        tar -x --no-same-owner -C "$1"
}

# Install PACKAGE...: installs Debian packages.
Install() {
    apt-get --quiet update && apt-get --quiet --yes install --no-install-recommends "$@"
}
