#!/usr/bin/env bash
# Builds everything and runs every test: the application as it is, then the
# unit and contract tests under the sanitizers and with the other compiler.
#
#   ./scripts/test.sh         everything
#   ./scripts/test.sh quick   the default build and its tests alone
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

# In a container without the right to make namespaces the page's processes can
# only run without their sandbox.
if ! bwrap --ro-bind / / true 2>/dev/null; then
  echo "test: bubblewrap cannot work on this machine; pages run without a sandbox"
  export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi

step() { printf '\n== %s\n' "$*"; }

build() {
  step "build: $1"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" -- --quiet
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
scripts/lint.sh build

for sanitizer in asan tsan; do
  build "$sanitizer"
  run_tests "$sanitizer" "build/$sanitizer" -L 'unit|contract'
done

build clang
run_tests clang build/clang -L 'unit|contract'
step "all of it passed"
