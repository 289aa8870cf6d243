#!/bin/sh
# Tries the README's two commands where nobody has installed anything, in a fresh Debian 12, in both orders:
#     scripts/try-readme.sh               runs run.sh and then test.sh, and in another system test.sh and then run.sh
#     scripts/try-readme.sh "run test"    only that order
# Run it whenever a list in install-deps.sh changes. Takes about an hour on two cores, as root; exits with 77 where no
# fresh Debian can be made.
set -eu
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- "run test" "test run"

copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
trap 'exit 1' HUP INT TERM
git ls-files -z --cached --others --exclude-standard | tar --null --files-from=- --ignore-failed-read -c | tar -xC "$copy"
for order in "$@"; do
    # shellcheck disable=SC2086,SC2016 # names of scripts, to be split; the variable is the inner shell's
    scripts/fresh-debian.sh "$copy" sh -euc 'for name; do "scripts/$name.sh"; done' sh $order
    echo "In a fresh Debian, done: $order"
done
