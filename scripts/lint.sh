#!/bin/sh
# Checks the formatting of all our C++ and Objective-C++, the shell and Python scripts, that the page templates are what
# their sources make, and runs clang-tidy over what is shipped. (The tests are left to the compilers and the sanitizers:
# the test library's macros are most of what clang-tidy would read.)
#     scripts/lint.sh [--thorough]    with the check for parameters copied in vain too, which takes as long as most others
#                                     together
set -eu
cd "$(dirname "$0")/.."
left_out=-performance-unnecessary-value-param
[ "${1:-}" != --thorough ] || left_out=
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

scripts/install-deps.sh build lint

# Runs a command on our files of these patterns, so many at a time; that there are none is a mistake in the patterns.
over() {
    each=$1
    patterns=$2
    shift 2
    # shellcheck disable=SC2086 # patterns, to be split; quoted ones are git's
    (set -f && git ls-files -z -- $patterns) >"$work/files"
    [ -s "$work/files" ] || { echo "lint.sh: no files match $patterns" >&2; exit 1; }
    xargs -0 -n "$each" -P "$(nproc)" "$@" <"$work/files"
}

over 50 '*.h *.cpp *.mm' clang-format-19 --dry-run --Werror
over 50 '*.sh .ci/run' shellcheck
over 50 '*.py' /usr/bin/python3 -m flake8
mkdir "$work/templates"
/usr/bin/python3 -B resources/make "$work/templates"
for template in "$work/templates"/*; do
    cmp "$template" "resources/${template##*/}"
done
cmake --preset debug -DPRATTLEBUG_TESTS=OFF >/dev/null
over 4 '*.cpp :!tests :!bench :!fuzz' clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*' --checks="$left_out"
# Objective-C's headers belong to GCC. (A const pointer to an object promises nothing about the object.)
over 4 '*.mm' clang-tidy-19 -p build/debug --quiet --warnings-as-errors='*' --checks="-misc-const-correctness,$left_out" \
    --extra-arg=-isystem"$(c++ -print-file-name=include)"
echo "No findings."
