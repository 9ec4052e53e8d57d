#!/usr/bin/env bash
# Builds a release and packs it for the servers that offer it.
#
#   ./scripts/release.sh VERSION [FOLDER]
#
# Leaves the archive orvel-os-VERSION.zip and its manifest in the folder, or in
# build/release. ORVELOS_KEY and ORVELOS_URL in the environment are the key and
# the preset address of the build. The same sources, version and presets give the
# same bytes; SOURCE_DATE_EPOCH sets the time of the files, which else is that
# of the last commit.
set -euo pipefail

fail() {
  echo "release: $*" >&2
  exit 1
}

case $# in 1 | 2) ;; *) fail "usage: scripts/release.sh VERSION [FOLDER]" ;; esac
version=$1
# It becomes a part of file names and of shell commands, and the application
# reads a number beyond 64 bits as 0.
[[ $version =~ ^[0-9]{1,18}(\.[0-9]{1,18})*$ ]] ||
  fail "a version is numbers of at most 18 digits with full stops between them, such as 1.10; not '$version'"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${2-$checkout/build/release}
[ -n "$folder" ] || fail "the folder has no name"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is no folder"

case $(uname -s) in
  Linux) manifest=linux.json ;;
  Darwin) manifest=mac.json ;;
  *) fail "there is no edition for $(uname -s)" ;;
esac
command -v zip >/dev/null || fail "zip is not installed; scripts/setup.sh installs it"
cd "$checkout"
moment=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
# Without either: the first day that an archive can tell.
moment=${moment:-315532800}
[[ $moment =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is no number of seconds: '$moment'"

work=''
trap '[ -z "$work" ] || rm -rf "$work"' EXIT
umask 022
export LC_ALL=C TZ=UTC
unset ZIPOPT

build=build/release-build
# What an earlier build left in the bundle would be packed too.
rm -rf "$build/Orvel OS.app"
cmake --preset release -DORVELOS_VERSION="$version" -DORVELOS_KEY="${ORVELOS_KEY:-}" \
  -DORVELOS_URL="${ORVELOS_URL:-}" >/dev/null
cmake --build --preset release --target orvel-os -- --quiet

mkdir -p "$folder"
work=$(mktemp -d "$folder/.release-XXXXXX")
mkdir "$work/bundle"
cp -R "$build/Orvel OS.app" "$work/bundle"
[ "$manifest" != linux.json ] || strip "$work/bundle/Orvel OS.app/Contents/Linux/orvel-os"
chmod -R u=rwX,go=rX "$work/bundle"
stamp=$(date -d "@$moment" +%Y%m%d%H%M.%S 2>/dev/null || date -r "$moment" +%Y%m%d%H%M.%S)
find "$work/bundle" -exec touch -t "$stamp" {} +

archive=orvel-os-$version.zip
(cd "$work/bundle" && find 'Orvel OS.app' | sort | zip -q -X -y "$work/$archive" -@)
printf '{"versie": "%s", "zip": "%s"}\n' "$version" "$archive" >"$work/$manifest"
# The manifest last: it never names an archive that is not there.
mv -f "$work/$archive" "$folder/$archive"
mv -f "$work/$manifest" "$folder/$manifest"
echo "release: $folder/$archive and $manifest"
