#include "base/signature.h"

#include <glib.h>
#include <gnutls/abstract.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

/// The size of a coordinate on the curve P-256, in bytes.
constexpr std::size_t coordinateSize = 32;
/// The first byte of an uncompressed point (SEC 1, section 2.3.3).
constexpr char uncompressedPoint = 4;

struct PublicKeyDeleter {
  void operator()(gnutls_pubkey_t key) const { gnutls_pubkey_deinit(key); }
};
using PublicKey = std::unique_ptr<gnutls_pubkey_st, PublicKeyDeleter>;

/// Bytes that GnuTLS allocated.
struct GnutlsBytes : gnutls_datum_t {
  GnutlsBytes() : gnutls_datum_t{nullptr, 0} {}
  ~GnutlsBytes() { gnutls_free(data); }
  GnutlsBytes(const GnutlsBytes &) = delete;
  GnutlsBytes &operator=(const GnutlsBytes &) = delete;
};

/// Returns a view that GnuTLS can read. GnuTLS does not write to its inputs.
gnutls_datum_t datum(std::string_view bytes) {
  auto *data = const_cast<char *>(bytes.data());
  return {reinterpret_cast<unsigned char *>(data), static_cast<unsigned>(bytes.size())};
}

std::optional<std::string> decodeBase64(std::string_view text) {
  const std::string terminated(text);
  gsize size = 0;
  const GlibText bytes(reinterpret_cast<char *>(g_base64_decode(terminated.c_str(), &size)));
  // The bytes are encoded again to compare the texts, because g_base64_decode skips characters
  // that are not base64.
  const GlibText encoded(g_base64_encode(reinterpret_cast<guchar *>(bytes.get()), size));
  if (encoded.get() != text) return std::nullopt;
  return std::string(bytes.get(), size);
}

PublicKey decodePublicKey(std::string_view text) {
  const auto point = decodeBase64(text);
  if (!point || point->size() != 1 + 2 * coordinateSize || point->front() != uncompressedPoint) {
    return nullptr;
  }
  gnutls_pubkey_t created = nullptr;
  if (gnutls_pubkey_init(&created) != GNUTLS_E_SUCCESS) return nullptr;
  PublicKey key(created);
  const gnutls_datum_t x = datum(std::string_view(*point).substr(1, coordinateSize));
  const gnutls_datum_t y = datum(std::string_view(*point).substr(1 + coordinateSize));
  // No check that the point is on the curve is needed: with any other point, verifying fails.
  if (gnutls_pubkey_import_ecc_raw(key.get(), GNUTLS_ECC_CURVE_SECP256R1, &x, &y) !=
      GNUTLS_E_SUCCESS) {
    return nullptr;
  }
  return key;
}

/// Returns whether a signature is encoded as DER, as `verify` requires. GnuTLS also accepts BER,
/// which has several encodings of one signature.
bool isDer(const gnutls_datum_t &signature) {
  GnutlsBytes r;
  GnutlsBytes s;
  GnutlsBytes encoded;
  if (gnutls_decode_rs_value(&signature, &r, &s) != GNUTLS_E_SUCCESS) return false;
  if (gnutls_encode_rs_value(&encoded, &r, &s) != GNUTLS_E_SUCCESS) return false;
  const auto view = [](const gnutls_datum_t &bytes) {
    return std::string_view(reinterpret_cast<const char *>(bytes.data), bytes.size);
  };
  return view(encoded) == view(signature);
}

}  // namespace

bool verify(std::string_view publicKey, std::string_view message, std::string_view signature) {
  const PublicKey key = decodePublicKey(publicKey);
  const auto decoded = decodeBase64(signature);
  if (!key || !decoded) return false;
  const gnutls_datum_t signatureBytes = datum(*decoded);
  if (!isDer(signatureBytes)) return false;
  const gnutls_datum_t messageBytes = datum(message);
  return gnutls_pubkey_verify_data2(key.get(), GNUTLS_SIGN_ECDSA_SHA256, 0, &messageBytes,
                                    &signatureBytes) >= 0;
}

}  // namespace orvel
