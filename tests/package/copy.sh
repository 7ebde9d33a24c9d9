# shellcheck shell=sh
# Read by the scripts that run on a clean machine (tests/package/clean).

# CopyCheckout FOLDER: the checkout without what was built in it.
CopyCheckout() {
    mkdir -p "$1"
    tar -c -C /mnt --exclude=./build --exclude='./build-*' --exclude=./.git . |
        tar -x --no-same-owner -C "$1"
}

# Install PACKAGE...
Install() {
    apt-get --quiet update && apt-get --quiet --yes install --no-install-recommends "$@"
}
