#!/usr/bin/env bash
# Checks the format of the C++ code, and runs static analysis on the C++, JavaScript and
# shell code.
#
#   ./scripts/lint.sh         reports the findings
#   ./scripts/lint.sh --fix   first formats the C++ code and applies the fixes of ESLint
#
# Fails when a linter is missing, or when clang-format, clang-tidy or ESLint does not have the pinned
# version.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "lint: $*" >&2
  exit 1
}

case "${1-}" in
  '') fix='' ;;
  --fix) fix=yes ;;
  *) fail 'usage: scripts/lint.sh [--fix]' ;;
esac

# Each version formats and warns differently. Debian 12 and 13 both have this one.
llvm=19
for tool in clang-format clang-tidy; do
  "$tool-$llvm" --version 2>/dev/null | grep -q "version $llvm\." ||
    fail "$tool-$llvm is not installed; 'scripts/setup.sh lint' installs it"
done
eslint=node_modules/.bin/eslint
pinned=v$(node -p 'JSON.parse(fs.readFileSync("package.json")).devDependencies.eslint')
[ "$("$eslint" --version 2>/dev/null)" = "$pinned" ] ||
  fail "ESLint $pinned is not installed; 'scripts/setup.sh lint' installs it"
# Not pinned: Debian 12 and 13 have different versions.
command -v shellcheck >/dev/null ||
  fail "shellcheck is not installed; 'scripts/setup.sh lint' installs it"

# Leaves out the headers that only stop a build with #error.
mapfile -t cpp < <(git ls-files '*.h' '*.cc' '*.mm' ':!cmake/forbidden_headers')
if [ "$fix" ]; then
  "clang-format-$llvm" -i "${cpp[@]}"
  # What ESLint cannot fix is reported below.
  "$eslint" --fix . >/dev/null || true
fi

"clang-format-$llvm" --dry-run -Werror "${cpp[@]}"
"$eslint" --max-warnings 0 .
mapfile -t shell < <(git ls-files '*.sh' .ci/run)
shellcheck "${shell[@]}"

# Parsing the system headers takes most of the time, so this checks the unity sources of the
# preset. Each of them includes several sources, which bugprone-suspicious-include would report.
cmake --preset clang >/dev/null
commands=build/clang/compile_commands.json
# Leaves out the target "fuzzed", which compiles sources of the other targets a second time.
node -p 'JSON.parse(fs.readFileSync(process.argv[1]))
    .filter(({ command }) => !command.includes("/fuzzed.dir/")).map(({ file }) => file).join("\n")' \
  "$commands" |
  xargs -d '\n' -P "$(nproc)" -n 1 \
    "clang-tidy-$llvm" --quiet -p build/clang --checks=-bugprone-suspicious-include 2>&1 |
  { grep -v -E 'warnings (generated|treated)|^Suppressed|^Use -header-filter' || true; }
echo "lint: clean"
