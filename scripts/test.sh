#!/usr/bin/env bash
# Builds everything and runs every test: the application as it is, then the
# unit and contract tests under the sanitizers and with the other compiler.
#
#   ./scripts/test.sh         everything
#   ./scripts/test.sh quick   the default build and its tests alone
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = quick ]; then scripts/setup.sh; else scripts/setup.sh lint; fi

# In a container without the right to make namespaces the page's processes can
# only run without their sandbox.
if ! bwrap --ro-bind / / true 2>/dev/null; then
  echo "test: bubblewrap cannot work on this machine; pages run without a sandbox"
  export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi

step() { printf '\n== %s\n' "$*"; }

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  step "build: $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" ${1:+--target "$@"} -- --quiet
}

run_tests() {
  local preset=$1 folder=$2
  shift 2
  step "tests: $preset"
  ctest --test-dir "$folder" --output-on-failure --no-tests=error -j "$(nproc)" "$@"
}

build default
run_tests default build
if [ "${1:-}" = quick ]; then exit 0; fi

step "formatting and static analysis"
scripts/lint.sh

# The desktop's own libraries are not built for the thread sanitizer, so that
# the tests that need a whole desktop tell nothing there.
build asan cpp_tests
run_tests asan build/asan -L 'unit|contract|adapter|desktop'
build tsan cpp_tests
run_tests tsan build/tsan -L 'unit|contract|adapter'

# The tests that need a desktop have run twice by now.
build clang
run_tests clang build/clang -L 'unit|contract|adapter|fuzz'
step "all of it passed"
