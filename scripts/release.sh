#!/usr/bin/env bash
# Builds a release and packs it for the servers that offer it.
#
#   ./scripts/release.sh VERSION [FOLDER]
#
# Leaves the archive orvel-os-VERSION.zip and its manifest in the folder, or in
# build/release. What scripts/build-app.sh takes from the environment holds here
# too. On Linux the same sources, version and presets give the same bytes;
# SOURCE_DATE_EPOCH sets the time of the files, which else is that of the last commit.
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
if [ "$manifest" = linux.json ]; then
  command -v zip >/dev/null || fail "zip is not installed; scripts/setup.sh installs it"
fi
cd "$checkout"
moment=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
# Without either: the first day that an archive can tell.
moment=${moment:-315532800}
[[ $moment =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is no number of seconds: '$moment'"

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
stamp=$(date -d "@$moment" +%Y%m%d%H%M.%S 2>/dev/null || date -r "$moment" +%Y%m%d%H%M.%S)
find "$stage" -exec touch -t "$stamp" {} +

archive=orvel-os-$version.zip
if [ "$manifest" = linux.json ]; then
  (cd "$stage" && find 'Orvel OS.app' | sort | zip -q -X -y "$work/$archive" -@)
else
  ditto -c -k --keepParent "$stage/Orvel OS.app" "$work/$archive"
  # As the application unpacks it when it updates itself.
  ditto -x -k "$work/$archive" "$work/unpacked"
  codesign --verify --strict "$work/unpacked/Orvel OS.app" ||
    fail "the signature did not survive the archive"
fi
printf '{"versie": "%s", "zip": "%s"}\n' "$version" "$archive" >"$work/$manifest"
# The manifest last: it never names an archive that is not there.
mv -f "$work/$archive" "$folder/$archive"
mv -f "$work/$manifest" "$folder/$manifest"
echo "release: $folder/$archive and $manifest"
