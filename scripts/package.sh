#!/bin/sh
# Builds the Debian package and, on demand, tries it where nothing else is installed:
#     scripts/package.sh            builds it and prints its path
#     scripts/package.sh --test     also installs it into a fresh Debian (some minutes, as root, with debootstrap), uses
#                                   it there as somebody else would, and removes it again
# MIRROR names another Debian mirror than the usual one.
set -eu
cd "$(dirname "$0")/.."
build=build/release
mirror=${MIRROR:-http://deb.debian.org/debian}

scripts/install-deps.sh
cmake --preset release -DPRATTLEBUG_TESTS=OFF >/dev/null
cmake --build --preset release >&2
rm -rf "$build/package"
cpack --config "$build/CPackConfig.cmake" -B "$build/package" >&2
package=$(find "$build/package" -maxdepth 1 -name '*.deb')
echo "$package"
[ "${1:-}" = --test ] || exit 0

[ "$(id -u)" -eq 0 ] || { echo "--test needs root, for debootstrap and chroot." >&2; exit 1; }
# The fresh system is kept for the next time; each test gets a copy.
base=$PWD/$build/debian
if [ ! -d "$base" ]; then
    rm -rf "$base.new"
    debootstrap --variant=minbase --include=ca-certificates bookworm "$base.new" "$mirror" >&2
    mv "$base.new" "$base"
fi
root=$(mktemp -d "$PWD/$build/root.XXXXXX")
trap 'rm -rf "$root"' EXIT
cp -a "$base/." "$root/"
cp "$package" "$root/tmp/prattlebug.deb"
cp -a samples "$root/tmp/samples"
[ ! -f /etc/resolv.conf ] || cp -L /etc/resolv.conf "$root/etc/resolv.conf"
# With processes and a /proc of its own, which are gone with the command.
run() {
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/home/sam USER=sam LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        unshare --mount --pid --fork --kill-child --mount-proc="$root/proc" chroot "$root" "$@"
}
run apt-get update -qq
run apt-get install -y -qq --no-install-recommends /tmp/prattlebug.deb >"$build/package/install.log" 2>&1 ||
    { cat "$build/package/install.log" >&2; exit 1; }
run dpkg -V prattlebug
run prattlebug --version
mkdir -p "$root/home/sam"
run prattlebug setup --email sam@example.org --me /tmp/samples/me.vcf --contacts /tmp/samples/contacts.vcf /tmp/samples/chats
run prattlebug archive --quiet "/home/sam/Prattlebug Archive"
messages=$(grep -c '^From sam@example.org ' "$root/home/sam/Prattlebug Archive/Prattlebug Archive mbox")
[ "$messages" -eq 19 ] || { echo "$messages messages instead of 19" >&2; exit 1; }
for page in Links Images stats; do
    test -s "$root/home/sam/Library/Prattlebug/$page.html"
done
run prattlebug search photo
run prattlebug send --help >/dev/null
# The window stays open until it is told to end; one that cannot open ends at once.
status=0
run env QT_QPA_PLATFORM=offscreen timeout 5 prattlebug-archiver || status=$?
[ "$status" -eq 124 ] || { echo "The window ended with $status" >&2; exit 1; }

run apt-get purge -y -qq prattlebug >/dev/null 2>&1
left=$(run dpkg-deb --contents /tmp/prattlebug.deb | sed -n 's|^-.* \./||p' | while read -r file; do
    [ ! -e "$root/$file" ] || echo "$file"
done)
[ -z "$left" ] || { echo "Left behind: $left" >&2; exit 1; }
test -s "$root/home/sam/Prattlebug Archive/Prattlebug Archive mbox"
echo "Installed, used and removed in a fresh system."
