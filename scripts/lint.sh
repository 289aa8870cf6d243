#!/bin/sh
# Checks the formatting of all our C++, that the page templates are what their sources make, and runs clang-tidy over
# what is shipped. (The tests are left to the compilers and the sanitizers: the test library's macros are most of what
# clang-tidy would read.)
set -eu
cd "$(dirname "$0")/.."

scripts/install-deps.sh
git ls-files '*.h' '*.cpp' | tr '\n' '\0' | xargs -0 clang-format-19 --dry-run --Werror
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
/usr/bin/python3 -B resources/make "$made"
for template in "$made"/*; do
    cmp "$template" "resources/${template##*/}"
done
cmake --preset debug >/dev/null
git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz' | tr '\n' '\0' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*'
echo "No findings."
