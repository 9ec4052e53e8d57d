#!/usr/bin/env bash
# Builds the application and a Debian package that installs it for all users.
#
#   ./scripts/package-linux.sh [FOLDER]
#
# Writes orvel-os_VERSION_ARCHITECTURE.deb to the folder, by default build. Uses the
# environment variables of scripts/build-app.sh and
#
#   ORVELOS_MAINTAINER
#       the maintainer of the package, as "Name <name@host>"
#   ORVELOS_HOMEPAGE
#       the web page of the application, an http or https URL; by default
#       https://orvel.nl/, the domain of the application's identifier
#
# The build is reproducible: the same sources, version, environment variables and tools give
# the same bytes. SOURCE_DATE_EPOCH sets the modification time of the files in the package; the
# default is the time of the last commit.
set -euo pipefail

fail() {
  echo "package-linux: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/package-linux.sh [FOLDER]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${1-$checkout/build}
[ -n "$folder" ] || fail "FOLDER is empty"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is not a folder"
[ "$(uname -s)" = Linux ] || fail "Debian packages are built on Linux only"
for tool in cpack dpkg-shlibdeps file gzip rsvg-convert; do
  command -v "$tool" >/dev/null || fail "$tool is not installed; scripts/setup.sh installs it"
done
cd "$checkout"
timestamp=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
# The default without git is 1980-01-01, the earliest time in a zip archive, as in release.sh.
timestamp=${timestamp:-315532800}
[[ $timestamp =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is not a number of seconds: '$timestamp'"
maintainer=${ORVELOS_MAINTAINER:-Orvel <noreply@orvel.nl>}
[[ $maintainer =~ ^[^\<\>]+' <'[^\<\>\ @]+@[^\<\>\ @]+'>'$ && $maintainer != *$'\n'* ]] ||
  fail "'$maintainer' is not a maintainer; use a name and an address, such as 'Name <name@host>'"
homepage=${ORVELOS_HOMEPAGE:-https://orvel.nl/}
# The value is inserted into XML, a package field and a sed expression without escaping.
[[ $homepage =~ ^https?://[A-Za-z0-9][-A-Za-z0-9.:]*(/[-A-Za-z0-9._~%/]*)?$ ]] ||
  fail "'$homepage' is not a homepage; use an http or https address without a query"

work=''
trap 'rm -rf ${work:+"$work"}' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
umask 022
export LC_ALL=C TZ=UTC SOURCE_DATE_EPOCH=$timestamp

mkdir -p "$folder"
work=$(mktemp -d "$folder/.package-XXXXXX")
root=$work/root
bundle="$root/usr/lib/orvel-os/Orvel OS.app"
share=$root/usr/share
documents=$share/doc/orvel-os

scripts/build-app.sh "${bundle%/*}" >/dev/null || fail "the build of the application failed"
version=$(sed -n '/CFBundleShortVersionString/{n;s/.*<string>\(.*\)<.*/\1/p}' \
  "$bundle/Contents/Info.plist")
[[ $version =~ ^[0-9]+(\.[0-9]+)*$ ]] || fail "'$version' in Info.plist is not a version"

# put MODE SOURCE TARGET: copies a file into the share folder of the package.
put() { install -D -m "$1" "$2" "$share/$3"; }
put 644 packaging/linux/nl.orvel.os.desktop applications/nl.orvel.os.desktop
sed -e "s|@homepage@|$homepage|" -e "s|@version@|$version|" \
  -e "s|@date@|$(date -d "@$timestamp" +%F)|" packaging/linux/nl.orvel.os.metainfo.xml.in >"$work/metainfo"
put 644 "$work/metainfo" metainfo/nl.orvel.os.metainfo.xml
put 644 packaging/linux/copyright doc/orvel-os/copyright
put 644 packaging/linux/orvel-os.1 man/man1/orvel-os.1
gzip -9n "$share/man/man1/orvel-os.1"
printf 'orvel-os (%s) unstable; urgency=medium\n\n  * Release %s.\n\n -- %s  %s\n' \
  "$version" "$version" "$maintainer" "$(date -R -d "@$timestamp")" |
  gzip -9n >"$documents/changelog.gz"

# The icon theme needs the icon as SVG and as PNG in each size; the bundle links to the SVG.
icons=icons/hicolor
put 644 packaging/nl.orvel.os.svg $icons/scalable/apps/nl.orvel.os.svg
ln -sf "../../../../../share/$icons/scalable/apps/nl.orvel.os.svg" \
  "$bundle/Contents/Resources/nl.orvel.os.svg"
for size in 16 22 24 32 48 64 128 256 512; do
  mkdir -p "$share/$icons/${size}x$size/apps"
  rsvg-convert -w $size -h $size -o "$share/$icons/${size}x$size/apps/nl.orvel.os.png" \
    packaging/nl.orvel.os.svg || fail "rsvg-convert could not render the icon at $size by $size"
done
mkdir "$root/usr/bin"
ln -s "../lib/orvel-os/Orvel OS.app/Contents/Linux/orvel-os" "$root/usr/bin/orvel-os"

chmod -R u=rwX,go=rX "$root"
find "$root" -exec touch -h -d "@$timestamp" {} +
cpack --config packaging/linux/package.cmake -B "$work/package" \
  -D CPACK_INSTALLED_DIRECTORIES="$root;/" -D CPACK_PACKAGE_VERSION="$version" \
  -D CPACK_PACKAGE_CONTACT="$maintainer" -D CPACK_PACKAGE_HOMEPAGE_URL="$homepage" \
  >"$work/log" 2>&1 || {
  cat "$work/log" >&2
  fail "CPack failed"
}
packages=("$work/package"/*.deb)
[ -f "${packages[0]}" ] || fail "CPack created no package"
mv -f "${packages[0]}" "$folder/"
echo "package-linux: $folder/${packages[0]##*/}"
