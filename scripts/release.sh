#!/usr/bin/env bash
# Builds a release: an archive of the application and the manifest of the update check.
#
#   ./scripts/release.sh VERSION [FOLDER]
#
# Writes orvel-os-VERSION.zip and its manifest to the folder, by default build/release.
# Uses the environment variables of scripts/build-app.sh, and these to sign the release:
#
#   ORVELOS_SIGNING_KEY
#       path of the private key that belongs to ORVELOS_UPDATE_KEY; needed when that is set
#   ORVELOS_OLD_SIGNING_KEY
#       path of the previous private key, for the release that changes the key: this key signs
#       the manifest, which names ORVELOS_UPDATE_KEY as the new key
#
# On Linux the build is reproducible: the same sources, version, environment variables and
# tools give the same bytes. SOURCE_DATE_EPOCH sets the modification time of the files in the
# archive; the default is the time of the last commit.
#
# On macOS a release needs ORVELOS_SIGN_IDENTITY. ORVELOS_ADHOC=1 allows a release with an ad
# hoc signature: Gatekeeper blocks a downloaded copy, and applications that are signed by an
# Apple developer team do not install it as an update.
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
signing_key=${ORVELOS_SIGNING_KEY:-}
old_signing_key=${ORVELOS_OLD_SIGNING_KEY:-}
case $signing_key in '' | /*) ;; *) signing_key=$PWD/$signing_key ;; esac
case $old_signing_key in '' | /*) ;; *) old_signing_key=$PWD/$old_signing_key ;; esac
cd "$checkout"
timestamp=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || true)}
# The default without git is 1980-01-01, the earliest date that a zip archive can store.
timestamp=${timestamp:-315532800}
[[ $timestamp =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is not a number of seconds: '$timestamp'"

# The key pairs are checked before the long build.
public_key=${ORVELOS_UPDATE_KEY:-}
if [ -n "$public_key$signing_key$old_signing_key" ]; then
  command -v openssl >/dev/null || fail "openssl is not installed"
  # shellcheck source=scripts/update_key.sh
  . scripts/update_key.sh
  [ -n "$public_key" ] || fail "ORVELOS_UPDATE_KEY is not set, but a signing key is"
  [ -n "$signing_key" ] ||
    fail "ORVELOS_SIGNING_KEY is not set; the application would refuse an unsigned update"
  for key in "$signing_key" ${old_signing_key:+"$old_signing_key"}; do
    [ -r "$key" ] || fail "the key file '$key' cannot be read"
  done
  [ "$(public_key_of "$signing_key")" = "$public_key" ] ||
    fail "ORVELOS_SIGNING_KEY and ORVELOS_UPDATE_KEY are not a pair"
  if [ -n "$old_signing_key" ]; then
    old_public_key=$(public_key_of "$old_signing_key" || true)
    public_key_pem "$old_public_key" >/dev/null ||
      fail "'$old_signing_key' is not a key that scripts/make-update-key.sh made"
    [ "$old_public_key" != "$public_key" ] ||
      fail "ORVELOS_OLD_SIGNING_KEY is the new key, which no installed application accepts"
  fi
fi

work=''
stage=''
trap 'rm -rf ${work:+"$work"} ${stage:+"$stage"}' EXIT
# For reproducible archives: fixed permissions, order and time zone, and no options for zip from
# the environment.
umask 022
export LC_ALL=C TZ=UTC
unset ZIPOPT

mkdir -p build
stage=$(mktemp -d build/.release-XXXXXX)
ORVELOS_VERSION=$version scripts/build-app.sh "$stage" >/dev/null

mkdir -p "$folder"
work=$(mktemp -d "$folder/.release-XXXXXX")
chmod -R u=rwX,go=rX "$stage"
# GNU's date needs -d, that of macOS -r.
touch_time=$(date -d "@$timestamp" +%Y%m%d%H%M.%S 2>/dev/null ||
  date -r "$timestamp" +%Y%m%d%H%M.%S)
find "$stage" -exec touch -t "$touch_time" {} +

archive=orvel-os-$version.zip
if [ "$manifest" = linux.json ]; then
  # -X omits owners and extra times, -y stores symbolic links as such, -@ reads the names.
  (cd "$stage" && find 'Orvel OS.app' | sort | zip -q -X -y "$work/$archive" -@)
else
  ditto -c -k --keepParent "$stage/Orvel OS.app" "$work/$archive"
  # Unpacks it with the command that the application uses for an update.
  ditto -x -k "$work/$archive" "$work/unpacked"
  codesign --verify --strict "$work/unpacked/Orvel OS.app" ||
    fail "the signature in the archive is not valid"
fi

members=$(printf '"versie": "%s", "zip": "%s"' "$version" "$archive")
if [ -n "$signing_key" ]; then
  hash=$(openssl dgst -sha256 -r "$work/$archive")
  # The lines of the signed message: a fixed text, the version, the system (linux or mac), the hash
  # of the archive and, when the key changes, the new public key.
  message=$(printf 'orvel-os-update\n%s\n%s\n%s' "$version" "${manifest%.json}" "${hash%% *}")
  if [ -n "$old_signing_key" ]; then
    message+=$'\n'$public_key
    members+=", \"sleutel\": \"$public_key\""
    signing_key=$old_signing_key
  fi
  openssl dgst -sha256 -sign "$signing_key" -out "$work/signature" <<<"$message" ||
    fail "openssl could not sign the release"
  public_key_pem "$(public_key_of "$signing_key")" >"$work/public.pem"
  openssl dgst -sha256 -verify "$work/public.pem" -signature "$work/signature" <<<"$message" \
    >/dev/null || fail "the signature of the release is not valid"
  members+=", \"handtekening\": \"$(openssl base64 -A -in "$work/signature")\""
fi
printf '{%s}\n' "$members" >"$work/$manifest"
# The manifest comes last, so that it never names a missing archive.
mv -f "$work/$archive" "$folder/$archive"
mv -f "$work/$manifest" "$folder/$manifest"
echo "release: $folder/$archive and $manifest"
