#!/bin/sh
# Runs a command in a fresh Debian 12, as root, in a copy of a folder:
#     scripts/fresh-debian.sh FOLDER COMMAND…
# FOLDER becomes /root/work there, and nothing that the command does comes back. The system is made by debootstrap from
# the package sources that this machine's own apt uses, and is kept in build/fresh-debian; each run gets a copy of it.
# Mounts and processes live in namespaces of their own, so that they end with this script however it ends.
# Exits with the command's status, or with 77, saying why, where no such system can be made.
set -eu
folder=$1
shift
cd "$(dirname "$0")/.."
mkdir -p build/fresh-debian
place=$PWD/build/fresh-debian
base=$place/base
root=$place/root

skip() {
    echo "skipped: $*" >&2
    exit 77
}
[ "$(id -u)" -eq 0 ] || skip "only root can make a fresh Debian"
if ! command -v debootstrap >/dev/null; then
    apt-get update -qq || skip "no package source can be reached"
    apt-get install -y -qq --no-install-recommends debootstrap >/dev/null || skip "debootstrap cannot be installed"
fi

mkdir -p "$place/probe"
unshare --mount --pid --fork --mount-proc="$place/probe" mount -t devpts -o newinstance devpts "$place/probe" 2>/dev/null ||
    skip "this machine refuses mounts or namespaces"

# One run at a time. What an earlier one left because it was killed goes now.
exec 9>"$place/lock"
flock 9
child=
finish() {
    if [ -n "$child" ]; then
        kill -KILL "$child" || true
        wait "$child" || true
    fi
    rm -rf --one-file-system "$root" "$base.new"
}
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
rm -rf --one-file-system "$root" "$base.new"

# In the background, because a shell handles signals only between commands and during `wait`.
in_namespaces() {
    unshare --mount --pid --fork --kill-child "$@" <&0 &
    child=$!
    status=0
    wait "$child" || status=$?
    child=
    return "$status"
}

# This machine's sources of Debian packages, as lines for sources.list.
sources() {
    # shellcheck disable=SC2016 # apt's own variables
    apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
        grep ' bookworm[^ ]* main$' | sort -u
}
if [ ! -d "$base" ]; then
    mirror=$(sources | sed -n 's/^deb \([^ ]*\) bookworm main$/\1/p' | head -n 1)
    [ -n "$mirror" ] || skip "apt knows no source of Debian 12 here"
    in_namespaces debootstrap --variant=minbase --include=ca-certificates bookworm "$base.new" "$mirror" \
        >"$place/debootstrap.log" 2>&1 || { tail -n 3 "$place/debootstrap.log" >&2; skip "debootstrap cannot make a system here"; }
    rm -f "$base.new"/var/cache/apt/archives/*.deb
    mv "$base.new" "$base"
fi

cp -a "$base" "$root"
cp -a "$folder" "$root/root/work"
sources >"$root/etc/apt/sources.list"
apt-config dump Acquire | grep -E '^Acquire::(http|https|ftp)::' >"$root/etc/apt/apt.conf.d/90network" || true
[ ! -f /etc/resolv.conf ] || cp -L /etc/resolv.conf "$root/etc/resolv.conf"
cat >"$root/etc/hosts" <<HOSTS
127.0.0.1 localhost $(uname -n)
::1 localhost ip6-localhost ip6-loopback
HOSTS

mkdir -p "$place/archives/partial" "$place/ccache"
# shellcheck disable=SC2016 # for the shell inside
enter='
    root=$1 place=$2
    shift 2
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620,gid=5 devpts "$root/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    # What apt and the compiler have done before, for the time it saves.
    mkdir -p "$root/var/cache/ccache"
    mount --bind "$place/archives" "$root/var/cache/apt/archives"
    mount --bind "$place/ccache" "$root/var/cache/ccache"
    for name in http_proxy https_proxy no_proxy; do
        eval "value=\${$name:-}"
        [ -z "$value" ] || set -- "$name=$value" "$@"
    done
    exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root USER=root LC_ALL=C.UTF-8 CCACHE_DIR=/var/cache/ccache \
        DEBIAN_FRONTEND=noninteractive "$@"
'
in_system() {
    in_namespaces --mount-proc="$root/proc" sh -euc "$enter" sh "$root" "$place" "$@"
}
in_system chroot "$root" apt-get update -qq || skip "the package sources cannot be reached"
in_system chroot "$root" sh -c 'cd /root/work && exec "$@"' sh "$@"
