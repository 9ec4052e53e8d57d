#!/usr/bin/env bash
# Runs the benchmark: the application, bare viewers (a window with only a WebKitGTK web view),
# Chromium and Qt WebEngine.
#
#   ./scripts/bench.sh           all measurements, about 30 minutes; replaces the tables in
#                                docs/performance.md
#   ./scripts/bench.sh quick     one round of starts, 1 to 2 minutes; prints the tables
#   ./scripts/bench.sh updates   only installations of a release, 3 minutes; prints the tables
#
# Installs nothing. Fails when a tool is missing, and skips Chromium or Qt WebEngine when
# they are missing. Other work on the machine distorts the results.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "bench: $*" >&2
  exit 1
}
mode=${1:-all}
case $mode in all | quick | updates) ;; *) fail "usage: scripts/bench.sh [quick | updates]" ;; esac

for tool in cmake ninja node python3 Xvfb openbox xdotool xprop curl zip unzip; do
  command -v "$tool" >/dev/null ||
    fail "$tool is not installed; scripts/setup.sh installs all but curl"
done
for package in gtk4 webkitgtk-6.0; do
  pkg-config --exists "$package" || fail "the headers of $package are missing; scripts/setup.sh installs them"
done
chromium=$(command -v chromium || true)
[ -n "$chromium" ] || echo "bench: skipping Chromium, which is not installed"
pkg-config --exists Qt5WebEngineWidgets ||
  echo "bench: skipping Qt WebEngine, qtwebengine5-dev is not installed"
# bash connects to the port; this fails when no program listens.
if (exec 3<>/dev/tcp/127.0.0.1/4767) 2>/dev/null; then
  fail "port 4767 is in use; the server of the application needs it"
fi

folder=build/bench
mkdir -p "$folder"
# With a key, as in a release, the application also stores the cookie before it loads the page.
ORVELOS_KEY=benchmark-key scripts/build-app.sh "$folder"
cmake --preset default >/dev/null
cmake --build --preset default --target bench_programs -- --quiet

export ORVEL_BENCH_CHROMIUM=$chromium
results=$folder/results.json
node tools/bench/bench.mjs "$PWD/$folder/Orvel OS.app/Contents/Linux/orvel-os" \
  "$PWD/build/tools/bench" "$results" "$mode"
if [ "$mode" = all ]; then
  node tools/bench/report.mjs "$results" docs/performance.md
  echo "bench: docs/performance.md"
else
  node tools/bench/report.mjs "$results"
fi
