#!/usr/bin/env bash
# Builds a release: an archive of the application and the manifest of the update check.
#
#   ./scripts/release.sh VERSION [FOLDER]
#
# Writes orvel-os-VERSION.zip and its manifest to the folder, by default build/release.
# Uses the environment variables of scripts/build-app.sh. On Linux the build is
# reproducible: the same sources, version, presets and tools give the same bytes.
# SOURCE_DATE_EPOCH sets the time of the files; the default is the time of the last commit.
#
# On macOS a release needs ORVELOS_SIGN_IDENTITY. ORVELOS_ADHOC=1 allows a release with an ad
# hoc signature: Gatekeeper blocks a downloaded copy, and applications that are signed by a
# team do not install it as an update.
set -euo pipefail

fail() {
  echo "release: $*" >&2
  exit 1
}

case $# in 1 | 2) ;; *) fail "usage: scripts/release.sh VERSION [FOLDER]" ;; esac
version=$1
# The version becomes a part of file names and shell commands. The application reads a
# number of more than 64 bits as 0.
[[ $version =~ ^[0-9]{1,18}(\.[0-9]{1,18})*$ ]] ||
  fail "'$version' is not a version; use numbers of at most 18 digits separated by full stops, such as 1.10"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${2-$checkout/build/release}
[ -n "$folder" ] || fail "FOLDER is empty"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is not a folder"

case $(uname -s) in
  Linux) manifest=linux.json ;;
  Darwin) manifest=mac.json ;;
  *) fail "$(uname -s) is not supported" ;;
esac
if [ "$manifest" = linux.json ]; then
  command -v zip >/dev/null || fail "zip is not installed; scripts/setup.sh installs it"
elif [ -z "${ORVELOS_SIGN_IDENTITY:-}" ] && [ "${ORVELOS_ADHOC:-}" != 1 ]; then
  fail "ORVELOS_SIGN_IDENTITY is not set; ORVELOS_ADHOC=1 makes a release with an ad hoc signature"
fi
cd "$checkout"
timestamp=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
# The default without git is 1980-01-01, the earliest date that a zip archive can store.
timestamp=${timestamp:-315532800}
[[ $timestamp =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is not a number of seconds: '$timestamp'"

work=''
stage=''
trap 'rm -rf ${work:+"$work"} ${stage:+"$stage"}' EXIT
umask 022
export LC_ALL=C TZ=UTC
unset ZIPOPT

mkdir -p build
stage=$(mktemp -d build/.release-XXXXXX)
ORVELOS_VERSION=$version scripts/build-app.sh "$stage" >/dev/null

mkdir -p "$folder"
work=$(mktemp -d "$folder/.release-XXXXXX")
chmod -R u=rwX,go=rX "$stage"
stamp=$(date -d "@$timestamp" +%Y%m%d%H%M.%S 2>/dev/null || date -r "$timestamp" +%Y%m%d%H%M.%S)
find "$stage" -exec touch -t "$stamp" {} +

archive=orvel-os-$version.zip
if [ "$manifest" = linux.json ]; then
  (cd "$stage" && find 'Orvel OS.app' | sort | zip -q -X -y "$work/$archive" -@)
else
  ditto -c -k --keepParent "$stage/Orvel OS.app" "$work/$archive"
  # Unpacks it with the command that the application uses for an update.
  ditto -x -k "$work/$archive" "$work/unpacked"
  codesign --verify --strict "$work/unpacked/Orvel OS.app" ||
    fail "the signature in the archive is not valid"
fi
printf '{"versie": "%s", "zip": "%s"}\n' "$version" "$archive" >"$work/$manifest"
# The manifest comes last, so that it never names a missing archive.
mv -f "$work/$archive" "$folder/$archive"
mv -f "$work/$manifest" "$folder/$manifest"
echo "release: $folder/$archive and $manifest"
