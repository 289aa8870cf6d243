#!/bin/sh
# Installs the Debian packages that the build and the tests need:
#     scripts/install-deps.sh [PACKAGES…]    and these as well
# Skips what is there; uses sudo when not root.
set -eu

packages="
    ccache clang-19 libclang-rt-19-dev clang-format-19 clang-tidy-19 cmake g++ ninja-build
    qt6-base-dev qt6-image-formats-plugins libqt6svg6 libcli11-dev libmimalloc-dev libsqlite3-dev
    libgtest-dev libgmock-dev libbenchmark-dev libplist-dev
    gobjc++ libpantomime-dev libgnutls28-dev python3-aiosmtpd openssl
    gobjc gnustep-make libgnustep-gui-dev gnustep-back0.29-cairo
    appstream desktop-file-utils dpkg-dev
    git mutt zsh fish python3 time xauth xvfb
    chromium chromium-driver firefox-esr python3-selenium
    at-spi2-core dbus-daemon gir1.2-atspi-2.0 openbox python3-gi xdotool
"

missing=
for package in $packages "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
echo "Installing:$missing"
$as_root apt-get update -qq
# shellcheck disable=SC2086 # names, to be split
DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
