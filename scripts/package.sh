#!/bin/sh
# Builds the Debian package and, on demand, tries it where nothing else is installed:
#     scripts/package.sh            builds it and prints its path
#     scripts/package.sh --test     also installs it into a fresh Debian, uses it there as somebody else would, and removes
#                                   it again (as root; exits with 77 where no fresh Debian can be made)
set -eu
cd "$(dirname "$0")/.."
build=build/package

scripts/install-deps.sh build package
flags() {
    DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get "$1"
}
cmake --preset package -DCMAKE_CXX_FLAGS="$(flags CPPFLAGS) $(flags CXXFLAGS)" -DCMAKE_EXE_LINKER_FLAGS="$(flags LDFLAGS)" >/dev/null
cmake --build --preset package >&2
rm -rf "$build/made"
cpack --config "$build/CPackConfig.cmake" -B "$build/made" >&2
package=$(find "$PWD/$build/made" -maxdepth 1 -name '*.deb')
echo "$package"
[ "${1:-}" = --test ] || exit 0

trial=$(mktemp -d)
trap 'rm -rf "$trial"' EXIT
trap 'exit 1' HUP INT TERM
cp "$package" "$trial/prattlebug.deb"
cp -a samples scripts/try-package.sh "$trial/"
scripts/fresh-debian.sh "$trial" ./try-package.sh
