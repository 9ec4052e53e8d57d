#!/usr/bin/env bash
# Starts the built macOS application with the demo server twice: as the Finder does, and as a
# child process, whose exit status a shell can read. Each time, waits until the page reports that it
# is painted, and quits the application as the Dock does. Fails unless the application exits
# with status 0 and leaves no process.
#
# The first time, also checks that the window is in front, that typing reaches the page without
# a click, and that the window moves when its title bar is dragged. Typing and dragging need the
# permission to post events (System Settings, Privacy & Security, Accessibility). Without it the
# script reports them as not checked.
#
#   ./scripts/smoke-macos.sh [APP]
#
# APP is "build/Orvel OS.app" by default. The record of the demo server has all steps only if the
# requests carry a key, so build APP with: ORVELOS_KEY=demo ./scripts/build-app.sh
set -euo pipefail

fail() {
  echo "smoke: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/smoke-macos.sh [APP]"
[ "$(uname -s)" = Darwin ] || fail "this system is not macOS; scripts/demo.sh does the same on Linux"
app=${1-}
case $app in '' | /*) ;; *) app=$PWD/$app ;; esac
cd "$(dirname "$0")/.."
. scripts/demo_functions.sh
app=${app:-$PWD/build/Orvel OS.app}
executable="$app/Contents/MacOS/Orvel OS"

painted_or_gone() { painted || gone "$application_pid"; }
port_free() { ! port_taken; }
# Prints the process id of the server, or nothing before it listens.
server_pid() { sed -nE 's/^\{"event":"listening".*"pid":([0-9]+).*/\1/p' "$work/record.jsonl" 2>/dev/null | tail -1; }

# Runs a command of operate_macos.js.
operate() { osascript -l JavaScript scripts/operate_macos.js "$@"; }
# Sets application_pid. Fails while no application runs from the bundle.
find_application() {
  application_pid=$(operate pid "$app")
  [ -n "$application_pid" ]
}
in_front() { [ "$(operate isInFront "$application_pid")" = true ]; }
# Succeeds when a page other than the first, "/", has reported that it is painted.
other_page_painted() { grep -q '"url":"/api/getoond?pagina=%2F[a-z]' "$work/record.jsonl"; }
window_moved() { [ "$(operate position "$application_pid")" != "$1" ]; }

# Fails with the output of the application.
fail_after_start() {
  cat "$work/output" >&2
  fail "$*"
}

passed() { echo "smoke: passed: $*"; }

# The Finder starts an application with the environment of launchd: a short PATH and no locale.
# `open` passes its own environment on, so this starts `open` with that environment.
start_like_finder() {
  : >"$work/output"
  env -i HOME="$HOME" TMPDIR="${TMPDIR:-/tmp}" PATH=/usr/bin:/bin:/usr/sbin:/sbin \
    "$(command -v open)" -n --stdout "$work/output" --stderr "$work/output" \
    --env "ORVEL_OS_ROOT=$PWD/demo" --env "ORVEL_DEMO_RECORD=$work/record.jsonl" "$app" ||
    fail "open could not start the application"
  wait_until 20 find_application || fail_after_start "the application did not start"
}

start_as_child() {
  ORVEL_OS_ROOT="$PWD/demo" ORVEL_DEMO_RECORD="$work/record.jsonl" "$executable" \
    >"$work/output" 2>&1 &
  application_pid=$!
}

await_page() {
  wait_until 60 painted_or_gone ||
    fail_after_start "the page was not painted within 60 seconds; $(report --until-painted 2>&1 | tail -1)"
  painted || fail_after_start "the application exited before the page was painted"
}

# Checks that the window is in front, that typing reaches the page and that dragging works.
check_window() {
  local before
  wait_until 5 in_front || fail_after_start "the window is not in front"
  passed "the window is in front"
  if [ "$(operate mayPostEvents)" != true ]; then
    echo "smoke: not checked: typing and dragging; this process may not post events"
    return
  fi
  # Types the keys that open the second link of the page.
  operate openSecondLink >/dev/null
  wait_until 5 other_page_painted || fail_after_start "typing did not reach the page"
  passed "typing reaches the page without a click"
  before=$(operate position "$application_pid")
  operate dragTitleBar "$application_pid" >/dev/null
  wait_until 5 window_moved "$before" || fail_after_start "dragging the title bar did not move the window"
  passed "dragging the title bar moves the window"
}

# Sends the quit Apple event to the application and waits until it has exited.
quit() {
  local sent
  sent=$(operate quit "$application_pid") || fail "osascript failed to quit the application"
  [ "$sent" = true ] || fail "the system did not send the quit event"
  wait_until 10 gone "$application_pid" || fail_after_start "the application did not quit within 10 seconds"
}

# Checks that the record has all steps, and that the server has exited and freed its port.
check_record_and_cleanup() {
  echo "smoke: steps in the record of the server"
  report || fail "a step is missing"
  wait_until 10 gone "$(server_pid)" || fail "the server is still running: process $(server_pid)"
  wait_until 10 port_free || fail "port 4767 is still in use"
}

work=''
application_pid=''
finish() {
  local status=$? pid
  trap - EXIT
  trap '' INT TERM HUP
  [ -z "$application_pid" ] || kill -KILL "$application_pid" 2>/dev/null || true
  if [ -n "$work" ]; then
    pid=$(server_pid || true)
    # Another process may have the number by now.
    case $(ps -o command= -p "${pid:-0}" 2>/dev/null || true) in
      *v3/server.mjs*) kill -KILL "$pid" 2>/dev/null || true ;;
    esac
    rm -rf "$work"
  fi
  exit "$status"
}

[ -x "$executable" ] || fail "the application '$app' does not exist; scripts/build-app.sh builds it"
for tool in node open osascript; do
  command -v "$tool" >/dev/null || fail "$tool is not installed"
done
grep -q '<key>ORVELOSKey</key>' "$app/Contents/Info.plist" ||
  fail "the application has no key; build it with ORVELOS_KEY=demo ./scripts/build-app.sh"
# The application would load an address that the user has chosen instead of the demo server.
if defaults read nl.orvel.os osURL >/dev/null 2>&1; then
  fail "the user has chosen an address; 'defaults delete nl.orvel.os osURL' removes it"
fi
port_taken && fail "port 4767 is in use; quit the program that uses it (lsof -i tcp:4767)"

trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
work=$(mktemp -d)

echo "smoke: starting the application as the Finder does"
start_like_finder
await_page
check_window
quit
application_pid=''
check_record_and_cleanup

echo "smoke: starting the application as a child process"
rm "$work/record.jsonl"
start_as_child
await_page
quit
status=0
wait "$application_pid" || status=$?
application_pid=''
[ "$status" -eq 0 ] || fail_after_start "the application exited with status $status"
check_record_and_cleanup
echo "smoke: all steps are in the record, no process is left"
