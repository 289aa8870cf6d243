#!/bin/sh
# Builds and runs the whole test suite:
#     scripts/test.sh [--thorough] [PRESET]
# PRESET is release (the default), debug, sanitize or without-mail. With --thorough the samples are damaged in every place,
# not in some: many minutes more.
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = --thorough ]; then
    export PRATTLEBUG_THOROUGH=1
    shift
fi
preset=${1:-release}

scripts/install-deps.sh build test
cmake --preset "$preset" -DPRATTLEBUG_TESTS=ON >/dev/null
cmake --build --preset "$preset"
# Two more than there are processors: some tests wait for a window, a server or the disk most of the time.
ctest --preset "$preset" --no-tests=error --parallel "$(($(nproc) + 2))"
