#!/bin/sh
# Builds the programs. Without arguments it archives the sample chats in a throw-away home folder, so that one sees
# what comes out; with arguments it runs prattlebug with them.
set -eu
cd "$(dirname "$0")/.."
top=$PWD
build=$top/build/release
prattlebug=$build/companion/prattlebug

scripts/install-deps.sh
cmake --preset release -DPRATTLEBUG_TESTS=OFF >/dev/null
cmake --build --preset release >&2
cd "${OLDPWD:-.}"
if [ $# -gt 0 ]; then
    exec "$prattlebug" "$@"
fi

home=$build/sample-home
rm -rf "$home"
mkdir -p "$home/Documents" "$home/Library/Prattlebug"
cp -Rp "$top/samples/chats" "$home/Documents/iChats (Prattlebugged)"
# A mail is dated by its transcript file, and a file out of a repository is as old as the copy: give each the date in
# its name back.
find "$home/Documents" -name '* on ????-??-?? at ??.??*' | while read -r file; do
    date=$(printf '%s\n' "$file" | sed -E 's/.* on ([0-9]{4}-[0-9]{2}-[0-9]{2}) at ([0-9]{2})\.([0-9]{2}).*/\1 \2:\3/')
    touch -d "$date" "$file"
done
cp "$top/samples/me.vcf" "$top/samples/contacts.vcf" "$home/Library/Prattlebug/"
"$prattlebug" --home "$home" prefs emailAddress sam@example.org
"$prattlebug" --home "$home" archive --quiet "$home/Prattlebug Archive"

cat <<TXT

The mbox above holds the sample chats; any mail program imports it, and this opens it here:
    mutt -f "$home/Prattlebug Archive/Prattlebug Archive mbox"
For your own chats, put the transcripts into ~/Documents/iChats (Prattlebugged) and run:
    "$prattlebug" archive ~/"Prattlebug Archive"
TXT
