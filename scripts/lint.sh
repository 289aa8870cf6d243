#!/bin/sh
# Checks the formatting of all our C++ and Objective-C++, that the page templates are what their sources make, and runs
# clang-tidy over what is shipped. (The tests are left to the compilers and the sanitizers: the test library's macros are
# most of what clang-tidy would read.)
set -eu
cd "$(dirname "$0")/.."

scripts/install-deps.sh
git ls-files '*.h' '*.cpp' '*.mm' | tr '\n' '\0' | xargs -0 clang-format-19 --dry-run --Werror
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
/usr/bin/python3 -B resources/make "$made"
for template in "$made"/*; do
    cmp "$template" "resources/${template##*/}"
done
cmake --preset debug >/dev/null
git ls-files '*.cpp' ':!tests' ':!bench' ':!fuzz' | tr '\n' '\0' |
    xargs -0 -n 4 -P "$(nproc)" clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*'
# Objective-C's headers belong to GCC. (A const pointer to an object promises nothing about the object.)
git ls-files '*.mm' | tr '\n' '\0' |
    xargs -0 clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*' --checks=-misc-const-correctness \
        --extra-arg=-isystem"$(c++ -print-file-name=include)"
echo "No findings."
