#include "base/file_hash.h"

#include <glib.h>

#include <array>
#include <cstddef>
#include <fstream>
#include <memory>

namespace orvel {

namespace {

constexpr std::size_t blockSize = 65'536;

struct ChecksumDeleter {
  void operator()(GChecksum *checksum) const { g_checksum_free(checksum); }
};

}  // namespace

std::optional<std::string> sha256OfFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  const std::unique_ptr<GChecksum, ChecksumDeleter> checksum(g_checksum_new(G_CHECKSUM_SHA256));
  std::array<char, blockSize> block;
  while (file.read(block.data(), block.size()) || file.gcount() > 0) {
    g_checksum_update(checksum.get(), reinterpret_cast<const guchar *>(block.data()),
                      file.gcount());
  }
  if (!file.eof() || file.bad()) return std::nullopt;
  return g_checksum_get_string(checksum.get());
}

}  // namespace orvel
