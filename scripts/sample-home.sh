#!/bin/sh
# Makes a home folder to try the programs in, with the sample chats in its transcript folder, their address book, and what
# the pages are made with:
#     scripts/sample-home.sh FOLDER [PRATTLEBUG]
# FOLDER must not exist yet. PRATTLEBUG is the companion program; without it, the one that was built here.
set -eu
home=$1
top=$(cd "$(dirname "$0")/.." && pwd)
prattlebug=${2:-$top/build/release/companion/prattlebug}

mkdir "$home"
"$prattlebug" --quiet --home "$home" setup --me "$top/samples/me.vcf" --contacts "$top/samples/contacts.vcf" "$top/samples/chats"
