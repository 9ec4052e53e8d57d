#!/usr/bin/env bash
# Makes the private key that signs updates, and prints its public key.
#
#   ./scripts/make-update-key.sh FILE
#
# Writes an ECDSA P-256 key as PEM, readable by this user only. Never overwrites a file.
# docs/releasing.md says how to use and keep the key.
set -euo pipefail

fail() {
  echo "make-update-key: $*" >&2
  exit 1
}

if [ $# -ne 1 ] || [ -z "$1" ]; then fail "usage: scripts/make-update-key.sh FILE"; fi
command -v openssl >/dev/null || fail "openssl is not installed"
# shellcheck source=scripts/update_key.sh
. "$(dirname "$0")/update_key.sh"

umask 077
key=$(openssl ecparam -name prime256v1 -genkey -noout | openssl pkcs8 -topk8 -nocrypt) ||
  fail "openssl could not make a key"
# "noclobber" alone would write to a device, and refuse a dangling link without a clear message.
if [ -e "$1" ] || [ -L "$1" ]; then fail "'$1' exists"; fi
# One call creates and opens the file, so that no other user can replace it in between.
(set -o noclobber && printf '%s\n' "$key" >"$1") 2>/dev/null || fail "'$1' cannot be written"
public_key_of "$1"
# Ends the line.
echo
