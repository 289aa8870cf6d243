#!/bin/sh
# Measures: the stages that a chat goes through, and whole runs over folders of chats, with what is aimed at beside it.
#     scripts/bench.sh [COUNTS]    with so many chats of fifty messages each, "1000,2000,4000,8000" if not given
# The index is measured with 8000 chats, and with 50000 when COUNTS names them.
# build/release/bench-chats/growth.svg shows how the time for a chat depends on their number.
set -eu
cd "$(dirname "$0")/.."
counts=${1:-1000,2000,4000,8000}
build=build/release
work=$build/bench-chats

scripts/install-deps.sh build bench
[ -f "$build/CMakeCache.txt" ] || tests=-DPRATTLEBUG_TESTS=OFF
cmake --preset release ${tests:+"$tests"} >/dev/null
cmake --build --preset release --target prattlebug prattlebug_bench prattlebug_archive_bench >&2
export PYTHONDONTWRITEBYTECODE=1
if [ ! -d "$work/single" ]; then
    /usr/bin/python3 bench/makechats.py single "$work/single.new"
    mv "$work/single.new" "$work/single"
fi
echo "Stages. Aim for loading a chat of 20,000 messages: 60 MB/s from .chat, 150 MB/s from .ichat."
$build/bench/prattlebug_bench "$work/single"
echo
/usr/bin/python3 bench/measure.py $build/bench/prattlebug_archive_bench "$work" "$counts"
gnuplot -e "table='$work/growth.tsv'; drawing='$work/growth.svg'" bench/growth.gnuplot

/usr/bin/python3 bench/search.py $build/companion/prattlebug "$work/home-${counts##*,}"
for count in 8000 50000; do
    case ",8000,$counts," in
        *,$count,*) /usr/bin/python3 bench/index.py $build/companion/prattlebug $build/bench/prattlebug_archive_bench "$work" $count ;;
    esac
done
/usr/bin/python3 bench/importing.py $build/companion/prattlebug "$work/home-${counts##*,}/Documents/iChats (Prattlebugged)"
