#!/bin/sh
# Builds and runs the whole test suite. The preset can be named: release (the default), debug, sanitize or without-mail.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install-deps.sh build test
cmake --preset "$preset" -DPRATTLEBUG_TESTS=ON >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(nproc)"
