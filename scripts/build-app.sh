#!/usr/bin/env bash
# Builds the application for this system.
#
#   ./scripts/build-app.sh [FOLDER]
#
# Writes "Orvel OS.app" to the folder, by default build. Replaces an existing bundle only
# when the new one is complete. Environment variables on all systems:
#
#   ORVELOS_VERSION, ORVELOS_KEY, ORVELOS_URL
#       version, app key and default server address of the build
#   ORVELOS_UPDATE_KEY
#       public key that verifies updates, as scripts/make-update-key.sh prints it; without it
#       the built application installs updates without verifying a signature
#
# On macOS:
#
#   ORVELOS_SIGN_IDENTITY
#       name of the signing certificate, as printed by
#       `security find-identity -v -p codesigning`; without it the signature is ad hoc,
#       which is enough to run on this Mac
#   ORVELOS_NOTARY_PROFILE
#       notarises with the credentials that `xcrun notarytool store-credentials` stored
#       under this name
#   ORVELOS_NOTARY_KEY, ORVELOS_NOTARY_KEY_ID, ORVELOS_NOTARY_ISSUER
#       notarises with an App Store Connect API key: its file, key ID and issuer ID
set -euo pipefail

fail() {
  echo "build-app: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/build-app.sh [FOLDER]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${1-$checkout/build}
[ -n "$folder" ] || fail "FOLDER is empty"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is not a folder"
cd "$checkout"

system=$(uname -s)
hint=''
case $system in
  Linux)
    executable=Contents/Linux/orvel-os
    hint='; scripts/setup.sh installs what it needs'
    ;;
  Darwin) executable='Contents/MacOS/Orvel OS' ;;
  *) fail "$system is not supported" ;;
esac

# need TOOL HINT: fails with the hint when the tool is missing.
need() { command -v "$1" >/dev/null || fail "$1 is not installed; $2"; }

notary_options=()
notarises() { [ "${#notary_options[@]}" -gt 0 ]; }
if [ "$system" = Darwin ]; then
  # macOS has stubs in /usr/bin for Xcode's tools, which `command -v` finds even when the tools
  # are not installed.
  need xcode-select "it is a part of macOS"
  xcode-select -p >/dev/null 2>&1 ||
    fail "Xcode's command line tools are not installed; xcode-select --install installs them"
  for tool in codesign xattr; do need "$tool" "it is a part of macOS"; done
  for tool in cmake ninja; do need "$tool" "Xcode does not include it"; done

  if [ -n "${ORVELOS_NOTARY_PROFILE:-}" ]; then
    notary_options=(--keychain-profile "$ORVELOS_NOTARY_PROFILE")
  elif [ -n "${ORVELOS_NOTARY_KEY:-}${ORVELOS_NOTARY_KEY_ID:-}${ORVELOS_NOTARY_ISSUER:-}" ]; then
    for name in ORVELOS_NOTARY_KEY ORVELOS_NOTARY_KEY_ID ORVELOS_NOTARY_ISSUER; do
      [ -n "${!name:-}" ] || fail "$name is not set; notarising with a key needs all three variables"
    done
    [ -r "$ORVELOS_NOTARY_KEY" ] || fail "the key file '$ORVELOS_NOTARY_KEY' cannot be read"
    notary_options=(--key "$ORVELOS_NOTARY_KEY" --key-id "$ORVELOS_NOTARY_KEY_ID"
      --issuer "$ORVELOS_NOTARY_ISSUER")
  fi
  if notarises; then
    [ -n "${ORVELOS_SIGN_IDENTITY:-}" ] ||
      fail "ORVELOS_SIGN_IDENTITY is not set; Apple does not notarise an ad hoc signature"
    for tool in xcrun ditto spctl; do need "$tool" "it is a part of macOS"; done
  fi
else
  for tool in cmake ninja strip; do need "$tool" "scripts/setup.sh installs it"; done
fi

# Unset first, because the CMake cache keeps the values of an earlier build, such as a version when
# ORVELOS_VERSION is no longer set.
cache_options=(-UORVELOS_VERSION -UORVELOS_KEY -UORVELOS_URL -UORVELOS_UPDATE_KEY
  -DORVELOS_KEY="${ORVELOS_KEY:-}" -DORVELOS_URL="${ORVELOS_URL:-}"
  -DORVELOS_UPDATE_KEY="${ORVELOS_UPDATE_KEY:-}")
if [ -n "${ORVELOS_VERSION:-}" ]; then
  # An update puts the version into file names and shell commands.
  [[ $ORVELOS_VERSION =~ ^[0-9]+(\.[0-9]+)*$ ]] ||
    fail "'$ORVELOS_VERSION' is not a version; use numbers separated by full stops, such as 1.10"
  cache_options+=(-DORVELOS_VERSION="$ORVELOS_VERSION")
fi
[ "$system" = Linux ] || cache_options+=(-DCMAKE_OSX_ARCHITECTURES=arm64)

work=''
target="$folder/Orvel OS.app"
finish() {
  local status=$?
  trap - EXIT
  trap '' INT TERM HUP
  if [ -n "$work" ]; then
    # The script was interrupted between its last two calls of mv.
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
# Otherwise files of an earlier build would stay in the bundle.
rm -rf "$built"
cmake --preset release "${cache_options[@]}" >/dev/null || fail "CMake failed to configure the build$hint"
cmake --build --preset release --target orvel-os -- --quiet || fail "the build failed"
[ -x "$built/$executable" ] || fail "the build did not create '$executable'"

mkdir -p "$folder"
work=$(mktemp -d "$folder/.build-app-XXXXXX")
bundle="$work/Orvel OS.app"
mv "$built" "$bundle"

sign() {
  local identity=(--sign -)
  # Notarisation requires a timestamp of Apple's server in the signature.
  if [ -n "${ORVELOS_SIGN_IDENTITY:-}" ]; then
    identity=(--timestamp --sign "$ORVELOS_SIGN_IDENTITY")
  fi
  # codesign rejects resource forks, Finder information and similar attributes, which files
  # from an archive or a cloud folder may have (Apple, Technical Q&A QA1940).
  xattr -cr "$bundle" || fail "xattr could not clear the extended attributes"
  # The hardened runtime needs no entitlements for JIT or child processes: scripts are
  # compiled in WebKit's processes, and child processes have their own signatures.
  codesign --force --options runtime --entitlements packaging/macos/orvel-os.entitlements \
    "${identity[@]}" "$bundle" || fail "codesign could not sign the application"
  codesign --verify --strict "$bundle" || fail "the signature is not valid"
}

notarise() {
  local output
  ditto -c -k --keepParent "$bundle" "$work/notary.zip" ||
    fail "ditto could not pack the application for notarisation"
  # notarytool exits with status 0 even when Apple rejects the application.
  output=$(xcrun notarytool submit "$work/notary.zip" "${notary_options[@]}" --wait) ||
    fail "notarytool could not submit the application: $output"
  grep -qE '^ *status: Accepted *$' <<<"$output" ||
    fail "Apple rejected the application; 'xcrun notarytool log' has the reason: $output"
  xcrun stapler staple "$bundle" >/dev/null || fail "stapler could not attach the notarisation ticket"
  xcrun stapler validate "$bundle" >/dev/null || fail "the notarisation ticket is not valid"
  # Asks Gatekeeper for the decision that it would make on a downloaded copy.
  spctl --assess --type execute "$bundle" || fail "Gatekeeper rejects the application"
}

if [ "$system" = Darwin ]; then
  sign
  if notarises; then notarise; fi
else
  strip "$bundle/$executable" || fail "strip failed on the executable"
fi
# A build with the preset "default" may write its bundle to the same folder. The old date makes
# Ninja link the executable of that build again instead of taking this one for up to date.
touch -t 200001010000 "$bundle/$executable"

[ ! -e "$target" ] || mv "$target" "$work/old.app"
mv "$bundle" "$target"
echo "build-app: $target"
