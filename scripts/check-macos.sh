#!/usr/bin/env bash
# Cross-compiles and links the macOS edition with -Werror, and checks the bundle. Needs no
# Mac and runs nothing of what it builds.
#
#   ./scripts/check-macos.sh SYSROOT [FOLDER]
#
# SYSROOT is a copy of the macOS SDK: usr/ and System/Library/Frameworks/ with
# headers and .tbd files. FOLDER is the build folder, by default build/macos-check.
set -euo pipefail

skip() {
  echo "check-macos: skipped, $*"
  exit 0
}
fail() {
  echo "check-macos: $*" >&2
  exit 1
}

case $# in 1 | 2) ;; 0) skip "SYSROOT is not given" ;; *) fail "usage: scripts/check-macos.sh SYSROOT [FOLDER]" ;; esac
[ -d "$1" ] || skip "the folder '$1' does not exist"
sysroot=$(cd "$1" && pwd)
folder=${2-}
case $folder in '' | /*) ;; *) folder=$PWD/$folder ;; esac
cd "$(dirname "$0")/.."
folder=${folder:-$PWD/build/macos-check}
for framework in AppKit WebKit Foundation; do
  [ -e "$sysroot/System/Library/Frameworks/$framework.framework/Headers/$framework.h" ] ||
    skip "the headers of $framework are not in '$sysroot'"
done
for tool in clang-19 clang++-19 ld64.lld-19 llvm-ar-19 llvm-ranlib-19 llvm-install-name-tool-19 llvm-otool-19 cmake ninja; do
  command -v "$tool" >/dev/null || skip "$tool is not installed"
done

# The compiler accepts a misspelt delegate method as a new method of the class. So every
# selector that a delegate implements must be declared in an SDK header, except our own.
delegates=(platform/macos/appkit/app_delegate_bridge.mm platform/macos/http/redirect_guard.mm)
mapfile -t selectors < <(
  awk '/^- \(/ { method = "" } { method = method " " $0 } /^[- ].*\{$/ && method ~ /^ - \(/ {
         print method; method = "" }' "${delegates[@]}" |
    sed -E ':a; s/\([^()]*\)//g; ta; s/__unused//g; s/^ - *//; s/ *\{$//' |
    awk '!/:/ { print $1; next } { gsub(/: *[A-Za-z]+ */, ":"); print }' |
    grep -vxE 'zoekUpdateMenu|kiesAdres|reloadPage|proceedWithTermination|closeAlerts|initWithRequest:forwardsHeaders:'
)
[ ${#selectors[@]} -gt 0 ] || fail "found no delegate methods"
mkdir -p "$folder"
{
  printf '#import <AppKit/AppKit.h>\n#import <WebKit/WebKit.h>\nextern SEL all[];\nSEL all[] = {\n'
  printf '    @selector(%s),\n' "${selectors[@]}"
  printf '};\n'
} >"$folder/selectors.mm"
clang++-19 --target=arm64-apple-macos13 -isysroot "$sysroot" -fsyntax-only -fobjc-arc -std=c++20 \
  -Werror -Wundeclared-selector "$folder/selectors.mm"
echo "check-macos: ${#selectors[@]} delegate methods are declared in SDK headers"

cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/macos-cross.cmake" -DORVELOS_MACOS_SYSROOT="$sysroot" >/dev/null
cmake --build "$folder" -- -j "${JOBS:-$(nproc)}" --quiet

bundle="$folder/Orvel OS.app"
commands=$(llvm-otool-19 -l "$bundle/Contents/MacOS/Orvel OS")
header=$(llvm-otool-19 -h "$bundle/Contents/MacOS/Orvel OS")
grep -q '0xfeedfacf *16777228 ' <<<"$header" || fail "the executable is not for arm64"
[ "$(grep -cE '^ *minos 13\.0$' <<<"$commands")" = 1 ] || fail "the executable is not for macOS 13.0"
for framework in AppKit Foundation WebKit; do
  grep -q "/System/Library/Frameworks/$framework.framework/" <<<"$commands" ||
    fail "the executable is not linked with $framework"
done
for text in nl.orvel.os '<string>Orvel OS</string>' '<string>13.0</string>' NSAllowsArbitraryLoads; do
  grep -qF "$text" "$bundle/Contents/Info.plist" || fail "'$text' is not in Info.plist"
done
icon=$(awk '/<key>CFBundleIconFile</ { getline; gsub(/.*<string>|<.*/, ""); print }' "$bundle/Contents/Info.plist")
[ -s "$bundle/Contents/Resources/$icon.icns" ] || fail "the icon '$icon' is not in the bundle"
echo "check-macos: compiled and linked, not run: $bundle"
