#include "base/file_hash.h"

#import <CommonCrypto/CommonDigest.h>

#include <array>
#include <cstddef>
#include <fstream>

#include "base/ascii.h"

namespace orvel {

namespace {

constexpr std::size_t blockSize = 65'536;

}  // namespace

std::optional<std::string> sha256OfFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  CC_SHA256_CTX context;
  CC_SHA256_Init(&context);
  std::array<char, blockSize> block;
  while (file.read(block.data(), block.size()) || file.gcount() > 0) {
    CC_SHA256_Update(&context, block.data(), static_cast<CC_LONG>(file.gcount()));
  }
  if (!file.eof() || file.bad()) return std::nullopt;

  std::array<unsigned char, CC_SHA256_DIGEST_LENGTH> hash;
  CC_SHA256_Final(hash.data(), &context);
  return hexadecimal({reinterpret_cast<const char *>(hash.data()), hash.size()});
}

}  // namespace orvel
