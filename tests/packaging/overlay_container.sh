#!/bin/sh
# Mounts an overlay over the root file system, in memory, and makes it the root. The network
# namespace has only the loopback interface. Must run in its own mount and network namespaces.
# Prints "ready" and then runs until its standard input is closed.
#
#   overlay_container.sh FOLDER [SHARED...]
#
# FOLDER is the mount point. /tmp and the SHARED folders are the same inside and
# outside the container.
set -eu
ip link set lo up
cd "$1"
shift
mount -t tmpfs -o mode=755 none .
# Enters the mounted file system; the working directory is still the folder below it.
cd "$PWD"
mkdir upper work root
mount -t overlay -o lowerdir=/,upperdir=upper,workdir=work none root
for shared in /proc /sys /dev /tmp "$@"; do
  mkdir -p "root$shared"
  mount --rbind "$shared" "root$shared"
done
pivot_root root root/mnt
umount -l /mnt
echo ready
exec cat >/dev/null
