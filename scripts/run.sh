#!/bin/sh
# Builds the programs and shows what they do:
#     scripts/run.sh              archives the sample chats in a throw-away home folder
#     scripts/run.sh --app        opens the window on that home folder
#     scripts/run.sh ARGUMENTS    runs prattlebug with them
set -eu
cd "$(dirname "$0")/.."
top=$PWD
build=$top/build/release
prattlebug=$build/companion/prattlebug

scripts/install-deps.sh build
cmake --preset release -DPRATTLEBUG_TESTS=OFF >/dev/null
cmake --build --preset release >&2
cd "${OLDPWD:-.}"
if [ $# -gt 0 ] && [ "$1" != --app ]; then
    exec "$prattlebug" "$@"
fi

home=$build/sample-home
rm -rf "$home"
"$top/scripts/sample-home.sh" "$home" "$prattlebug"
"$prattlebug" --home "$home" prefs emailAddress sam@example.org
if [ $# -gt 0 ]; then
    HOME=$home exec "$build/archiver/window/prattlebug-archiver"
fi
"$prattlebug" --home "$home" archive --quiet "$home/Prattlebug Archive"

cat <<TXT

The mbox above holds the sample chats; any mail program imports it, and this opens it here:
    mutt -f "$home/Prattlebug Archive/Prattlebug Archive mbox"
Every link and picture in them, and how much was said, are on these pages, for any browser:
    $home/Library/Prattlebug/Links.html
    $home/Library/Prattlebug/Images.html
    $home/Library/Prattlebug/stats.html
For your own chats, name the folder or disk they are on, and archive:
    "$prattlebug" setup /media/you/Backup
    "$prattlebug" archive ~/"Prattlebug Archive"
or, with a window,
    "$build/archiver/window/prattlebug-archiver"
TXT
