#!/usr/bin/env bash
# Installs the Debian packages that building, testing and the demo need and that are missing on
# this machine. Runs apt-get as root or through sudo. Prints nothing and changes nothing
# when everything is installed.
#
#   ./scripts/setup.sh
#   ./scripts/setup.sh lint   also installs the linters of scripts/lint.sh
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
  echo "setup: $*" >&2
  exit 1
}

case "${1-}" in '' | lint) ;; *) fail 'usage: scripts/setup.sh [lint]' ;; esac

packages=(
  # Build tools.
  g++ clang cmake ninja-build ccache pkg-config git zip librsvg2-bin openssl
  # libFuzzer.
  libclang-rt-dev
  # Libraries of the application.
  libgtk-4-dev libwebkitgtk-6.0-dev libsoup-3.0-dev nlohmann-json3-dev libarchive-dev
  libgnutls28-dev
  # Needed to run the application: the shell and the tools that it calls, the sandbox of the web
  # view, rendering, https, icons and fonts.
  zsh lsof procps bubblewrap xdg-dbus-proxy glib-networking libegl-mesa0 libgl1-mesa-dri
  adwaita-icon-theme fonts-dejavu-core librsvg2-common
  # Tools that build, check and install the Debian package.
  dpkg-dev file lintian appstream desktop-file-utils libglib2.0-bin iproute2
  # Tools of the tests, to drive the application and to inspect a release.
  unzip libgtest-dev libgmock-dev xvfb xauth xdotool xclip openbox imagemagick x11-utils dbus dbus-x11
  strace libfaketime wmctrl poppler-utils cups-daemon cups-client at-spi2-core libatspi2.0-dev
  x11-xserver-utils xsettingsd
  # Mutation testing.
  python3-clang lld
)

# libclang-rt-19-dev has the headers of libFuzzer for clang-tidy.
[ "${1-}" != lint ] || packages+=(clang-format-19 clang-tidy-19 libclang-rt-19-dev shellcheck)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$package")
done
# Accepts any Node.js from version 18 on, also one that is not a Debian package.
if ! node --eval 'process.exit(parseInt(process.versions.node) >= 18 ? 0 : 1)' 2>/dev/null; then
  missing+=(nodejs)
fi
if [ "${1-}" = lint ] && ! command -v npm >/dev/null; then missing+=(npm); fi

if [ ${#missing[@]} -gt 0 ]; then
  as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      fail "these packages are missing and there is no sudo to install them: ${missing[*]}"
    as_root=(sudo)
  fi
  echo "setup: installing ${missing[*]}"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
fi

# ESLint. Debian has version 6, which cannot parse the syntax that the code uses. npm writes
# node_modules/.package-lock.json when it installs.
if [ "${1-}" = lint ] && [ package-lock.json -nt node_modules/.package-lock.json ]; then
  echo 'setup: installing ESLint'
  npm ci --no-audit --no-fund --loglevel=error
fi
