#!/bin/sh
# Builds and runs the whole test suite. The preset can be named: release (the default), debug or sanitize.
set -eu
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(nproc)"
