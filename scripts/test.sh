#!/usr/bin/env bash
# Builds the application and all tests, and runs them.
#
#   ./scripts/test.sh         everything: the default build and its tests, the linters, then
#                             the C++ tests with each sanitizer and with Clang
#   ./scripts/test.sh quick   the default build and its tests
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

# WebKit's sandbox needs the permission to create namespaces, which some containers do
# not give.
if ! bwrap --ro-bind / / true 2>/dev/null; then
  echo "test: bubblewrap does not work on this machine; pages run without a sandbox"
  export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi

step() { printf '\n== %s\n' "$*"; }

build_and_test() {
  local preset=$1
  step "build: $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -- --quiet
  step "tests: $preset"
  ctest --preset "$preset" -j "$(nproc)"
}

build_and_test default
if [ "${1:-}" = quick ]; then exit 0; fi

step "formatting and static analysis"
scripts/setup.sh lint
scripts/lint.sh

for preset in asan tsan clang; do build_and_test "$preset"; done
step "all tests passed"
