#!/usr/bin/env bash
# Formatting and static analysis of all C++ and shell code. Takes the build
# folder whose compile commands are to be used (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}

# Every version formats and warns in its own way; this one is what the code is
# kept to.
version=14
for tool in clang-format clang-tidy; do
  if ! "$tool" --version | grep -q "version $version\."; then
    echo "lint: skipped, $tool is not of version $version"
    exit 0
  fi
done

mapfile -t headers_and_sources < <(git ls-files '*.h' '*.cc' | grep -v '^cmake/forbidden_headers/')
mapfile -t sources < <(git ls-files '*.cc' | grep -v '^platform/macos/')
clang-format --dry-run -Werror "${headers_and_sources[@]}"
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p "$build" 2>&1 |
  { grep -v -E 'warnings (generated|treated)|^Suppressed|^Use -header-filter' || true; }
[ "${PIPESTATUS[1]}" -eq 0 ]
if command -v shellcheck >/dev/null; then
  shellcheck scripts/*.sh .ci/run
fi
echo "lint: clean"
