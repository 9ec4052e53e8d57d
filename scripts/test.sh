#!/usr/bin/env bash
# Builds the application and runs the tests. Prints each step with the time since the start.
#
#   ./scripts/test.sh       the tests that tell whether the application works: C++ tests,
#                           essential end-to-end tests, the demo server
#   ./scripts/test.sh all   every test, the linters, both sanitizers, Clang with the fuzz targets,
#                           and a sample of the mutation testing
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1-}" in
  '' | all) ;;
  *)
    echo "test: usage: scripts/test.sh [all]" >&2
    exit 2
    ;;
esac

step() { printf '\n== %d:%02d %s\n' $((SECONDS / 60)) $((SECONDS % 60)) "$*"; }

# build_and_test PRESET [TEST_PRESET]
build_and_test() {
  step "build: $1"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1"
  step "tests: ${2:-$1}"
  ctest --preset "${2:-$1}" -j "$(nproc)"
}

step "packages"
scripts/setup.sh

# WebKit's sandbox needs the permission to create namespaces, which some containers do
# not give.
if ! bwrap --ro-bind / / true 2>/dev/null; then
  echo "test: bubblewrap does not work on this machine; pages run without a sandbox"
  export WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS=1
fi

if [ "${1-}" != all ]; then
  build_and_test default essential
  step "passed"
  exit
fi

build_and_test default
step "linters"
scripts/setup.sh lint
scripts/lint.sh
for preset in asan tsan clang; do build_and_test "$preset"; done
# About as many mutants as two processor cores run in two minutes. A fixed number, because a sample
# by time would contain more mutants on a faster machine.
step "mutation testing: a sample"
scripts/mutate.sh --jobs "$(nproc)" --sample 150
step "all passed"
