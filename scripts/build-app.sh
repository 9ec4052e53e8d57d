#!/usr/bin/env bash
# Builds the application for the system that this runs on.
#
#   ./scripts/build-app.sh [FOLDER]
#
# Leaves "Orvel OS.app" in the folder, or in build. What stood there stays until the
# new one is whole. The environment may hold, for every system,
#
#   ORVELOS_VERSION, ORVELOS_KEY, ORVELOS_URL
#       version, key and preset address of the build
#
# and for a Mac
#
#   ORVELOS_SIGN_IDENTITY
#       the certificate to sign with, as `security find-identity -v -p codesigning` names
#       it; without one the signature is ad hoc, which is good for this Mac
#   ORVELOS_NOTARY_PROFILE
#       has Apple notarise the application, by the profile of that name that
#       `xcrun notarytool store-credentials` has made
#   ORVELOS_NOTARY_KEY, ORVELOS_NOTARY_KEY_ID, ORVELOS_NOTARY_ISSUER
#       the same, by the file of an App Store Connect key, its name and its issuer
set -euo pipefail

fail() {
  echo "build-app: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/build-app.sh [FOLDER]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${1-$checkout/build}
[ -n "$folder" ] || fail "the folder has no name"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is no folder"
cd "$checkout"

system=$(uname -s)
hint=''
case $system in
  Linux)
    executable=Contents/Linux/orvel-os
    hint='; scripts/setup.sh installs what it needs'
    ;;
  Darwin) executable='Contents/MacOS/Orvel OS' ;;
  *) fail "there is no edition for $system" ;;
esac

# need TOOL WORDS...: the words say where the tool comes from.
need() {
  local tool=$1
  shift
  command -v "$tool" >/dev/null || fail "$tool is not installed; $*"
}

notary=()
notarises() { [ "${#notary[@]}" -gt 0 ]; }
if [ "$system" = Darwin ]; then
  # A Mac has the names of these tools before it has the tools.
  need xcode-select "this is no Mac"
  xcode-select -p >/dev/null 2>&1 ||
    fail "Xcode's command line tools are not installed; xcode-select --install does that"
  need codesign "it is a part of macOS"
  for tool in cmake ninja; do need "$tool" "it does not come with Xcode"; done

  if [ -n "${ORVELOS_NOTARY_PROFILE:-}" ]; then
    notary=(--keychain-profile "$ORVELOS_NOTARY_PROFILE")
  elif [ -n "${ORVELOS_NOTARY_KEY:-}${ORVELOS_NOTARY_KEY_ID:-}${ORVELOS_NOTARY_ISSUER:-}" ]; then
    for name in ORVELOS_NOTARY_KEY ORVELOS_NOTARY_KEY_ID ORVELOS_NOTARY_ISSUER; do
      [ -n "${!name:-}" ] || fail "$name is missing; notarising by a key needs all three"
    done
    [ -r "$ORVELOS_NOTARY_KEY" ] || fail "there is no key '$ORVELOS_NOTARY_KEY' to be read"
    notary=(--key "$ORVELOS_NOTARY_KEY" --key-id "$ORVELOS_NOTARY_KEY_ID"
      --issuer "$ORVELOS_NOTARY_ISSUER")
  fi
  if notarises; then
    [ -n "${ORVELOS_SIGN_IDENTITY:-}" ] ||
      fail "ORVELOS_SIGN_IDENTITY is missing; Apple notarises no application that is signed ad hoc"
    for tool in xcrun ditto; do need "$tool" "it is a part of macOS"; done
  fi
else
  for tool in cmake ninja strip; do need "$tool" "scripts/setup.sh installs it"; done
fi

# Unset first: the build's folder remembers what an earlier build was given.
presets=(-UORVELOS_VERSION -UORVELOS_KEY -UORVELOS_URL
  -DORVELOS_KEY="${ORVELOS_KEY:-}" -DORVELOS_URL="${ORVELOS_URL:-}")
if [ -n "${ORVELOS_VERSION:-}" ]; then
  # It becomes a part of file names and of shell commands where an update offers it.
  [[ $ORVELOS_VERSION =~ ^[0-9]+(\.[0-9]+)*$ ]] ||
    fail "a version is numbers with full stops between them, such as 1.10; not '$ORVELOS_VERSION'"
  presets+=(-DORVELOS_VERSION="$ORVELOS_VERSION")
fi
[ "$system" = Linux ] || presets+=(-DCMAKE_OSX_ARCHITECTURES=arm64)

work=''
target="$folder/Orvel OS.app"
finish() {
  local status=$?
  trap - EXIT
  trap '' INT TERM HUP
  if [ -n "$work" ]; then
    if [ -e "$work/old.app" ] && [ ! -e "$target" ]; then mv "$work/old.app" "$target"; fi
    rm -rf "$work"
  fi
  exit "$status"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

built="build/release-build/Orvel OS.app"
# What an earlier build left in the bundle would be a part of this one.
rm -rf "$built"
cmake --preset release "${presets[@]}" >/dev/null || fail "the build could not be configured$hint"
cmake --build --preset release --target orvel-os -- --quiet || fail "the build failed"
[ -x "$built/$executable" ] || fail "the build left no '$executable'"

mkdir -p "$folder"
work=$(mktemp -d "$folder/.build-app-XXXXXX")
bundle="$work/Orvel OS.app"
mv "$built" "$bundle"

sign() {
  local identity=(--sign -)
  # A certificate's signature tells its time by Apple's clock; notarising asks for that.
  if [ -n "${ORVELOS_SIGN_IDENTITY:-}" ]; then
    identity=(--timestamp --sign "$ORVELOS_SIGN_IDENTITY")
  fi
  # The hardened runtime needs no exception: pages are compiled in WebKit's own
  # processes, and child processes run under their own signatures.
  codesign --force --options runtime --entitlements packaging/macos/orvel-os.entitlements \
    "${identity[@]}" "$bundle" || fail "the application could not be signed"
  codesign --verify --strict "$bundle" || fail "the signature does not hold"
}

notarise() {
  local answer
  ditto -c -k --keepParent "$bundle" "$work/notary.zip" ||
    fail "the application could not be packed for Apple"
  # An application that is refused counts as a success of this command.
  answer=$(xcrun notarytool submit "$work/notary.zip" "${notary[@]}" --wait) ||
    fail "the application could not be handed to Apple: $answer"
  grep -qE '^ *status: Accepted *$' <<<"$answer" ||
    fail "Apple did not accept the application; xcrun notarytool log tells why: $answer"
  xcrun stapler staple "$bundle" >/dev/null || fail "Apple's ticket could not be attached"
  xcrun stapler validate "$bundle" >/dev/null || fail "Apple's ticket does not hold"
}

if [ "$system" = Darwin ]; then
  sign
  if notarises; then notarise; fi
else
  strip "$bundle/$executable" || fail "the executable could not be stripped"
fi
# Older than its sources: the default build, which has its bundle in the same place,
# makes its own again.
touch -t 200001010000 "$bundle/$executable"

[ ! -e "$target" ] || mv "$target" "$work/old.app"
mv "$bundle" "$target"
echo "build-app: $target"
