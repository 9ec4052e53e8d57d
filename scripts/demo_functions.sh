# Functions of demo.sh and smoke-macos.sh, which source this file. The variable `work` is the
# folder with the record of the demo server.
# shellcheck shell=bash

# wait_until SECONDS COMMAND...: repeats the command until it succeeds; fails on timeout.
wait_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.1
  done
}

# gone PID: succeeds when the process does not exist.
gone() { ! kill -0 "$1" 2>/dev/null; }
# Succeeds when a program listens on the port of the local server: bash connects to it.
port_taken() { (exec 3<>/dev/tcp/127.0.0.1/4767) 2>/dev/null; }
# Prints the steps in the record; fails when one is missing. --until-painted leaves out the last
# step, the stop of the server.
# shellcheck disable=SC2154
report() { node scripts/demo_report.mjs "$work/record.jsonl" "$@"; }
# Succeeds when the record has all steps up to the report of the page that it is painted.
painted() { report --until-painted >/dev/null 2>&1; }
