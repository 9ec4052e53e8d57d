#include "base/file_hash.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

std::optional<std::string> hashOf(const std::string &content) {
  const TemporaryFolder folder;
  return sha256OfFile(folder.file("file", content));
}

// The first two contents are examples of FIPS 180-2 (B.1, B.3). The second one is longer than the
// blocks of 64 KiB in which a file is read.
TEST(FileHash, HashMatchesKnownValue) {
  EXPECT_EQ(hashOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hashOf(std::string(1'000'000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  EXPECT_EQ(hashOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(FileHash, MissingFileOrFolderHasNoHash) {
  const TemporaryFolder folder;
  EXPECT_EQ(sha256OfFile(folder.path() / "missing"), std::nullopt);
  EXPECT_EQ(sha256OfFile(folder.path()), std::nullopt);
}

}  // namespace
}  // namespace orvel
