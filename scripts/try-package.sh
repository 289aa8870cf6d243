#!/bin/sh
# Installs prattlebug.deb, uses it on the samples as somebody else would, and removes it again. For `package.sh --test`,
# which runs it in a fresh Debian, beside prattlebug.deb and samples/.
set -eu
HOME=/home/sam USER=sam
export HOME USER
fail() {
    echo "$*" >&2
    exit 1
}

apt-get install -y -qq --no-install-recommends ./prattlebug.deb >install.log 2>&1 || { cat install.log >&2; exit 1; }
dpkg -V prattlebug
prattlebug --version
mkdir -p "$HOME"
prattlebug setup --email sam@example.org --me samples/me.vcf --contacts samples/contacts.vcf samples/chats
prattlebug archive --quiet "$HOME/Prattlebug Archive"
mbox="$HOME/Prattlebug Archive/Prattlebug Archive mbox"
messages=$(grep -c '^From sam@example.org ' "$mbox")
[ "$messages" -eq 19 ] || fail "$messages messages instead of 19"
for page in Links Images stats; do
    test -s "$HOME/Library/Prattlebug/$page.html" || fail "$page.html is missing"
done
prattlebug search photo
prattlebug send --help >/dev/null
# The window stays open until it is told to end; one that cannot open ends at once.
status=0
QT_QPA_PLATFORM=offscreen timeout 5 prattlebug-archiver || status=$?
[ "$status" -eq 124 ] || fail "the window ended with $status"

files=$(dpkg -L prattlebug)
apt-get purge -y -qq prattlebug >/dev/null 2>&1
left=$(echo "$files" | while read -r file; do [ -d "$file" ] || [ ! -e "$file" ] || echo "$file"; done)
[ -z "$left" ] || fail "left behind: $left"
test -s "$mbox" || fail "removing the package removed the archive"
echo "Installed, used and removed in a fresh Debian."
