#!/usr/bin/env bash
# Formatting and static analysis of all C++ and shell code.
set -euo pipefail
cd "$(dirname "$0")/.."

# Every version formats and warns in its own way; this one is what the code is
# kept to.
version=14
for tool in clang-format clang-tidy; do
  if ! "$tool" --version | grep -q "version $version\."; then
    echo "lint: skipped, $tool is not of version $version"
    exit 0
  fi
done

mapfile -t headers_and_sources < <(git ls-files '*.h' '*.cc' '*.mm' | grep -v '^cmake/forbidden_headers/')
clang-format --dry-run -Werror "${headers_and_sources[@]}"

# Most of the work lies in the system's headers, so that several sources that
# are one to the compiler are looked at in little more time than one.
cmake --preset clang >/dev/null
commands=build/clang/compile_commands.json
node -p 'JSON.parse(fs.readFileSync(process.argv[1])).map(({ file }) => file).join("\n")' \
  "$commands" |
  xargs -d '\n' -P "$(nproc)" -n 1 \
    clang-tidy --quiet -p build/clang --checks=-bugprone-suspicious-include 2>&1 |
  { grep -v -E 'warnings (generated|treated)|^Suppressed|^Use -header-filter' || true; }
[ "${PIPESTATUS[1]}" -eq 0 ]
if command -v shellcheck >/dev/null; then
  shellcheck scripts/*.sh .ci/run
fi
echo "lint: clean"
