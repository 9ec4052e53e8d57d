#!/bin/sh
# Becomes a process of a machine that is this one, but for what changes from now on:
# its root file system is a layer over the one of here, kept in memory, and its network
# reaches itself alone. Run in namespaces of its own for both, it says "ready" and stays
# until its input ends.
#
#   throwaway_machine.sh FOLDER [SHARED...]
#
# FOLDER takes the layer; the SHARED folders are those of here, changes and all.
set -eu
ip link set lo up
cd "$1"
shift
mount -t tmpfs -o mode=755 none .
cd "$PWD"
mkdir changes work root
mount -t overlay -o lowerdir=/,upperdir=changes,workdir=work none root
for shared in /proc /sys /dev /tmp "$@"; do
  mkdir -p "root$shared"
  mount --rbind "$shared" "root$shared"
done
pivot_root root root/mnt
umount -l /mnt
echo ready
exec cat >/dev/null
