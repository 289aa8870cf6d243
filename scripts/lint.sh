#!/bin/sh
# Checks the formatting of all our C++ and runs clang-tidy over what is shipped. (The tests are left to the compilers and
# the sanitizers: the test library's macros are most of what clang-tidy would read.)
set -eu
cd "$(dirname "$0")/.."

scripts/install-deps.sh
git ls-files '*.h' '*.cpp' | tr '\n' '\0' | xargs -0 clang-format-19 --dry-run --Werror
cmake --preset debug >/dev/null
git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz' | tr '\n' '\0' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*'
echo "No findings."
