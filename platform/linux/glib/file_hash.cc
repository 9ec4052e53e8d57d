#include "base/file_hash.h"

#include <gnutls/crypto.h>

#include <array>
#include <cstddef>
#include <fstream>

#include "base/ascii.h"

namespace orvel {

namespace {

// Sizes in bytes.
constexpr std::size_t blockSize = 65'536;
constexpr std::size_t hashSize = 32;

}  // namespace

std::optional<std::string> sha256OfFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  // GnuTLS is several times as fast as GChecksum: it uses the processor's SHA instructions.
  gnutls_hash_hd_t context = nullptr;
  if (gnutls_hash_init(&context, GNUTLS_DIG_SHA256) != GNUTLS_E_SUCCESS) return std::nullopt;
  std::array<char, blockSize> block;
  while (file.read(block.data(), block.size()) || file.gcount() > 0) {
    gnutls_hash(context, block.data(), static_cast<std::size_t>(file.gcount()));
  }
  std::array<unsigned char, hashSize> hash;
  gnutls_hash_deinit(context, hash.data());
  if (!file.eof() || file.bad()) return std::nullopt;
  return hexadecimal({reinterpret_cast<const char *>(hash.data()), hash.size()});
}

}  // namespace orvel
