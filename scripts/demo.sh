#!/usr/bin/env bash
# Builds the application and runs it on the demo server.
#
# With a display, the window stays open until you quit. Without one, the application runs
# in Xvfb until the page is painted; the script saves a screenshot and quits it. Then the
# script prints the steps from the server's record. The exit status is 0 only if the
# record has all steps.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/demo_functions.sh

work=''
application=''
# The process IDs of Xvfb and the window manager.
helpers=()

fail() {
  echo "demo: $*" >&2
  exit 1
}

# Prints the process IDs of the application and of all processes that it has started, also orphaned
# ones. They inherit the variable ORVEL_DEMO. A NUL ends each variable in environ, hence grep -z.
left_running() {
  grep -lzsFx "ORVEL_DEMO=$work" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 || true
}

# Quits the application with SIGTERM and kills the processes that are still running. The application
# waits up to 3 s for its server.
finish() {
  local status=$? pid
  trap - EXIT
  trap '' INT TERM HUP
  if [ -n "$application" ] && kill -TERM "$application" 2>/dev/null; then
    wait_until 6 gone "$application" || true
  fi
  if [ -n "$work" ]; then
    for pid in $(left_running); do kill -KILL "$pid" 2>/dev/null || true; done
  fi
  for pid in "${helpers[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  [ -z "$work" ] || rm -rf "$work"
  exit "$status"
}

has_text() { [ -s "$1" ]; }
nothing_left() { [ -z "$(left_running)" ]; }
window_manager_ready() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }

# Takes a screenshot; succeeds when the area below the header bar has more than 50 colours. An empty
# window has far fewer.
page_in_screenshot() {
  import -silent -window root "$1" 2>/dev/null || return 1
  [ "$(convert "$1" -gravity south -crop 100%x80%+0+0 +repage -format '%k' info:)" -gt 50 ]
}

# Copies the built application, makes a home folder, and sets `environment` to the environment
# variables of the application. Adds a key to a copy without one: the record has all steps only if
# the requests carry a key.
prepare() {
  local bundle="$work/Orvel OS.app"
  cp -a "build/Orvel OS.app" "$bundle"
  if ! grep -q '<key>ORVELOSKey</key>' "$bundle/Contents/Info.plist"; then
    sed -i 's|^</dict>|<key>ORVELOSKey</key><string>demo</string></dict>|' \
      "$bundle/Contents/Info.plist"
  fi
  mkdir "$work/home"
  environment=(
    "ORVEL_DEMO=$work" "ORVEL_DEMO_RECORD=$work/record.jsonl" "ORVEL_OS_ROOT=$PWD/demo"
    "HOME=$work/home" "XDG_CONFIG_HOME=$work/home/.config" "XDG_CACHE_HOME=$work/home/.cache"
    "XDG_DATA_HOME=$work/home/.local/share" "XDG_STATE_HOME=$work/home/.local/state"
  )
  # Without a session bus, GIO must not start one: it would outlive the application.
  if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] && [ ! -S "${XDG_RUNTIME_DIR:-}/bus" ]; then
    environment+=("DBUS_SESSION_BUS_ADDRESS=disabled:")
  fi
  # Xlib looks for its authority file in HOME, which is changed above.
  if [ -n "${DISPLAY:-}" ]; then
    environment+=("XAUTHORITY=${XAUTHORITY:-$HOME/.Xauthority}")
  fi
  if ! bwrap --ro-bind / / true 2>/dev/null; then
    echo "demo: bubblewrap does not work on this machine; the page runs without a sandbox"
    environment+=("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1")
  fi
}

# Starts the application in a session of its own, so that Control-C in the terminal signals only
# this script.
start_application() {
  setsid env "${environment[@]}" "$work/Orvel OS.app/Contents/Linux/orvel-os" \
    >"$work/output" 2>&1 &
  application=$!
}

# Waits for the application to exit; its exit status must be 0.
await_end() {
  local status=0
  wait "$application" || status=$?
  application=''
  if [ "$status" -ne 0 ]; then
    cat "$work/output" >&2
    fail "the application exited with status $status"
  fi
}

start_virtual_screen() {
  Xvfb -displayfd 3 -screen 0 1440x900x24 -nocursor -noreset -nolisten tcp \
    3>"$work/display" >/dev/null 2>&1 &
  helpers+=($!)
  wait_until 20 has_text "$work/display" || fail "Xvfb did not start"
  DISPLAY=":$(tr -d '\n' <"$work/display")"
  export DISPLAY
  openbox >/dev/null 2>&1 &
  helpers+=($!)
  wait_until 20 window_manager_ready || fail "the window manager did not start"
}

show_on_display() {
  echo "demo: the window is open; quit it with Control-Q to see what happened"
  start_application
  await_end
}

show_on_virtual_screen() {
  echo "demo: there is no display; using Xvfb"
  start_virtual_screen
  # On the virtual screen the application must not use the session bus of the user.
  environment+=("DBUS_SESSION_BUS_ADDRESS=disabled:" "XDG_RUNTIME_DIR=$work/runtime")
  mkdir -m 700 "$work/runtime"
  start_application
  if ! wait_until 60 painted; then
    cat "$work/output" >&2
    fail "the page was not painted within 60 seconds; $(report --until-painted 2>&1 | tail -1)"
  fi
  wait_until 20 page_in_screenshot "$work/demo.png" || fail "the screenshot does not show the page"
  cp "$work/demo.png" build/demo.png
  xdotool key --clearmodifiers ctrl+q
  wait_until 10 gone "$application" || fail "the application did not quit on Control-Q"
  await_end
}

trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

scripts/setup.sh
echo "demo: building"
cmake --preset default >/dev/null
cmake --build --preset default --target orvel-os
port_taken && fail "port 4767 is in use; quit the program that uses it (lsof -i tcp:4767)"

work=$(mktemp -d)
prepare
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  show_on_display
  screenshot=''
else
  show_on_virtual_screen
  screenshot=', screenshot in build/demo.png'
fi

echo "demo: steps in the record of the server"
report || fail "a step is missing"
wait_until 10 nothing_left || fail "processes are still running: $(left_running | tr '\n' ' ')"
port_taken && fail "port 4767 is still in use"
echo "demo: all steps are in the record, no process is left$screenshot"
