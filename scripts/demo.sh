#!/usr/bin/env bash
# Builds the application and shows the demo server's pages in it.
#
# With a display the window stays until you quit. Without one the same runs on a
# virtual screen until the page has been painted, is photographed and quits.
# Either way it tells what happened, from the server's own record; the exit
# status is 0 only when all of it was seen.
set -euo pipefail
cd "$(dirname "$0")/.."

work=''
application=''
others=()

fail() {
  echo "demo: $*" >&2
  exit 1
}

# The processes that the application has started, whatever became of it.
left_running() {
  grep -lzsFx "ORVEL_DEMO=$work" /proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 || true
}

# Asks the application to quit as the desktop would; what is then still there is
# ended without asking.
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
  for pid in "${others[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  [ -z "$work" ] || rm -rf "$work"
  exit "$status"
}

# wait_until SECONDS COMMAND...: whether the command succeeds in time.
wait_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.05
  done
}

gone() { ! kill -0 "$1" 2>/dev/null; }
has_text() { [ -s "$1" ]; }
nothing_left() { [ -z "$(left_running)" ]; }
report() { node scripts/demo_report.mjs "$work/record.jsonl" "$@"; }
told_painted() { report --until-painted >/dev/null 2>&1; }
window_manager_ready() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }
port_taken() { (exec 3<>/dev/tcp/127.0.0.1/4767) 2>/dev/null; }

# The picture below the header bar: a page that is still blank has one colour.
page_in_picture() {
  import -silent -window root "$1" 2>/dev/null || return 1
  [ "$(convert "$1" -gravity south -crop 100%x80%+0+0 +repage -format '%k' info:)" -gt 50 ]
}

# A copy of the built application with a key, and a home for it alone.
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
  # Where there is no session bus, none must be started either: it would stay.
  if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] && [ ! -S "${XDG_RUNTIME_DIR:-}/bus" ]; then
    environment+=("DBUS_SESSION_BUS_ADDRESS=disabled:")
  fi
  # The X server knows the user by a file in the home of before.
  if [ -n "${DISPLAY:-}" ]; then
    environment+=("XAUTHORITY=${XAUTHORITY:-$HOME/.Xauthority}")
  fi
  if ! bwrap --ro-bind / / true 2>/dev/null; then
    echo "demo: bubblewrap cannot work on this machine; the page runs without a sandbox"
    environment+=("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1")
  fi
}

# In a session of its own, so that a Control-C in the terminal reaches it by way
# of this script alone.
start_application() {
  setsid env "${environment[@]}" "$work/Orvel OS.app/Contents/Linux/orvel-os" \
    >"$work/output" 2>&1 &
  application=$!
}

# Waits until the application has ended; its own exit status must be 0.
await_end() {
  local status=0
  wait "$application" || status=$?
  application=''
  if [ "$status" -ne 0 ]; then
    cat "$work/output" >&2
    fail "the application ended with status $status"
  fi
}

virtual_screen() {
  Xvfb -displayfd 3 -screen 0 1440x900x24 -nocursor -noreset -nolisten tcp \
    3>"$work/display" >/dev/null 2>&1 &
  others+=($!)
  wait_until 20 has_text "$work/display" || fail "the virtual screen did not start"
  DISPLAY=":$(tr -d '\n' <"$work/display")"
  export DISPLAY
  openbox >/dev/null 2>&1 &
  others+=($!)
  wait_until 20 window_manager_ready || fail "the window manager did not start"
}

show_on_display() {
  echo "demo: the window is open; quit it with Control-Q to see what happened"
  start_application
  await_end
}

show_on_virtual_screen() {
  echo "demo: no display; using a virtual screen"
  virtual_screen
  # Nobody else is on this screen, so there is no session to join.
  environment+=("DBUS_SESSION_BUS_ADDRESS=disabled:" "XDG_RUNTIME_DIR=$work/runtime")
  mkdir -m 700 "$work/runtime"
  start_application
  if ! wait_until 60 told_painted; then
    cat "$work/output" >&2
    fail "the page was not painted within 60 seconds; $(report --until-painted 2>&1 | tail -1)"
  fi
  wait_until 20 page_in_picture "$work/demo.png" || fail "the page did not appear on the screen"
  cp "$work/demo.png" build/demo.png
  xdotool key --clearmodifiers ctrl+q
  wait_until 10 gone "$application" || fail "the application did not quit by Control-Q"
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
  picture=''
else
  show_on_virtual_screen
  picture=', picture in build/demo.png'
fi

echo "demo: what happened, by the server's own record"
report || fail "not all of it was seen"
wait_until 10 nothing_left || fail "still running: $(left_running | tr '\n' ' ')"
port_taken && fail "something still listens on port 4767"
echo "demo: all of it was seen, and nothing is left running$picture"
