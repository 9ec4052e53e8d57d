#!/usr/bin/env bash
# Builds the application and makes a Debian package of it, for all users of a machine.
#
#   ./scripts/package-linux.sh [FOLDER]
#
# Leaves orvel-os_VERSION_ARCHITECTURE.deb in the folder, or in build. What
# scripts/build-app.sh takes from the environment holds here too, and
#
#   ORVELOS_MAINTAINER
#       the maintainer of the package, as "Name <name@host>"
#   ORVELOS_HOMEPAGE
#       the web page of the application, an http or https URL; by default
#       https://orvel.nl/, the domain of the application's identifier
#
# The build is reproducible: the same sources, version, presets and tools give the same
# bytes. SOURCE_DATE_EPOCH sets the time of the files; the default is the time of the
# last commit.
set -euo pipefail

fail() {
  echo "package-linux: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/package-linux.sh [FOLDER]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
folder=${1-$checkout/build}
[ -n "$folder" ] || fail "the folder has no name"
case $folder in /*) ;; *) folder=$PWD/$folder ;; esac
[ ! -e "$folder" ] || [ -d "$folder" ] || fail "'$folder' is no folder"
[ "$(uname -s)" = Linux ] || fail "a Debian package can be made on Linux alone"
for tool in cpack dpkg-shlibdeps file gzip rsvg-convert; do
  command -v "$tool" >/dev/null || fail "$tool is not installed; scripts/setup.sh installs it"
done
cd "$checkout"
moment=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
moment=${moment:-315532800}
[[ $moment =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is no number of seconds: '$moment'"
maintainer=${ORVELOS_MAINTAINER:-Orvel <noreply@orvel.nl>}
[[ $maintainer =~ ^[^\<\>]+' <'[^\<\>\ @]+@[^\<\>\ @]+'>'$ && $maintainer != *$'\n'* ]] ||
  fail "a maintainer is a name and an address, such as 'Name <name@host>'; not '$maintainer'"
homepage=${ORVELOS_HOMEPAGE:-https://orvel.nl/}
# The value is inserted into XML, a package field and a sed expression without escaping.
[[ $homepage =~ ^https?://[A-Za-z0-9][-A-Za-z0-9.:]*(/[-A-Za-z0-9._~%/]*)?$ ]] ||
  fail "a homepage is an http or https address without a query; not '$homepage'"

work=''
trap 'rm -rf ${work:+"$work"}' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP
umask 022
export LC_ALL=C TZ=UTC SOURCE_DATE_EPOCH=$moment

mkdir -p "$folder"
work=$(mktemp -d "$folder/.package-XXXXXX")
root=$work/root
bundle="$root/usr/lib/orvel-os/Orvel OS.app"
share=$root/usr/share
documents=$share/doc/orvel-os

scripts/build-app.sh "${bundle%/*}" >/dev/null || fail "there is no application to package"
version=$(sed -n '/CFBundleShortVersionString/{n;s/.*<string>\(.*\)<.*/\1/p}' \
  "$bundle/Contents/Info.plist")
[[ $version =~ ^[0-9]+(\.[0-9]+)*$ ]] || fail "the bundle has no version of a release: '$version'"

# put MODE SOURCE TARGET
put() { install -D -m "$1" "$2" "$share/$3"; }
put 644 packaging/linux/nl.orvel.os.desktop applications/nl.orvel.os.desktop
sed -e "s|@homepage@|$homepage|" -e "s|@version@|$version|" \
  -e "s|@date@|$(date -d "@$moment" +%F)|" packaging/linux/nl.orvel.os.metainfo.xml.in >"$work/metainfo"
put 644 "$work/metainfo" metainfo/nl.orvel.os.metainfo.xml
put 644 packaging/linux/copyright doc/orvel-os/copyright
put 644 packaging/linux/orvel-os.1 man/man1/orvel-os.1
gzip -9n "$share/man/man1/orvel-os.1"
printf 'orvel-os (%s) unstable; urgency=medium\n\n  * Release %s.\n\n -- %s  %s\n' \
  "$version" "$version" "$maintainer" "$(date -R -d "@$moment")" |
  gzip -9n >"$documents/changelog.gz"

# The drawing is shared with the machine's themes, which have it in sizes too.
icons=icons/hicolor
put 644 packaging/nl.orvel.os.svg $icons/scalable/apps/nl.orvel.os.svg
ln -sf "../../../../../share/$icons/scalable/apps/nl.orvel.os.svg" \
  "$bundle/Contents/Resources/nl.orvel.os.svg"
for size in 16 22 24 32 48 64 128 256 512; do
  mkdir -p "$share/$icons/${size}x$size/apps"
  rsvg-convert -w $size -h $size -o "$share/$icons/${size}x$size/apps/nl.orvel.os.png" \
    packaging/nl.orvel.os.svg || fail "the icon could not be drawn at $size by $size"
done
mkdir "$root/usr/bin"
ln -s "../lib/orvel-os/Orvel OS.app/Contents/Linux/orvel-os" "$root/usr/bin/orvel-os"

chmod -R u=rwX,go=rX "$root"
find "$root" -exec touch -h -d "@$moment" {} +
cpack --config packaging/linux/package.cmake -B "$work/package" \
  -D CPACK_INSTALLED_DIRECTORIES="$root;/" -D CPACK_PACKAGE_VERSION="$version" \
  -D CPACK_PACKAGE_CONTACT="$maintainer" -D CPACK_PACKAGE_HOMEPAGE_URL="$homepage" \
  >"$work/log" 2>&1 || {
  cat "$work/log" >&2
  fail "the package could not be made"
}
made=("$work/package"/*.deb)
[ -f "${made[0]}" ] || fail "CPack left no package"
mv -f "${made[0]}" "$folder/"
echo "package-linux: $folder/${made[0]##*/}"
