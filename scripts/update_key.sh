# shellcheck shell=bash
# Functions for the keys that sign updates: ECDSA on the curve P-256. Sourced by other scripts.
# Needs OpenSSL or LibreSSL.

# The bytes before the point in the DER of a SubjectPublicKeyInfo (RFC 5480) for P-256, as base64.
public_key_header=MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAA

# public_key_of FILE: prints the public key of a private key, as base64 of the uncompressed
# point: the last 65 bytes of the DER.
public_key_of() {
  openssl pkey -in "$1" -pubout -outform DER 2>/dev/null | tail -c 65 | openssl base64 -A
}

# public_key_pem KEY: prints as PEM a public key that public_key_of printed. Fails when the key is
# not a point of the curve.
public_key_pem() {
  # "B" and a letter up to "P" encode the byte 4, with which an uncompressed point begins.
  [[ $1 =~ ^B[A-P][A-Za-z0-9+/]{85}=$ ]] || return 1
  {
    # The header fills 26 of the 27 bytes that this decodes to.
    openssl base64 -d -A <<<"$public_key_header" | head -c 26
    openssl base64 -d -A <<<"$1"
  } | openssl pkey -pubin -inform DER -pubout 2>/dev/null
}
