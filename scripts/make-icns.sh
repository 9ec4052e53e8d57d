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
command -v node >/dev/null || fail "node is not installed"
command -v rsvg-convert >/dev/null ||
  fail "rsvg-convert is not installed; it is a part of librsvg (Debian package librsvg2-bin)"

images=$(mktemp -d)
trap 'rm -rf "$images"' EXIT

for width in 32 64 128 256 512 1024; do
  rsvg-convert -w "$width" -h "$width" -o "$images/$width.png" \
    "$checkout/packaging/nl.orvel.os.svg" ||
    fail "rsvg-convert could not render the icon at $width by $width"
done
node "$(dirname "$0")/write_icns.mjs" "$images" "$images/orvel-os.icns"
cp "$images/orvel-os.icns" "$file"
echo "make-icns: $file"
