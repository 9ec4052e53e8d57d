#!/usr/bin/env bash
# Renders the icon of the macOS application from packaging/nl.orvel.os.svg.
#
#   ./scripts/make-icns.sh [FILE]
#
# Writes packaging/macos/orvel-os.icns by default. That file is in version control, because
# macOS has no tool that renders SVG. Run this script again when the SVG changes; it needs
# rsvg-convert of librsvg.
set -euo pipefail

fail() {
  echo "make-icns: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/make-icns.sh [FILE]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
file=${1:-$checkout/packaging/macos/orvel-os.icns}
command -v rsvg-convert >/dev/null ||
  fail "rsvg-convert is not installed; it is a part of librsvg (Debian package librsvg2-bin)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
iconset=$work/orvel-os.iconset
mkdir "$iconset"

# draw WIDTH NAME: renders one image of the icon set.
draw() {
  rsvg-convert -w "$1" -h "$1" -o "$iconset/$2.png" "$checkout/packaging/nl.orvel.os.svg" ||
    fail "rsvg-convert could not render the icon at $1 by $1"
}
for points in 16 32 128 256 512; do
  draw "$points" "icon_${points}x$points"
  draw $((2 * points)) "icon_${points}x$points@2x"
done

if command -v iconutil >/dev/null; then
  iconutil -c icns -o "$work/orvel-os.icns" "$iconset" || fail "iconutil could not write the icon"
else
  command -v node >/dev/null || fail "neither iconutil nor node is installed"
  node "$(dirname "$0")/write_icns.mjs" "$iconset" "$work/orvel-os.icns" || exit 1
fi
cp "$work/orvel-os.icns" "$file"
echo "make-icns: $file"
