#!/bin/sh
# Fuzzes every reader, two at a time, for as many seconds each as are given (30 when not), and sums up. What the fuzzers
# find interesting is kept in build/fuzz/corpus and gone on from the next time; an input that is a fault goes to
# build/fuzz/faults and fails the script. Its fix goes with that input into fuzz/regressions/NAME, which the tests replay.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-30}

scripts/install-deps.sh build fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# One input may take a minute, on a machine that has other work, and half a gigabyte, sanitizers included; decoding itself
# is bound more narrowly.
# shellcheck disable=SC2016 # for the shell that xargs starts
fuzz_one='
    name=$1
    build=build/fuzz
    mkdir -p "$build/corpus/$name" "$build/faults" "$build/logs"
    largest=65536
    [ "$name" = picture ] && largest=1048576 # a larger file of an odd kind is not looked at
    regressions=fuzz/regressions/$name
    [ -d "$regressions" ] || regressions=
    "$build/fuzz/fuzz_$name" -max_total_time="$2" -timeout=60 -rss_limit_mb=2048 -malloc_limit_mb=512 -max_len="$largest" \
        -print_final_stats=1 -artifact_prefix="$build/faults/$name-" \
        "$build/corpus/$name" "$build/fuzz/seeds/$name" $regressions >"$build/logs/$name" 2>&1 || {
        echo "fuzz_$name: a fault" && tail -n 60 "$build/logs/$name"
        exit 1
    }
    sed -n "s/.*DONE *\(cov: [0-9]*\).*/fuzz_$name: \1/p; s/^stat::\(number_of_executed_units\|peak_rss_mb\)/fuzz_$name: \1/p" \
        "$build/logs/$name"
    grep -q "^stat::number_of_executed_units: *[1-9]" "$build/logs/$name" || {
        echo "fuzz_$name: nothing was tried" >&2
        exit 1
    }
'
fuzzers=$(for file in fuzz/*.cpp; do basename "$file" .cpp; done | grep -vx -e classes -e replay)
echo "$fuzzers" | xargs -P 2 -I NAME env UBSAN_OPTIONS=print_stacktrace=1 sh -c "$fuzz_one" sh NAME "$seconds"
