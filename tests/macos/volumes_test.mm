// Moves and replacements between two volumes.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "base/file_move.h"
#include "platform/macos/foundation/file_manager_locations.h"
#include "tests/macos/macos_test_support.h"
#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path &file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// A disk image, mounted at a temporary folder.
class Volume {
 public:
  Volume() {
    const std::string image = folder_.path() / "image.dmg";
    fs::create_directory(path());
    runCommand("hdiutil create -quiet -size 32m -fs APFS -volname orvel-test '" + image + "'");
    runCommand("hdiutil attach -quiet -nobrowse -mountpoint '" + path().string() + "' '" + image +
               "'");
  }
  ~Volume() { std::system(("hdiutil detach -quiet -force '" + path().string() + "'").c_str()); }
  Volume(const Volume &) = delete;
  Volume &operator=(const Volume &) = delete;

  fs::path path() const { return folder_.path() / "volume"; }

 private:
  const TemporaryFolder folder_;
};

class TwoVolumes : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const Volume tfolder_;
};

TEST_F(TwoVolumes, FileMovesToOtherVolumeWithItsQuarantine) {
  const std::string from = folder_.file("download", "content");
  const std::string to = tfolder_.path() / "moved";
  FileManagerLocations().quarantine(from, Url::parse("https://os.test/file").value());
  EXPECT_EQ(moveFile(from, to), MoveResult::moved);
  EXPECT_FALSE(fs::exists(from));
  EXPECT_EQ(contentOf(to), "content");
  EXPECT_NE(quarantineOf(to), "");
}

TEST_F(TwoVolumes, MoveDoesNotReplaceFile) {
  const std::string from = folder_.file("download", "new");
  const std::string to = tfolder_.path() / "existing";
  std::ofstream(to) << "old";
  EXPECT_EQ(moveFile(from, to), MoveResult::destinationExists);
  EXPECT_EQ(contentOf(from), "new");
  EXPECT_EQ(contentOf(to), "old");
}

// NSFileManager may refuse this. Either way one complete folder stays at the path.
TEST_F(TwoVolumes, FolderIsReplacedCompletelyOrNotAtAll) {
  const fs::path original = folder_.path() / "Orvel OS.app";
  const fs::path replacement = tfolder_.path() / "Orvel OS.app";
  for (const auto &[folder, content] :
       {std::pair(original, "old"), std::pair(replacement, "new")}) {
    fs::create_directory(folder);
    for (const char *name : {"first", "second"}) std::ofstream(folder / name) << content;
  }
  const bool replaced = FileManagerLocations().replaceItem(original, replacement);
  for (const char *name : {"first", "second"}) {
    EXPECT_EQ(contentOf(original / name), replaced ? "new" : "old") << name;
  }
}

}  // namespace
}  // namespace orvel
