#!/usr/bin/env bash
# Runs a command with a private loopback interface and private folders of X11 sockets and keymaps,
# so that several tests can use port 4767 and X display 0 at once. An ordinary user needs the
# permission to create user namespaces.
#
#   own_namespaces.sh COMMAND...
set -euo pipefail

if [ "${1-}" = --inside ]; then
  shift
  ip link set lo up
  # With an empty folder of sockets, the X server of every test takes the display number 0. It names
  # its compiled keymap in /var/lib/xkb by that number, so in a common folder an X server can delete
  # the keymap of another one that is starting.
  for folder in /tmp/.X11-unix /var/lib/xkb; do mount -t tmpfs -o mode=1777 none "$folder"; done
  # The command of an ordinary user runs without the capabilities that ip and mount need.
  exec setpriv --ambient-caps -all --inh-caps -all "$@"
fi
[ -d /tmp/.X11-unix ] || mkdir -m 1777 /tmp/.X11-unix
user=()
[ "$(id -u)" -eq 0 ] || user=(--user --map-current-user --keep-caps)
exec unshare "${user[@]}" --net --mount -- "$0" --inside "$@"
