#!/bin/sh
# Makes a home folder to try the programs in, with the sample chats in its transcript folder, their address book and what
# the statistics are made with:
#     scripts/sample-home.sh FOLDER
# FOLDER must not exist yet.
set -eu
home=$1
top=$(cd "$(dirname "$0")/.." && pwd)
samples=$top/samples
support="$home/Library/Prattlebug"
transcripts="$home/Documents/iChats (Prattlebugged)"

mkdir "$home"
mkdir -p "$home/Documents" "$support"
cp -Rp "$samples/chats" "$transcripts"
# A mail is dated by its transcript file, and a file out of a repository is as old as the copy: give each the date in
# its name back.
find "$transcripts" -name '* on ????-??-?? at ??.??*' | while read -r file; do
    date=$(printf '%s\n' "$file" | sed -E 's/.* on ([0-9]{4}-[0-9]{2}-[0-9]{2}) at ([0-9]{2})\.([0-9]{2}).*/\1 \2:\3/')
    touch -d "$date" "$file"
done
cp "$samples/me.vcf" "$samples/contacts.vcf" "$support/"
cp "$top/resources/linktemplate.html" "$top/resources/statstemplate.html" "$top/resources/curses.plist" "$top/resources/netspeak.plist" "$support/"
