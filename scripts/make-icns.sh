#!/usr/bin/env bash
# Makes the icon of the macOS application from its drawing.
#
#   ./scripts/make-icns.sh [FILE]
#
# The file is packaging/macos/orvel-os.icns unless another is named. That one is
# kept with the sources, for a Mac has no program that draws an SVG: this is to be
# run again when the drawing changes, with rsvg-convert of librsvg.
set -euo pipefail

fail() {
  echo "make-icns: $*" >&2
  exit 1
}

[ $# -le 1 ] || fail "usage: scripts/make-icns.sh [FILE]"
checkout=$(cd "$(dirname "$0")/.." && pwd)
file=${1:-$checkout/packaging/macos/orvel-os.icns}
command -v rsvg-convert >/dev/null ||
  fail "rsvg-convert is not installed; it belongs to librsvg (on Debian librsvg2-bin)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
iconset=$work/orvel-os.iconset
mkdir "$iconset"

# draw WIDTH NAME
draw() {
  rsvg-convert -w "$1" -h "$1" -o "$iconset/$2.png" "$checkout/packaging/nl.orvel.os.svg" ||
    fail "the drawing could not be drawn at $1 by $1"
}
for points in 16 32 128 256 512; do
  draw "$points" "icon_${points}x$points"
  draw $((2 * points)) "icon_${points}x$points@2x"
done

if command -v iconutil >/dev/null; then
  iconutil -c icns -o "$work/orvel-os.icns" "$iconset" || fail "iconutil did not make the icon"
else
  command -v node >/dev/null || fail "neither iconutil nor node is installed"
  node "$(dirname "$0")/write_icns.mjs" "$iconset" "$work/orvel-os.icns" || exit 1
fi
cp "$work/orvel-os.icns" "$file"
echo "make-icns: $file"
