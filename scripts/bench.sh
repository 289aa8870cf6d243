#!/bin/sh
# Measures: the stages that a chat goes through, and whole runs over a folder of chats.
#     scripts/bench.sh [COUNT]    with COUNT chats (2000) of fifty messages each, and with twice as many
set -eu
cd "$(dirname "$0")/.."
count=${1:-2000}
build=build/release
work=$build/bench-chats

scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release --target prattlebug prattlebug_bench >&2
export PYTHONDONTWRITEBYTECODE=1
if [ ! -d "$work/single" ]; then
    /usr/bin/python3 bench/makechats.py single "$work/single.new"
    mv "$work/single.new" "$work/single"
fi
$build/bench/prattlebug_bench "$work/single"
echo
/usr/bin/python3 bench/measure.py "$build/companion/prattlebug" "$work" "$count"
