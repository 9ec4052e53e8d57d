#!/usr/bin/env bash
# Checks the macOS edition without a Mac: cross-compiles and links the application and its
# tests, and checks the sources, the property lists and the executable. Runs nothing of what
# it builds.
#
#   ./scripts/check-macos.sh SYSROOT [FOLDER]
#
# Needs Debian's packages clang-19, clang-tools-19, lld-19, llvm-19 and googletest. SYSROOT is a
# copy of the macOS SDK: usr/ and System/Library/Frameworks/ with headers and .tbd files. FOLDER
# is the build folder, by default build/macos-check. Environment variables:
#
#   GTEST_FOLDER  the installation folder of a GoogleTest that is built for macOS; without it
#                 the script builds one from /usr/src/googletest (Debian's package googletest)
#   JOBS          number of compilers that run at the same time, by default one per processor
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
googletest=${GTEST_FOLDER:+$(cd "$GTEST_FOLDER" && pwd)}
cd "$(dirname "$0")/.."
folder=${folder:-$PWD/build/macos-check}
for framework in AppKit WebKit Foundation; do
  [ -e "$sysroot/System/Library/Frameworks/$framework.framework/Headers/$framework.h" ] ||
    skip "the headers of $framework are not in '$sysroot'"
done
for tool in clang-19 clang++-19 clang-query-19 ld64.lld-19 llvm-ar-19 llvm-ranlib-19 \
  llvm-install-name-tool-19 llvm-otool-19 cmake ninja node python3; do
  command -v "$tool" >/dev/null || skip "$tool is not installed"
done
[ -n "$googletest" ] || [ -d /usr/src/googletest ] || skip "there is no GoogleTest for the tests"

# Without optimisation, because nothing of this build runs.
cross=(-G Ninja -DCMAKE_BUILD_TYPE= -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/macos-cross.cmake"
  -DORVELOS_MACOS_SYSROOT="$sysroot")
# With -k 0, Ninja continues after errors and so prints all of them.
ninja_options=(-- -j "${JOBS:-$(nproc)}" -k 0 --quiet)

if [ -z "$googletest" ]; then
  googletest=$folder/googletest
  cmake -S /usr/src/googletest -B "$folder/googletest-build" "${cross[@]}" \
    -DCMAKE_INSTALL_PREFIX="$googletest" >/dev/null
  cmake --build "$folder/googletest-build" --target install "${ninja_options[@]}" >/dev/null
fi
cmake -S . -B "$folder" "${cross[@]}" -DORVELOS_TESTS=ON \
  -DGTest_DIR="$googletest/lib/cmake/GTest" >/dev/null
cmake --build "$folder" "${ninja_options[@]}"
node tools/macos_check/check_sources.mjs "$folder"

bundle="$folder/Orvel OS.app"
python3 tools/macos_check/check_property_lists.py "$bundle/Contents/Info.plist"
[ -s "$bundle/Contents/Resources/orvel-os.icns" ] || fail "the icon is not in the bundle"

executable="$bundle/Contents/MacOS/Orvel OS"
tests=("$folder"/tests/{unit/unit,contract/contract,posix/posix,macos/macos}_tests)
for program in "$executable" "${tests[@]}"; do
  # MH_MAGIC_64 and CPU_TYPE_ARM64.
  grep -q '0xfeedfacf *16777228 ' <<<"$(llvm-otool-19 -h "$program")" ||
    fail "'$program' is not a program for arm64"
done
# 13.0 is CMAKE_OSX_DEPLOYMENT_TARGET in CMakeLists.txt.
load_commands=$(llvm-otool-19 -l "$executable")
[ "$(grep -cE '^ *minos 13\.0$' <<<"$load_commands")" = 1 ] || fail "the executable is not for macOS 13.0"
for framework in AppKit Foundation WebKit; do
  grep -q "/System/Library/Frameworks/$framework.framework/" <<<"$load_commands" ||
    fail "the executable is not linked with $framework"
done
echo "check-macos: compiled and linked, not run: $bundle"
