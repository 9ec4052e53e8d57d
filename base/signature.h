#pragma once

#include <string_view>

namespace orvel {

/// Returns whether a signature of a message is valid: ECDSA on the curve P-256 with SHA-256
/// (FIPS 186-5). The public key is base64 of the uncompressed point (SEC 1, section 2.3.3),
/// the signature base64 of its DER encoding (RFC 3279, section 2.2.3). Returns false for
/// malformed input, which includes BER that is not DER, and for points that are not on the
/// curve. Any thread.
bool verify(std::string_view publicKey, std::string_view message, std::string_view signature);

}  // namespace orvel
