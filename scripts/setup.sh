#!/usr/bin/env bash
# Installs what building, testing and the demo need and this machine lacks:
# Debian packages, by apt-get, as root or through sudo. Says nothing and changes
# nothing where all is there.
set -euo pipefail

packages=(
  # The tools.
  g++ clang clang-format clang-tidy cmake ninja-build ccache pkg-config git zip
  shellcheck librsvg2-bin
  # The fuzzer of Clang.
  libclang-rt-dev
  # What the application is built with.
  libgtk-4-dev libwebkitgtk-6.0-dev libsoup-3.0-dev nlohmann-json3-dev libarchive-dev
  # What it needs to run: the shell and the tools that it calls, the web view's
  # sandbox, rendering, https, icons and fonts.
  zsh lsof procps bubblewrap xdg-dbus-proxy glib-networking libegl-mesa0 libgl1-mesa-dri
  adwaita-icon-theme fonts-dejavu-core librsvg2-common
  # What builds, checks and installs the Debian package.
  dpkg-dev file lintian appstream desktop-file-utils libglib2.0-bin iproute2
  # What the tests use to drive the application and to inspect a release.
  unzip libgtest-dev libgmock-dev xvfb xauth xdotool xclip openbox imagemagick x11-utils dbus dbus-x11
  strace libfaketime wmctrl poppler-utils cups-daemon cups-client at-spi2-core libatspi2.0-dev
  x11-xserver-utils xsettingsd
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
# Any Node.js from 18 on will do, from wherever it came.
if ! node --eval 'process.exit(parseInt(process.versions.node) >= 18 ? 0 : 1)' 2>/dev/null; then
  missing+=(nodejs)
fi
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "setup: these packages are missing and there is no sudo to install them: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
