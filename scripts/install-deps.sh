#!/bin/sh
# Installs the Debian packages that a task needs, after saying how much that is:
#     scripts/install-deps.sh [build] [test] [lint] [fuzz] [bench] [package] [coverage]    (all of them if none is named)
# Packages that are there already are skipped. Uses sudo when not root.
set -eu

packages_to() {
    case $1 in
        # The programs and what they load. gnustep-config runs make. A build folder that finds ccache later starts anew.
        build) echo "
            ccache cmake g++ ninja-build pkg-config
            qt6-base-dev qt6-image-formats-plugins libqt6svg6 tzdata libcli11-dev libexpected-dev libgmime-3.0-dev libmimalloc-dev libsqlite3-dev
            gobjc++ libpantomime-dev libgnutls28-dev gnustep-make make" ;;
        # The test library; witnesses that share no code with ours; a mail server and client, shells, a browser, a desktop.
        test) echo "
            libgtest-dev libgmock-dev libplist-dev python3
            gobjc libgnustep-gui-dev gnustep-back0.29-cairo
            appstream desktop-file-utils mutt notmuch openssl python3-aiosmtpd fish zsh
            chromium chromium-driver firefox-esr python3-selenium python3-jsonschema
            at-spi2-core dbus-daemon gir1.2-atspi-2.0 openbox python3-gi xauth xdotool xvfb" ;;
        lint) echo "clang-format-19 clang-tidy-19 git python3 python3-flake8 shellcheck" ;;
        fuzz) echo "clang-19 libclang-rt-19-dev python3" ;;
        bench) echo "libbenchmark-dev gnuplot-nox notmuch python3 time" ;;
        package) echo "dpkg-dev" ;;
        coverage) echo "gcovr" ;;
        *) echo "install-deps.sh: unknown task \"$1\"" >&2; exit 2 ;;
    esac
}

[ $# -gt 0 ] || set -- build test lint fuzz bench package coverage
missing=
for task in "$@"; do
    wanted=$(packages_to "$task")
    for package in $wanted; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing="$missing $package"
    done
done
[ -n "$missing" ] || exit 0

as_root=
[ "$(id -u)" -eq 0 ] || as_root=sudo
echo "Debian packages to install first ($*):$missing" >&2
$as_root apt-get update -qq
# shellcheck disable=SC2086 # names, to be split
LC_ALL=C apt-get install --assume-no --no-install-recommends $missing 2>/dev/null |
    sed -n 's/^[0-9]* upgraded, \([0-9]*\) newly installed.*/With what they depend on, \1 packages./p
            /^Need to get/p; /^After this operation/p' >&2
# shellcheck disable=SC2086
DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
