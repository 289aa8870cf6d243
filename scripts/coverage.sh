#!/bin/sh
# Measures which lines of the shipped code the tests run, by gcov. The report, a page per file, is in
# build/coverage/report/index.html.
set -eu
cd "$(dirname "$0")/.."
build=build/coverage

scripts/install-deps.sh build test coverage
cmake --preset coverage -DPRATTLEBUG_TESTS=ON >/dev/null
cmake --build --preset coverage
find "$build" -name '*.gcda' -delete
# Without the injected faults: that layer counts what changes on the disk, and the counters of lines are written there too.
ctest --preset coverage --exclude-regex '^faults$' --parallel "$(($(nproc) + 2))" >"$build/tests.log" || { cat "$build/tests.log" >&2; exit 1; }
mkdir -p "$build/report"
/usr/bin/gcovr --root . --object-directory "$build" --exclude '(tests|bench|fuzz|build)/' \
    --html-details "$build/report/index.html" --print-summary --txt "$build/report/files.txt"
